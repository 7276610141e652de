#include "loamctl/CCharset.h"

#include <algorithm>
#include <utility>

#include "loamctl/Interruption.h"
#include "loamctl/UTF16Loops.h"
#include "marl/HierarchicalException.h"
#include "text/CCharsetConverter.h"
#include "text/CUTFConverter.h"

namespace {

constexpr char16_t kMark = 0xFEFF;

std::string Lowercased(std::string text)
{
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    }
    return text;
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
    return CountGood(bytes.size(), kLongestCharacter, [&](std::size_t end) {
        ThrowIfInterrupted();
        return Decode(bytes.substr(0, end), text);
    });
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

ByteMemory CCharset::GetMemory() const
{
    std::string const lowercased = Lowercased(mName);
    if (lowercased.starts_with("utf-7")) return ByteMemory::kWholeText;
    bool const hasEscapes = lowercased.starts_with("iso-2022") || lowercased.starts_with("hz");
    return hasEscapes ? ByteMemory::kEscapes : ByteMemory::kCharacter;
}

std::u16string CCharset::DecodeLossily(std::string_view bytes) const
{
    if (mMarked) return OrderOf(bytes).DecodeLossily(bytes.substr(HasMark(bytes) ? mUnitSize : 0));
    auto const decode = [this](std::string_view piece, std::u16string& text) {
        return Decode(piece, text);
    };
    return DecodeAroundBadBytes(bytes, mUnitSize, GetMemory(), decode);
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
