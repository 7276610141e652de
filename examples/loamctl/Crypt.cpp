#include "loamctl/Crypt.h"

#include <memory>
#include <string>

#include <fmt/format.h>

#include "loamctl/Bytes.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Passphrase.h"
#include "marl/HierarchicalException.h"
#include "security/CCryptoServices.h"

namespace {

constexpr char const* kNotes =
    R"(For data that is kept in these forms already, not for new secrets: the passphrase itself is
the key, equal files give equal results, and nothing tells that a file was changed. AES is AES-128
in CBC mode with PKCS#7 padding and takes the passphrase's first 16 bytes; Blowfish is in CFB mode
of 64 bits and takes 1 to 56. The initial vector is zero.)";

struct CryptOptions
{
    std::string mSource = "-";
    Target mTarget;
    bool mAES = false;
    bool mBlowfish = false;
    bool mDecrypt = false;
    int mDescriptor = -1;
};

std::string DescribeCipherFailure(HierarchicalException const& failure)
{
    switch (failure.levels[0].osError) {
    case -4303:
        return "no whole blocks: it is cut, or it isn't encrypted";
    case -4304:
        return "the passphrase is wrong, or the file is damaged";
    case -4305:
        return "this system has no such cipher";
    case -4310:
        return "the cipher takes no passphrase of this length";
    default:
        return fmt::format("the cipher failed with {}", failure.levels[0].osError);
    }
}

int Crypt(CryptOptions const& options, Session& session)
{
    bool const encrypt = !options.mDecrypt;
    if (encrypt && options.mTarget.mPath.empty() && session.mOutput.IsTerminal())
        throw CUsageError("what is encrypted isn't shown on a terminal: use -o FILE");
    if (options.mSource == "-" && options.mDescriptor == 0)
        throw CUsageError("standard input can't be both the file and the passphrase");

    std::string const key = ReadPassphrase("passphrase", options.mDescriptor, encrypt, session);
    if (key.empty()) throw CUsageError("an empty passphrase is no key");
    if (key.find('\0') != key.npos) throw CUsageError("a passphrase can't hold a null byte");

    memblock data = ReadAllBytes(options.mSource);
    try {
        CCryptoServices const& crypto = *CCryptoServices::GetCryptoServices();
        if (options.mAES)
            crypto.SymetricEncryptAES(encrypt, key.c_str(), data);
        else
            crypto.SymetricEncryptBlowFish(encrypt, key.c_str(), data);
    } catch (HierarchicalException const& failure) {
        throw CUsageError(
            fmt::format("{}: {}", SafeName(options.mSource), DescribeCipherFailure(failure)));
    }
    WriteBytes(data, options.mTarget, session);
    return 0;
}

}  // namespace

Command AddCrypt(CArguments program)
{
    CArguments crypt = program.AddCommand("crypt", "Encrypt or decrypt by a passphrase");
    auto const options = std::make_shared<CryptOptions>();
    crypt.Add("FILE", options->mSource, "The file; by default standard input");
    CArguments cipher = crypt.AddChoice("Cipher");
    cipher.AddFlag("--aes", options->mAES, "AES-128");
    cipher.AddFlag("--blowfish", options->mBlowfish, "Blowfish");
    crypt.AddFlag("-d,--decrypt", options->mDecrypt, "Decrypt");
    crypt
        .Add("--passphrase-fd", options->mDescriptor,
             "Take the first line of descriptor N for the passphrase; by default it is asked for")
        .NotNegative()
        .Shown("N");
    crypt.Add("-o,--output", options->mTarget.mPath, "Write to FILE, whole or not at all")
        .Shown("FILE");
    crypt.AddFlag("-f,--force", options->mTarget.mOverwrite, "Replace FILE if it is there");
    crypt.SetNotes(kNotes);
    return {crypt, [options](Session& session) { return Crypt(*options, session); }};
}
