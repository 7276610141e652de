// What the tests of compression share: texts, and both forms of a compressor on whole strings.
#pragma once

#include "compression/CDataCompressor.h"
#include "marl/amortizedmemblock.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

using Kind = CDataCompressionServices::DataCompressionEnum;

inline std::unique_ptr<CDataCompressor> NewCompressor(Kind kind,
                                                      CDataCompressionProgress* progress = nullptr)
{
    return std::unique_ptr<CDataCompressor>(
        CDataCompressionServices::NewCompressor(kind, progress));
}

inline std::string Content(amortizedmemblock const& block)
{
    return {block.data(), block.data() + block.size()};
}

inline amortizedmemblock BlockOf(std::string const& bytes)
{
    amortizedmemblock block;
    block.append(bytes.data(), bytes.size());
    return block;
}

/// A result with what the block held then.
struct Made
{
    bool mResult = false;
    std::string mBytes;

    bool operator==(Made const&) const = default;
};

inline Made Compressed(CDataCompressor& compressor, std::string const& data)
{
    amortizedmemblock out;
    bool const result = compressor.Compress(data.data(), data.size(), out);
    return {result, Content(out)};
}

inline Made Decompressed(CDataCompressor& compressor, std::string const& data)
{
    amortizedmemblock out;
    bool const result = compressor.Decompress(data.data(), data.size(), out);
    return {result, Content(out)};
}

/// A whole run: the result is true if every step's was, and the bytes are all that came out.
inline Made CompressedInChunks(CDataCompressor& compressor,
                               std::string const& data,
                               std::size_t chunk,
                               unsigned long long hint)
{
    amortizedmemblock out;
    Made made{compressor.StartCompressChunks(hint, out), {}};
    for (std::size_t at = 0; at < data.size(); at += chunk) {
        std::size_t const size = std::min(chunk, data.size() - at);
        made.mResult &= compressor.CompressChunk(data.data() + at, size, out);
        made.mBytes += Content(out);
    }
    made.mResult &= compressor.FinishCompressChunks(out);
    made.mBytes += Content(out);
    return made;
}

inline Made DecompressedInChunks(CDataCompressor& compressor,
                                 std::string const& data,
                                 std::size_t chunk,
                                 unsigned long long hint)
{
    amortizedmemblock out;
    Made made{compressor.StartDecompressChunks(hint, out), {}};
    for (std::size_t at = 0; at < data.size(); at += chunk) {
        std::size_t const size = std::min(chunk, data.size() - at);
        made.mResult &= compressor.DecompressChunk(data.data() + at, size, out);
        made.mBytes += Content(out);
    }
    made.mResult &= compressor.FinishDecompressChunks(out);
    made.mBytes += Content(out);
    return made;
}

/// Numbers that look random and are the same in every run.
class CNumbers
{
public:
    explicit CNumbers(unsigned int seed)
        : mState(seed)
    {
    }

    unsigned int Next()
    {
        mState = mState * 1664525U + 1013904223U;
        return mState >> 16;
    }

private:
    unsigned int mState;
};

/// Words in sentences, which compress to about a third.
inline std::string TextOf(std::size_t size, unsigned int seed = 1)
{
    static char const* const sWords[] = {"harbour", "letter",  "river", "of", "the",    "and",
                                         "winter",  "journey", "in",    "a",  "garden", "morning",
                                         "street",  "number",  "house", "we", "saw",    "café"};
    CNumbers numbers(seed);
    std::string text;
    while (text.size() < size) {
        text += sWords[numbers.Next() % std::size(sWords)];
        text += numbers.Next() % 12 == 0 ? ".\n" : " ";
        if (numbers.Next() % 20 == 0) text += std::to_string(numbers.Next());
    }
    text.resize(size);
    return text;
}

/// Bytes that don't compress.
inline std::string NoiseOf(std::size_t size, unsigned int seed = 1)
{
    CNumbers numbers(seed);
    std::string noise(size, '\0');
    for (char& byte : noise)
        byte = static_cast<char>(numbers.Next());
    return noise;
}
