#include "loamctl/Base64.h"

#include <memory>
#include <string>

#include <fmt/format.h>

#include "loamctl/Bytes.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "security/CBase64Encoder.h"

namespace {

constexpr char const* kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

struct Base64Options
{
    std::string mSource = "-";
    Target mTarget;
    bool mDecode = false;
    bool mLines = false;
};

// The text without white space. The library takes anything for Base64, so what isn't is found here.
memblock Checked(memblock const& text, std::string const& source)
{
    std::string_view const alphabet = kAlphabet;
    bool isLetter[256] = {};
    for (char const letter : alphabet)
        isLetter[static_cast<unsigned char>(letter)] = true;

    memblock result;
    result.resize(text.size());
    unsigned long size = 0;
    bool isPadded = false;  // the group that began
    for (unsigned long i = 0; i < text.size(); ++i) {
        char const character = text.data()[i];
        if (character == ' ' || (character >= '\t' && character <= '\r')) continue;
        if (size % 4 == 0) isPadded = false;
        bool const isPadding = character == '=' && size % 4 >= 2;
        if (!isPadding && (isPadded || !isLetter[static_cast<unsigned char>(character)])) {
            throw CUsageError(fmt::format("{}: not Base64: byte 0x{:02X} at offset {}",
                                          SafeName(source), static_cast<unsigned char>(character),
                                          i));
        }
        isPadded = isPadding;
        result.data()[size++] = character;
    }
    if (size % 4 != 0)
        throw CUsageError(fmt::format("{}: not Base64: the last group is cut", SafeName(source)));
    result.resize(size);
    return result;
}

int Convert(Base64Options const& options, Session& session)
{
    memblock const input = ReadAllBytes(options.mSource);
    memblock result;
    if (options.mDecode) {
        CBase64Encoder::Decode(Checked(input, options.mSource), &result, nullptr);
    } else {
        CBase64Encoder::Encode(input, &result, options.mLines);
        // On a terminal, the prompt comes on a line of its own.
        if (options.mTarget.mPath.empty() && session.mOutput.IsTerminal() && result.size() > 0 &&
            result.data()[result.size() - 1] != '\n')
            result.append("\n", 1);
    }
    WriteBytes(result, options.mTarget, session);
    return 0;
}

}  // namespace

Command AddBase64(CArguments program)
{
    CArguments base64 = program.AddCommand("base64", "Write bytes as Base64, or read them");
    auto const options = std::make_shared<Base64Options>();
    base64.Add("FILE", options->mSource, "The file; by default standard input");
    COption const decode = base64.AddFlag("-d,--decode", options->mDecode, "Read Base64");
    base64.AddFlag("--lines", options->mLines, "Write lines of 76 characters, with CR LF")
        .Excludes(decode);
    base64.Add("-o,--output", options->mTarget.mPath, "Write to FILE, whole or not at all")
        .Shown("FILE");
    base64.AddFlag("-f,--force", options->mTarget.mOverwrite, "Replace FILE if it is there");
    return {base64, [options](Session& session) { return Convert(*options, session); }};
}
