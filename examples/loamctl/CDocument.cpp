#include "loamctl/CDocument.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include <fmt/format.h>

#include "files/CFile.h"
#include "loamctl/CByteTable.h"
#include "loamctl/CCharset.h"
#include "loamctl/CharsetGuess.h"
#include "loamctl/Interruption.h"
#include "loamctl/KnownCharsets.h"
#include "loamctl/UTF16Loops.h"
#include "text/CCharsetConverter.h"
#include "text/CUTFConverter.h"
#include "text/ConvertUTF.h"

namespace {

constexpr long long kFirstRead = 65536;
// So much of a large file is read or converted before somebody may want to stop: a few
// milliseconds.
constexpr long long kStep = 8LL << 20;

// What a file says about its charset in its first bytes.
enum class Mark
{
    kNone,
    kUTF8,
    kUTF16LE,
    kUTF16BE,
    kUTF32,
};

Mark MarkOf(std::string_view bytes)
{
    using namespace std::string_view_literals;
    if (bytes.starts_with("\xFF\xFE\0\0"sv) || bytes.starts_with("\0\0\xFE\xFF"sv)) {
        return Mark::kUTF32;
    }
    if (bytes.starts_with("\xFF\xFE"sv)) return Mark::kUTF16LE;
    if (bytes.starts_with("\xFE\xFF"sv)) return Mark::kUTF16BE;
    return bytes.starts_with("\xEF\xBB\xBF"sv) ? Mark::kUTF8 : Mark::kNone;
}

// What bytes can be, from the first look at them.
enum class ByteKind
{
    kASCII,       // with neither of the two controls below
    kNoControls,  // without a null byte and an escape
    kAny,
};

ByteKind KindOfBytes(std::string_view bytes)
{
    constexpr std::size_t kBlock = 64;
    unsigned char all = 0;
    unsigned char controls = 0;
    auto const look = [&](char c) {
        all |= static_cast<unsigned char>(c);
        controls |= static_cast<unsigned char>(c == '\0' || c == '\x1B');
    };
    // Whole blocks, which compilers make vectors of.
    for (; bytes.size() >= kBlock && controls == 0; bytes.remove_prefix(kBlock)) {
        for (std::size_t i = 0; i < kBlock; ++i)
            look(bytes.data()[i]);
    }
    std::for_each(bytes.begin(), bytes.end(), look);
    if (controls != 0) return ByteKind::kAny;
    return all < 0x80 ? ByteKind::kASCII : ByteKind::kNoControls;
}

unsigned char ByteOf(char c)
{
    return static_cast<unsigned char>(c);
}

// The start of UTF-8 text, about so many bytes of it, that doesn't end within a character.
std::string_view WholeCharacters(std::string_view bytes, long long limit)
{
    auto end = static_cast<std::size_t>(limit);
    if (bytes.size() <= end) return bytes;
    std::size_t const least = end - 3;
    while (end > least && (bytes[end] & 0xC0) == 0x80)
        --end;
    return bytes.substr(0, end);
}

// The start of text in one of the known charsets, up to so many bytes of it, that doesn't end
// within a character: none of them has such a byte in a character of several. All of the text if it
// has none either.
std::string_view WholeKnownCharacters(std::string_view bytes, std::size_t limit)
{
    if (bytes.size() <= limit) return bytes;
    std::string_view const start = bytes.substr(0, limit);
    auto const last =
        std::find_if(start.rbegin(), start.rend(), [](char c) { return ByteOf(c) < 0x30; });
    return last == start.rend() ? bytes
                                : start.substr(0, static_cast<std::size_t>(start.rend() - last));
}

// The first byte of malformed UTF-8, for text that has been refused.
long long FindMalformed(std::string_view bytes)
{
    auto const* const begin = reinterpret_cast<UTF8 const*>(bytes.data());
    UTF8 const* const end = begin + bytes.size();
    UTF8 const* at = begin;
    UTF8 const* lastCheck = at;
    while (at < end) {
        if (at - lastCheck >= kStep) {
            ThrowIfInterrupted();
            lastCheck = at;
        }
        bool const surrogate = *at == 0xED && end - at > 1 && at[1] >= 0xA0;
        if (surrogate || !isLegalUTF8Sequence(at, end)) break;
        at += *at < 0x80 ? 1 : *at < 0xE0 ? 2 : *at < 0xF0 ? 3 : 4;
    }
    return at - begin;
}

char const* KindName(CDocument::Kind kind)
{
    switch (kind) {
    case CDocument::Kind::kEmpty:
        return "empty";
    case CDocument::Kind::kUTF8:
        return "UTF-8";
    case CDocument::Kind::kUTF8WithMark:
        return "UTF-8 with mark";
    case CDocument::Kind::kUTF16LE:
        return "UTF-16LE";
    case CDocument::Kind::kUTF16BE:
        return "UTF-16BE";
    case CDocument::Kind::kOtherCharset:
        break;
    case CDocument::Kind::kBinary:
        return "binary";
    case CDocument::Kind::kUnknownCharset:
        return "unknown charset";
    case CDocument::Kind::kTooLarge:
        return "too large";
    }
    return "";
}

}  // namespace

