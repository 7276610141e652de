// The tests of `CCharsetConverter` on raw data. Each gives one verdict; in which order they are
// asked is the host's.

#include "text/CCharsetConverter.h"

#include "marl/memblock.h"
#include "text/ByteTests.h"
#include "text/simd/TextKernels.h"
#include "text/tables/CharsetBytes.h"

#include <cstring>
#include <string_view>

namespace {

constexpr char kEscape = '\x1B';

std::size_t SizeOf(long long size)
{
    return size < 0 ? 0 : static_cast<std::size_t>(size);
}

bool FitsIn(AllowedBytes const& allowed, char const* data, long long size)
{
    return CCharsetConverter::CanConvertFromCharsetTable(data, size, allowed.data());
}

bool IsFreeOfC1(char const* data, long long size)
{
    return HoldsNoC1(data, SizeOf(size));
}

bool AreFreeOf(char16_t bits, memblock const& units)
{
    return HoldsNoBits(units.data(), units.size() / sizeof(char16_t), bits);
}

bool AreFreeOf(char16_t bits, std::u16string const& units)
{
    return HoldsNoBits(reinterpret_cast<char const*>(units.data()), units.size(), bits);
}

struct EscapeSequence
{
    std::string_view mBytes;  // behind the escape
    CCharsetSelector::CharsetEnum mCharset;
};

constexpr EscapeSequence kEscapeSequences[] = {
    {"$@", CCharsetSelector::kISO_2022_JP},  {"$B", CCharsetSelector::kISO_2022_JP},
    {"(B", CCharsetSelector::kISO_2022_JP},  {"(J", CCharsetSelector::kISO_2022_JP},
    {"$)A", CCharsetSelector::kISO_2022_CN}, {"$)G", CCharsetSelector::kISO_2022_CN},
    {"$*H", CCharsetSelector::kISO_2022_CN}, {"$)C", CCharsetSelector::kISO_2022_KR},
};

// Whether plain characters tell for one byte order and none for the other one.
bool IsCommoner(UTF16Signs const& signs, UTF16Signs const& other)
{
    return signs.mCommon >= 4 && other.mCommon == 0 && !signs.mBad;
}

// Whether text without a plain character does so, by letters that differ from their neighbours.
bool VariesMore(UTF16Signs const& signs, UTF16Signs const& other)
{
    return signs.mVarying >= 2 && other.mVarying == 0 && !signs.mBad;
}

enum class ByteOrder
{
    kUnknown,
    kBigEndian,
    kLittleEndian,
};

ByteOrder Verdict(UTF16Signs const& big, UTF16Signs const& little)
{
    if (big.mConclusive) return ByteOrder::kBigEndian;
    if (little.mConclusive) return ByteOrder::kLittleEndian;
    if (IsCommoner(big, little)) return ByteOrder::kBigEndian;
    if (IsCommoner(little, big)) return ByteOrder::kLittleEndian;
    if (VariesMore(big, little)) return ByteOrder::kBigEndian;
    if (VariesMore(little, big)) return ByteOrder::kLittleEndian;
    bool const zeros = big.mZeros || little.mZeros;
    if (zeros && little.mBad && !big.mBad) return ByteOrder::kBigEndian;
    if (zeros && big.mBad && !little.mBad) return ByteOrder::kLittleEndian;
    return ByteOrder::kUnknown;
}

// Whether the data can't be UTF-16 at all, whatever the verdict.
bool IsRefuted(ByteOrder verdict, UTF16Signs const& big, UTF16Signs const& little)
{
    if (big.mConclusive && little.mConclusive) return true;
    switch (verdict) {
    case ByteOrder::kUnknown:
        return big.mZeros || little.mZeros;
    case ByteOrder::kBigEndian:
        return big.mBad;
    case ByteOrder::kLittleEndian:
        return little.mBad;
    }
    return true;
}

UTF16Evidence GatherEvidence(unsigned char const* data, std::size_t size)
{
    UTF16Evidence evidence;
    // Before the first pair stands one that says nothing of those behind it.
    unsigned char const first[] = {1, 1, data[0], data[1]};
    WeighPairsPlain(first + 2, first + 4, evidence);
    if (!evidence.mHasNull) GetTextKernels().mWeighPairs(data + 2, data + size, evidence);
    return evidence;
}

}  // namespace

CCharsetSelector::CharsetEnum CCharsetConverter::SniffCharset(CCharsetSelector::LangEnum /*lang*/,
                                                              unsigned long /*size*/,
                                                              char const* /*data*/)
{
    return CCharsetSelector::kCharsetNone;
}

CCharsetSelector::CharsetEnum CCharsetConverter::SniffCharset(CCharsetSelector::LangEnum /*lang*/,
                                                              std::string const& /*data*/)
{
    return CCharsetSelector::kCharsetNone;
}

