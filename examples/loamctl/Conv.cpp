#include "loamctl/Conv.h"

#include <memory>
#include <string>

#include <fmt/format.h>

#include "loamctl/CCharset.h"
#include "loamctl/CNewFile.h"
#include "loamctl/COutput.h"
#include "loamctl/CharsetGuess.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/WholeFile.h"

namespace {

constexpr char const* kNotes =
    R"(Charsets go by their Internet names: UTF-8, ISO-8859-2, windows-1251, Shift_JIS, macintosh ...
Without -f the charset is told as `charset` tells it. A byte that is not of the charset, or a
character that the other one lacks, is an error that names its offset in the file, and nothing is
written then; with --lossy such bytes become U+FFFD and such characters "?".)";

struct ConvOptions
{
    std::string mPath;
    std::string mFrom;
    std::string mTo = "UTF-8";
    std::string mTarget;  // empty for standard output
    bool mLossy = false;
    bool mOverwrite = false;
};

CCharset KnownCharset(std::string const& name)
{
    CCharset charset(name);
    if (!charset.IsKnown()) throw CUsageError("unknown charset: " + SafeName(name));
    return charset;
}

CCharset SourceCharset(ConvOptions const& options, std::string const& bytes)
{
    if (!options.mFrom.empty()) return KnownCharset(options.mFrom);
    CharsetGuess const guess = GuessCharset(bytes);
    if (guess.mCharset.empty())
        throw CUsageError(fmt::format("{}: {}", SafeName(options.mPath), guess.mReason));
    return CCharset(guess.GetDecoder());
}

std::u16string Decoded(ConvOptions const& options, CCharset const& from, std::string const& bytes)
{
    std::u16string text;
    if (from.Decode(bytes, text)) return text;
    if (options.mLossy) return from.DecodeLossily(bytes);
    std::size_t const at = from.FindUndecodable(bytes);
    throw CUsageError(fmt::format("{}: not {}: byte 0x{:02X} at offset {}", SafeName(options.mPath),
                                  SafeName(from.GetName()), static_cast<unsigned char>(bytes[at]),
                                  at));
}

// The character that begins at `at`, as U+20AC.
std::string CodePointName(std::u16string const& text, std::size_t at)
{
    char32_t point = text[at];
    if (point >= 0xD800 && point < 0xDC00 && at + 1 < text.size())
        point = 0x10000 + ((point - 0xD800) << 10) + (text[at + 1] - 0xDC00U);
    return fmt::format("U+{:04X}", static_cast<unsigned int>(point));
}

std::string Converted(ConvOptions const& options)
{
    CCharset const to = KnownCharset(options.mTo);
    std::string const bytes = ReadWholeFile(options.mPath);
    CCharset const from = SourceCharset(options, bytes);
    std::u16string const text = Decoded(options, from, bytes);
    std::string result;
    if (to.Encode(text, result)) return result;
    if (options.mLossy) return to.EncodeLossily(text);
    std::size_t const at = to.FindUnencodable(text);
    throw CUsageError(fmt::format("{}: not in {}: {} at offset {}", SafeName(options.mPath),
                                  SafeName(to.GetName()), CodePointName(text, at),
                                  from.FindOffset(bytes, at)));
}

int Convert(ConvOptions const& options, COutput& output)
{
    std::string const result = Converted(options);
    if (options.mTarget.empty()) {
        output.AddLines(result);
        return 0;
    }
    CNewFile file(options.mTarget, options.mOverwrite);
    file.TakeModeOf(options.mPath);
    file.Write(result);
    file.Keep();
    return 0;
}

}  // namespace

Command AddConv(CArguments program)
{
    CArguments conv = program.AddCommand("conv", "Convert a text to another charset");
    auto const options = std::make_shared<ConvOptions>();
    conv.Add("FILE", options->mPath, "The text").Required();
    conv.Add("-f,--from", options->mFrom, "The charset of the text").Shown("CHARSET");
    conv.Add("-t,--to", options->mTo, "The charset to write; UTF-8 by default").Shown("CHARSET");
    conv.AddFlag("--lossy", options->mLossy, "Replace what doesn't fit");
    conv.Add("-o,--output", options->mTarget, "What to write; standard output by default")
        .Shown("FILE");
    conv.AddFlag("--force", options->mOverwrite, "Replace what is there already");
    conv.SetNotes(kNotes);
    return {conv, [options](Session& session) { return Convert(*options, session.mOutput); }};
}