std::string CDocument::GetKindName() const
{
    return mKind == Kind::kOtherCharset ? mCharset : KindName(mKind);
}

CDocument::~CDocument()
{
    std::free(mUnits);
}

void CDocument::Read(CFileSpec const& spec)
{
    Forget();
    if (ReadBytes(spec)) Decode();
}

void CDocument::Read(std::string_view bytes)
{
    Forget();
    mBytes.resize(0);
    mBytes.append(bytes.data(), bytes.size());
    mSize = static_cast<long long>(bytes.size());
    Decode();
}

void CDocument::Forget()
{
    mKind = Kind::kEmpty;
    mReason.clear();
    mSize = 0;
    mText = {};
    mIsASCII = false;
    mMarkSize = 0;
}

// The length is a first guess only: files grow and shrink, and those of /proc say 0. Of a binary
// file, which mostly shows at its start, the rest is not read.
bool CDocument::ReadBytes(CFileSpec const& spec)
{
    CFile file(spec);
    file.Open(CFile::cPrivilegeRead);
    long long const expected = file.GetLength();
    if (expected <= kSizeLimit) {
        mBytes.resize(static_cast<unsigned long>(expected) + 1);
        for (;;) {
            auto const room = static_cast<long long>(mBytes.size()) - mSize;
            long long const asked = std::min(room, mSize == 0 ? kFirstRead : kStep);
            ThrowIfInterrupted();
            long long const count = file.Read(mBytes.data() + mSize, asked);
            mSize += count;
            if (count == 0 || (count < asked && mSize == expected)) return true;
            if (mSize == count && RefuseNullByte()) {
                mSize = std::max(mSize, expected);
                return false;
            }
            if (mSize > kSizeLimit) break;
            if (count == room) mBytes.resize(mBytes.size() + mBytes.size() / 2 + 4096);
        }
    }
    mSize = std::max(mSize, expected);
    Refuse(Kind::kTooLarge, fmt::format("larger than {} MiB", kSizeLimit >> 20));
    return false;
}

void CDocument::Decode()
{
    if (mSize == 0) return;
    Mark const mark = MarkOf(Bytes());
    mMarkSize = mark == Mark::kUTF8 ? 3 : 0;
    // Almost all documents end here. Zero bytes and escapes are well-formed, but rather UTF-16 and
    // ISO-2022.
    switch (mark <= Mark::kUTF8 ? KindOfBytes(Bytes()) : ByteKind::kAny) {
    case ByteKind::kASCII:
        mKind = Kind::kUTF8;
        mIsASCII = true;
        NeedUnits(mSize);
        return;
    case ByteKind::kNoControls:
        if (TryUTF8()) return;
        break;
    case ByteKind::kAny:
        break;
    }
    DecodeGuessed();
}

void CDocument::DecodeGuessed()
{
    CharsetGuess const guess = GuessCharset(Bytes());
    ThrowIfInterrupted();
    if (guess.mCharset.empty()) {
        Refuse(guess.mBinary ? Kind::kBinary : Kind::kUnknownCharset, guess.mReason);
    } else if (guess.mCharset == "UTF-16LE" || guess.mCharset == "UTF-16BE") {
        mMarkSize = MarkOf(Bytes()) == Mark::kNone ? 0 : 2;
        DecodeUTF16(guess.mCharset == "UTF-16BE");
    } else if (guess.mCharset != "UTF-8" && guess.mCharset != "US-ASCII") {
        DecodeOther(guess);
    } else if (!TryUTF8()) {
        RefuseUTF8();
    }
}

// Only wide characters hold null bytes in a text.
bool CDocument::RefuseNullByte()
{
    std::string_view const bytes = Bytes();
    Mark const mark = MarkOf(bytes);
    std::size_t const null = bytes.find('\0');
    if (null == bytes.npos || mark > Mark::kUTF8) return false;
    bool bigEndian = false;
    bool littleEndian = false;
    bool notUTF16 = false;
    CCharsetConverter::SniffUTF16(bytes.data(), mSize, &bigEndian, &littleEndian, &notUTF16);
    if (mark == Mark::kNone && (bigEndian || littleEndian)) return false;
    Refuse(Kind::kBinary, fmt::format("a null byte at offset {}", null));
    return true;
}

// False if it is malformed.
bool CDocument::TryUTF8()
{
    mKind = mMarkSize == 0 ? Kind::kUTF8 : Kind::kUTF8WithMark;
    NeedUnits(mSize);
    return ConvertUTF8(Bytes().substr(static_cast<std::size_t>(mMarkSize)));
}

std::u16string_view CDocument::GetText() const
{
    if (mIsASCII && mText.empty()) ConvertUTF8(Bytes());
    return mText;
}