bool CCharsetConverter::SniffISO2022(std::string const& data,
                                     CCharsetSelector::CharsetEnum& charset)
{
    std::string_view rest = data;
    for (;;) {
        std::size_t const escape = rest.find(kEscape);
        if (escape == rest.npos) return false;
        rest.remove_prefix(escape + 1);
        for (EscapeSequence const& sequence : kEscapeSequences) {
            if (!rest.starts_with(sequence.mBytes)) continue;
            charset = sequence.mCharset;
            return true;
        }
    }
}

void CCharsetConverter::SniffUTF16(
    char const* data, long long size, bool* bigEndian, bool* littleEndian, bool* notUTF16)
{
    *bigEndian = false;
    *littleEndian = false;
    *notUTF16 = false;
    std::size_t const even = SizeOf(size) & ~std::size_t{1};
    // Without a zero byte there is nothing to tell the orders apart, and no sign counts against
    // them.
    if (even == 0 || !std::memchr(data, 0, even)) return;

    auto const [big, little, hasNull] =
        GatherEvidence(reinterpret_cast<unsigned char const*>(data), even);
    ByteOrder const verdict = Verdict(big, little);
    // A null character ends every hope.
    *notUTF16 = hasNull || IsRefuted(verdict, big, little);
    *bigEndian = !*notUTF16 && verdict == ByteOrder::kBigEndian;
    *littleEndian = !*notUTF16 && verdict == ByteOrder::kLittleEndian;
}

bool CCharsetConverter::CanConvertLosslesslyToUSASCII(std::u16string const& text)
{
    return AreFreeOf(0xFF80, text);
}

bool CCharsetConverter::CanConvertLosslesslyToUSASCII(memblock const& text)
{
    return AreFreeOf(0xFF80, text);
}

bool CCharsetConverter::CanConvertLosslesslyToISO_8859_1(std::u16string const& text)
{
    return AreFreeOf(0xFF00, text);
}

bool CCharsetConverter::CanConvertLosslesslyToISO_8859_1(memblock const& text)
{
    return AreFreeOf(0xFF00, text);
}

bool CCharsetConverter::CanConvertFromCharsetTable(char const* data,
                                                   long long size,
                                                   bool const* allowed)
{
    return HoldsOnly(data, SizeOf(size), allowed);
}

bool CCharsetConverter::CanConvertFromISO_8859_1(char const* data, long long size)
{
    return IsFreeOfC1(data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_2(char const* data, long long size)
{
    return IsFreeOfC1(data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_3(char const* data, long long size)
{
    return FitsIn(sISO_8859_3AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_4(char const* data, long long size)
{
    return IsFreeOfC1(data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_5(char const* data, long long size)
{
    return IsFreeOfC1(data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_6(char const* data, long long size)
{
    return FitsIn(sISO_8859_6AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_7(char const* data, long long size)
{
    return FitsIn(sISO_8859_7AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_8(char const* data, long long size)
{
    return FitsIn(sISO_8859_8AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_9(char const* data, long long size)
{
    return IsFreeOfC1(data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_10(char const* data, long long size)
{
    return IsFreeOfC1(data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_11(char const* data, long long size)
{
    return FitsIn(sISO_8859_11AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_13(char const* data, long long size)
{
    return IsFreeOfC1(data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_14(char const* data, long long size)
{
    return IsFreeOfC1(data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_15(char const* data, long long size)
{
    return IsFreeOfC1(data, size);
}

bool CCharsetConverter::CanConvertFromISO_8859_16(char const* data, long long size)
{
    return IsFreeOfC1(data, size);
}

bool CCharsetConverter::CanConvertFromCP_1250(char const* data, long long size)
{
    return FitsIn(sCP_1250AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromCP_1251(char const* data, long long size)
{
    return size < 1 || !std::memchr(data, 0x98, SizeOf(size));
}

bool CCharsetConverter::CanConvertFromCP_1252(char const* data, long long size)
{
    return FitsIn(sCP_1252AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromCP_1253(char const* data, long long size)
{
    return FitsIn(sCP_1253AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromCP_1254(char const* data, long long size)
{
    return FitsIn(sCP_1254AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromCP_1255(char const* data, long long size)
{
    return FitsIn(sCP_1255AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromCP_1256(char const* /*data*/, long long /*size*/)
{
    return true;
}

bool CCharsetConverter::CanConvertFromCP_1257(char const* data, long long size)
{
    return FitsIn(sCP_1257AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromCP_1258(char const* data, long long size)
{
    return FitsIn(sCP_1258AllowedBytes, data, size);
}

bool CCharsetConverter::CanConvertFromCP_1361(char const* /*data*/, long long /*size*/)
{
    return true;
}
