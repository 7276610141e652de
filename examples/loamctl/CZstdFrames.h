// Follows the frames of a zstd stream without decoding them, to tell whether its last one is whole:
// the library's chunked form takes a cut stream for good.
//
// The format is that of RFC 8878, section 3.1. What is damaged otherwise is the decoder's matter.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

class CZstdFrames
{
public:
    /// `magicless`: frames without their magic number.
    explicit CZstdFrames(bool magicless);

    /// Takes the next bytes of the stream. False if they can't be any; then all is over.
    bool Feed(std::string_view bytes);

    /// At least one frame has come, and all of the last one.
    bool IsComplete() const { return mAny && mPart == Part::kStart && mHave == 0; }

    /// Whether a stream begins with a frame that says how much it unpacks to.
    static bool StatesItsSize(std::string_view stream);

private:
    // What the next bytes are.
    enum class Part
    {
        kStart,         ///< the magic number, or without it the first byte of the header
        kDescriptor,    ///< the first byte of the header
        kHeader,        ///< the rest of it
        kBlock,         ///< a block's header
        kBlockContent,  ///< or what follows the last block
        kSkippedSize,
        kSkipped,
    };

    void Expect(Part part, std::size_t size);
    bool TakePart();
    void TakeDescriptor();
    bool TakeBlockHeader();
    bool TakeMagic();
    void BeginFrame();
    void EndBlock();
    unsigned int Number() const;

    bool mMagicless;
    bool mAny = false;
    Part mPart = Part::kStart;
    std::size_t mSize = 0;         // of the part
    std::size_t mHave = 0;         // of it so far
    std::array<char, 4> mBytes{};  // the first of them
    bool mHasChecksum = false;
    bool mIsLastBlock = false;
};
