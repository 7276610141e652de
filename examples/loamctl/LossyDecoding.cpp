#include "loamctl/LossyDecoding.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t kFirstPiece = 4096;
constexpr std::size_t kLeastPiece = 16;
constexpr char16_t kReplacement = 0xFFFD;

// What has been decoded so far.
class CPieces
{
public:
    CPieces(std::size_t unitSize, Decoding const& decode)
        : mUnitSize(unitSize)
        , mDecode(decode)
    {
    }

    std::u16string Decode(std::string_view bytes);
    std::u16string DecodeWithMemory(std::string_view bytes, std::size_t firstPiece);

private:
    std::size_t CountDecodable(std::string_view piece);
    std::size_t CountDecodableInPieces(std::string_view bytes, std::size_t firstPiece);
    void Replace(std::string_view& bytes);

    std::size_t mUnitSize;
    Decoding const& mDecode;
    std::u16string mText;
    std::u16string mResult;
};

std::size_t CPieces::CountDecodable(std::string_view piece)
{
    if (mDecode(piece, mText)) return piece.size();
    return CountGood(piece.size(), kLongestCharacter,
                     [&](std::size_t end) { return mDecode(piece.substr(0, end), mText); });
}

void CPieces::Replace(std::string_view& bytes)
{
    mResult += kReplacement;
    bytes.remove_prefix(std::min(mUnitSize, bytes.size()));
}

// In pieces, which grow while all is well, so that the bad bytes of a long text don't each cost a
// look at all of it.
std::u16string CPieces::Decode(std::string_view bytes)
{
    std::size_t size = kFirstPiece;
    while (!bytes.empty()) {
        std::string_view const piece = bytes.substr(0, size);
        std::size_t const good = CountDecodable(piece);
        mDecode(piece.substr(0, good), mText);
        mResult += mText;
        bytes.remove_prefix(good);
        // A character that the piece cut in two comes whole with the next one.
        bool const cut = piece.size() < bytes.size() + good && good > 0 &&
                         good + kLongestCharacter > piece.size();
        if (good == piece.size() || cut) {
            size = std::min(2 * size, kFirstPiece);
            continue;
        }
        Replace(bytes);
        size = std::max(size / 2, kLeastPiece);
    }
    return std::move(mResult);
}

// A piece always begins where the decoder does.
std::u16string CPieces::DecodeWithMemory(std::string_view bytes, std::size_t firstPiece)
{
    if (mDecode(bytes, mText)) return std::move(mText);
    while (!bytes.empty()) {
        std::size_t const good = CountDecodableInPieces(bytes, firstPiece);
        mDecode(bytes.substr(0, good), mText);
        mResult += mText;
        bytes.remove_prefix(good);
        if (!bytes.empty()) Replace(bytes);
    }
    return std::move(mResult);
}

// Twice as much each time, until something bad is in it.
std::size_t CPieces::CountDecodableInPieces(std::string_view bytes, std::size_t firstPiece)
{
    for (std::size_t size = firstPiece;; size *= 2) {
        std::string_view const piece = bytes.substr(0, size);
        std::size_t const good = CountDecodable(piece);
        bool const isAll = piece.size() == bytes.size();
        if (isAll || good + kLongestCharacter <= piece.size()) return good;
    }
}

}  // namespace

std::u16string DecodeAroundBadBytes(std::string_view bytes,
                                    std::size_t unitSize,
                                    ByteMemory memory,
                                    Decoding const& decode)
{
    CPieces pieces(unitSize, decode);
    switch (memory) {
    case ByteMemory::kCharacter:
        break;
    case ByteMemory::kEscapes:
        return pieces.DecodeWithMemory(bytes, kLeastPiece);
    case ByteMemory::kWholeText:
        return pieces.DecodeWithMemory(bytes, bytes.size());
    }
    return pieces.Decode(bytes);
}
