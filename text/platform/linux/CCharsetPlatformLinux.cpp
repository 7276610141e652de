#include "text/platform/linux/BuiltInCharsets.h"
#include "text/platform/linux/CICUCharset.h"
#include "text/platform/linux/COldCharset.h"
#include "text/platform/linux/EncodingNames.h"
#include "text/platform/linux/UnicodeForms.h"

#include <iterator>

namespace {

struct NumberedForm
{
    unsigned int mEncoding;
    UnicodeForm mForm;
};

constexpr NumberedForm kForms[] = {
    {0x100, kFormUTF16},        {0x8000100, kFormUTF8},     {0xC000100, kFormUTF32},
    {0x10000100, kFormUTF16BE}, {0x14000100, kFormUTF16LE}, {0x18000100, kFormUTF32BE},
    {0x1C000100, kFormUTF32LE},
};

struct NumberedOldCharset
{
    unsigned int mEncoding;
    COldCharset mCharset;
};

constinit NumberedOldCharset const kOldCharsets[] = {
    {0x1, COldCharset(kMacJapanese)},   {0x2, COldCharset(kMacChineseTrad)},
    {0x3, COldCharset(kMacKorean)},     {0x4, COldCharset(kMacArabic)},
    {0x5, COldCharset(kMacHebrew)},     {0x19, COldCharset(kMacChineseSimp)},
    {0x24, COldCharset(kMacCroatian)},  {0x25, COldCharset(kMacIcelandic)},
    {0x26, COldCharset(kMacRomanian)},  {0x8C, COldCharset(kMacFarsi)},
    {0x210, COldCharset(kISO_8859_16)},
};

template <class Row, std::size_t Size>
Row const* Find(Row const (&rows)[Size], unsigned int encoding)
{
    for (Row const& row : rows) {
        if (row.mEncoding == encoding) return &row;
    }
    return nullptr;
}

// Each encoding has one converter: our own code where ICU has no data or converts in another way
// than the desktop, otherwise ICU's.
class CCharsetPlatformLinux final : public CBasicCharsetPlatform
{
public:
    unsigned int GetEncoding(std::string const& name) const override
    {
        return EncodingOfName(name);
    }

    DecodeOutcome Decode(unsigned int encoding,
                         char const* source,
                         std::size_t size,
                         char16_t* target,
                         std::size_t capacity,
                         std::size_t* length) const override
    {
        if (auto const* const builtIn = FindBuiltInCharset(encoding))
            return builtIn->Decode(source, size, target, capacity, length);
        if (auto* const charset = FindICUCharset(encoding))
            return charset->Decode(source, size, target, capacity, length);

        CUnitSink sink(target, capacity);
        bool isDecoded = false;
        if (auto const* const form = Find(kForms, encoding))
            isDecoded = DecodeUnicode(form->mForm, source, size, sink);
        else if (auto const* const old = Find(kOldCharsets, encoding))
            isDecoded = old->mCharset.Decode(source, size, sink);
        *length = sink.GetLength();
        return isDecoded ? sink.GetOutcome() : kDecodeRefused;
    }

    bool Encode(unsigned int encoding,
                char16_t const* source,
                std::size_t length,
                char* target,
                std::size_t capacity,
                std::size_t* count,
                std::size_t* written) const override
    {
        if (auto const* const builtIn = FindBuiltInCharset(encoding)) {
            builtIn->Encode(source, length, target, capacity, count, written);
            return true;
        }
        if (auto* const charset = FindICUCharset(encoding))
            return charset->Encode(source, length, target, capacity, count, written);

        CByteSink sink(target, capacity);
        *count = 0;
        auto const* const form = Find(kForms, encoding);
        auto const* const old = Find(kOldCharsets, encoding);
        if (form) *count = EncodeUnicode(form->mForm, source, length, sink);
        if (old) *count = old->mCharset.Encode(source, length, sink);
        *written = sink.GetLength();
        return form || old;
    }
};

}  // namespace

CBasicCharsetPlatform* NewCharsetPlatform()
{
    return new CCharsetPlatformLinux;
}
