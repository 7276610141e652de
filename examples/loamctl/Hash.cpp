#include "loamctl/Hash.h"

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/Bytes.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "security/CCryptoServices.h"

namespace {

struct HashOptions
{
    std::vector<std::string> mPaths;
    bool mBase64 = false;
};

std::string HashOf(memblock const& bytes, bool base64)
{
    std::string const text = bytes.size() == 0 ? "" : std::string(bytes.data(), bytes.size());
    std::string hash;
    CCryptoServices::GetCryptoServices()->CryptographicHash(text, base64, hash);
    if (base64) return hash;
    std::string hex;
    for (char const byte : hash)
        hex += fmt::format("{:02x}", static_cast<unsigned char>(byte));
    return hex;
}

// 0, or 2 if something could not be read.
int HashAll(HashOptions const& options, Session& session)
{
    int code = 0;
    COutput& output = session.mOutput;
    for (std::string const& path : options.mPaths) {
        try {
            std::string const hash = HashOf(ReadAllBytes(path), options.mBase64);
            if (output.IsJSON()) {
                output.AddJSON({{"type", "hash"}, {"path", path}, {"sha1", hash}});
                continue;
            }
            output.Add(fmt::format("{}  {}", hash, SafeName(path)));
            output.EndLine();
        } catch (CUsageError const& error) {
            output.Complain(error.what());
            code = 2;
        }
    }
    return code;
}

}  // namespace

Command AddHash(CArguments program)
{
    CArguments hash = program.AddCommand("hash", "Tell the SHA-1 of files");
    auto const options = std::make_shared<HashOptions>();
    options->mPaths = {"-"};
    hash.Add("FILE", options->mPaths, "Files; by default standard input");
    hash.AddFlag("--base64", options->mBase64, "As Base64, in place of hexadecimal digits");
    hash.SetNotes(
        "SHA-1 tells copies apart; it does not protect against who makes two files alike.");
    return {hash, [options](Session& session) { return HashAll(*options, session); }};
}