// There is a unit of room for each byte, and there are no more units than bytes: the converter
// never takes another block, and can go on at any place of this one.
bool CDocument::ConvertUTF8(std::string_view bytes) const
{
    std::size_t done = 0;
    while (!bytes.empty()) {
        ThrowIfInterrupted();
        std::string_view const step = WholeCharacters(bytes, kStep);
        char16_t* units = mUnits + done;
        int capacity = mCapacity - static_cast<int>(done);
        int const length = CUTFConverter::ConvertUTF8toUTF16(
            reinterpret_cast<unsigned char const*>(step.data()), static_cast<int>(step.size()),
            &units, &capacity, CUTFConverter::kStrictMode);
        if (length < 0) return false;
        done += static_cast<std::size_t>(length);
        bytes.remove_prefix(step.size());
    }
    mText = {mUnits, done};
    return true;
}

void CDocument::RefuseUTF8()
{
    long long const bad = FindMalformed(Bytes());
    Refuse(Kind::kUnknownCharset, fmt::format("not UTF-8: byte 0x{:02X} at offset {}",
                                              ByteOf(Bytes()[static_cast<std::size_t>(bad)]), bad));
}

// A guess is made by a part of the document, so that the rest may still not fit.
void CDocument::DecodeOther(CharsetGuess const& guess)
{
    KnownCharset const* const known = FindKnownCharset(guess.GetDecoder());
    mKind = Kind::kOtherCharset;
    mCharset = guess.mCharset;
    if (known && known->mTable && DecodeByTable(*known->mTable)) return;
    std::size_t const bad = known ? DecodeInSteps(known->mCharset, static_cast<std::size_t>(kStep))
                                  : DecodeInSteps(CCharset(guess.GetDecoder()), Bytes().size());
    if (bad == Bytes().size()) {
        mText = mOther;
        return;
    }
    Refuse(Kind::kUnknownCharset, fmt::format("not {}: byte 0x{:02X} at offset {}", guess.mCharset,
                                              ByteOf(Bytes()[bad]), bad));
}

bool CDocument::DecodeByTable(CByteTable const& table)
{
    NeedUnits(mSize);
    std::size_t done = 0;
    while (done < Bytes().size()) {
        ThrowIfInterrupted();
        std::string_view const step = Bytes().substr(done, static_cast<std::size_t>(kStep));
        if (!table.Decode(step, mUnits + done)) return false;
        done += step.size();
    }
    mText = {mUnits, done};
    return true;
}

// The offset of the first byte that doesn't fit, or the size.
std::size_t CDocument::DecodeInSteps(CCharset const& charset, std::size_t stepSize)
{
    mOther.clear();
    std::size_t done = 0;
    std::u16string units;
    while (done < Bytes().size()) {
        ThrowIfInterrupted();
        std::string_view const step = WholeKnownCharacters(Bytes().substr(done), stepSize);
        bool const isAll = step.size() == Bytes().size();
        if (!isAll) mOther.reserve(Bytes().size());
        if (!charset.Decode(step, isAll ? mOther : units))
            return done + charset.FindUndecodable(step);
        mOther += units;
        done += step.size();
    }
    return done;
}

void CDocument::DecodeUTF16(bool bigEndian)
{
    mKind = bigEndian ? Kind::kUTF16BE : Kind::kUTF16LE;
    if (mSize % 2 != 0) {
        Refuse(Kind::kUnknownCharset,
               fmt::format("not UTF-16: ends within a unit at offset {}", mSize - 1));
        return;
    }
    NeedUnits(mSize / 2);
    auto const length = static_cast<std::size_t>(mSize - mMarkSize) / 2;
    bool const isSwapped = bigEndian != (std::endian::native == std::endian::big);
    for (std::size_t done = 0, count = 0; done < length; done += count) {
        ThrowIfInterrupted();
        count = std::min(length - done, static_cast<std::size_t>(kStep));
        std::memcpy(mUnits + done, mBytes.data() + mMarkSize + 2 * done, 2 * count);
        if (isSwapped) SwapBytes(mUnits + done, count);
    }
    mText = {mUnits, length};

    ThrowIfInterrupted();
    auto const offset = [this](std::size_t unit) {
        return static_cast<std::size_t>(mMarkSize) + 2 * unit;
    };
    if (std::size_t const null = FindNull(mText); null < length) {
        Refuse(Kind::kBinary, fmt::format("a null character at offset {}", offset(null)));
    } else if (std::size_t const lone = FindLoneSurrogate(mText); lone < length) {
        Refuse(Kind::kUnknownCharset,
               fmt::format("not UTF-16: lone surrogate at offset {}", offset(lone)));
    }
}

void CDocument::Refuse(Kind kind, std::string reason)
{
    mKind = kind;
    mReason = std::move(reason);
    mText = {};
}

void CDocument::NeedUnits(long long count)
{
    if (count <= mCapacity) return;
    std::free(mUnits);
    mCapacity = 0;
    mUnits =
        static_cast<char16_t*>(std::malloc(static_cast<std::size_t>(count) * sizeof(char16_t)));
    if (!mUnits) throw std::bad_alloc();
    mCapacity = static_cast<int>(count);
}
