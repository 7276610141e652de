#include "loamctl/CCharset.h"

#include <algorithm>
#include <utility>

#include "loamctl/Surrogates.h"
#include "marl/HierarchicalException.h"
#include "text/CCharsetConverter.h"
#include "text/CUTFConverter.h"

namespace {

// No charset has longer characters; of ISO-2022, no longer escape sequences.
constexpr std::size_t kLongestCharacter = 4;
constexpr std::size_t kFirstPiece = 4096;
constexpr std::size_t kLeastPiece = 16;

constexpr char16_t kMark = 0xFEFF;
constexpr char16_t kReplacement = 0xFFFD;

std::string Lowercased(std::string text)
{
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    }
    return text;
}

// The number of the first units that are good, where all that end before a bad one are so, but for
// `slack` units that may stand within a character.
template <class Test>
std::size_t CountGood(std::size_t size, std::size_t slack, Test const& isGood)
{
    auto const lastGood = [&](std::size_t end) {
        for (std::size_t back = 0; back < slack && back <= end; ++back) {
            if (isGood(end - back)) return end - back;
        }
        return std::string::npos;
    };
    std::size_t good = 0;
    std::size_t bad = size + 1;
    while (bad - good > 1) {
        std::size_t const middle = good + (bad - good) / 2;
        (lastGood(middle) != std::string::npos ? good : bad) = middle;
    }
    std::size_t const last = lastGood(good);
    return last == std::string::npos ? 0 : last;
}

}  // namespace

CCharset::CCharset(std::string name)
    : mName(std::move(name))
    , mConverter(std::make_unique<CCharsetConverter>())
{
    std::string const lowercased = Lowercased(mName);
    mUTF8 = lowercased == "utf-8" || lowercased == "utf8";
    mMarked = lowercased == "utf-16" || lowercased == "utf-32";
    if (lowercased.starts_with("utf-16")) mUnitSize = 2;
    if (lowercased.starts_with("utf-32")) mUnitSize = 4;
    mConverter->SetCharset(mName);
}

CCharset::CCharset(CCharset&&) noexcept = default;
CCharset& CCharset::operator=(CCharset&&) noexcept = default;
CCharset::~CCharset() = default;

bool CCharset::IsKnown() const
{
    std::u16string text;
    return mUTF8 || Convert(std::string_view(), text);
}

// What is no text of the charset comes as an exception.
bool CCharset::Convert(std::string_view bytes, std::u16string& text) const
{
    try {
        mConverter->mImp->ToUnicode(bytes.size(), bytes.data(), &text);
        return true;
    } catch (HierarchicalException const&) {
        text.clear();
        return false;
    }
}

bool CCharset::Convert(std::u16string const& text, std::string& bytes) const
{
    try {
        mConverter->mImp->FromUnicode(text.size(), text.data(), &bytes);
        return true;
    } catch (HierarchicalException const&) {
        bytes.clear();
        return false;
    }
}

bool CCharset::Decode(std::string_view bytes, std::u16string& text) const
{
    text.clear();
    if (bytes.empty()) return true;
    if (mUTF8) {
        if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
        return CUTFConverter::ConvertUTF8toUTF16(bytes.data(), static_cast<int>(bytes.size()), text,
                                                 CUTFConverter::kStrictMode);
    }
    if (bytes.size() % mUnitSize != 0) return false;
    if (!Convert(bytes, text)) return false;
    if (FindLoneSurrogate(text) == text.size()) return true;
    text.clear();
    return false;
}

std::size_t CCharset::CountDecodable(std::string_view bytes) const
{
    std::u16string text;
    return CountGood(bytes.size(), kLongestCharacter,
                     [&](std::size_t end) { return Decode(bytes.substr(0, end), text); });
}

std::size_t CCharset::FindUndecodable(std::string_view bytes) const
{
    std::u16string text;
    return Decode(bytes, text) ? bytes.size() : CountDecodable(bytes);
}

std::size_t CCharset::FindOffset(std::string_view bytes, std::size_t unit) const
{
    std::u16string text;
    return CountGood(bytes.size(), kLongestCharacter, [&](std::size_t end) {
        return Decode(bytes.substr(0, end), text) && text.size() <= unit;
    });
}

// Whether a byte means one thing or another by what came long before it.
bool CCharset::IsStateful() const
{
    std::string const lowercased = Lowercased(mName);
    return lowercased.starts_with("iso-2022") || lowercased.starts_with("hz") ||
           lowercased.starts_with("utf-7");
}

// In pieces, which grow while all is well, so that the bad bytes of a long text don't each cost a
// look at all of it. Where a byte's meaning hangs on what came before, all at once.
std::u16string CCharset::DecodeLossily(std::string_view bytes) const
{
    if (mMarked) return OrderOf(bytes).DecodeLossily(bytes.substr(HasMark(bytes) ? mUnitSize : 0));
    std::u16string result;
    std::u16string text;
    bool const whole = IsStateful();
    std::size_t size = kFirstPiece;
    while (!bytes.empty()) {
        std::string_view const piece = whole ? bytes : bytes.substr(0, size);
        std::size_t const good = Decode(piece, text) ? piece.size() : CountDecodable(piece);
        Decode(piece.substr(0, good), text);
        result += text;
        bytes.remove_prefix(good);
        // A character that the piece cut in two comes whole with the next one.
        bool const cut = piece.size() < bytes.size() + good && good > 0 &&
                         good + kLongestCharacter > piece.size();
        if (good == piece.size() || cut) {
            size = std::min(2 * size, kFirstPiece);
            continue;
        }
        result += kReplacement;
        bytes.remove_prefix(std::min(mUnitSize, bytes.size()));
        size = std::max(size / 2, kLeastPiece);
    }
    return result;
}

bool CCharset::Encode(std::u16string const& text, std::string& bytes) const
{
    bytes.clear();
    if (FindLoneSurrogate(text) < text.size()) return false;
    if (mUTF8) return CUTFConverter::ConvertUTF16toUTF8(text, bytes, CUTFConverter::kStrictMode);
    // "?" stands for what has no place as well as for itself.
    std::u16string again;
    bool const converted = Convert(mMarked ? kMark + text : text, bytes);
    if (converted && Convert(bytes, again) && again == text) return true;
    bytes.clear();
    return false;
}

std::string CCharset::EncodeLossily(std::u16string const& text) const
{
    std::string bytes;
    if (mUTF8) {
        CUTFConverter::ConvertUTF16toUTF8(text, bytes, CUTFConverter::kLenientMode);
    } else {
        Convert(mMarked ? kMark + text : text, bytes);
    }
    return bytes;
}

// The charset with the order that the mark in front of `bytes` tells.
CCharset CCharset::OrderOf(std::string_view bytes) const
{
    return CCharset(mName + (bytes.starts_with("\xFF\xFE") ? "LE" : "BE"));
}

bool CCharset::HasMark(std::string_view bytes) const
{
    using namespace std::string_view_literals;
    if (mUnitSize == 2) return bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
    return bytes.starts_with("\xFF\xFE\0\0"sv) || bytes.starts_with("\0\0\xFE\xFF"sv);
}

std::size_t CCharset::FindUnencodable(std::u16string const& text) const
{
    std::string bytes;
    if (Encode(text, bytes)) return text.size();
    // Not between the halves of a pair.
    return CountGood(text.size(), 2,
                     [&](std::size_t end) { return Encode(text.substr(0, end), bytes); });
}
