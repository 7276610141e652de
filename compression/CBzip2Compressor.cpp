#include "compression/CBzip2Compressor.h"

#include "compression/CDataCompressionProgress.h"
#include "marl/amortizedmemblock.h"

#include <algorithm>
#include <climits>

namespace {

// Kept on purpose: the level has no say in this.
constexpr int kBlockSize100k = 3;
constexpr int kWorkFactor = 30;
constexpr int kQuiet = 0;
constexpr int kFast = 0;  // and not small

// What came of one call of the library.
enum class Step
{
    kGoesOn,
    kComplete,
    kFailed,
};

// Gives the memory of a stream back, also where the block throws.
class StStreamEnd
{
public:
    StStreamEnd(bz_stream& stream, int (*end)(bz_stream*))
        : mStream(stream)
        , mEnd(end)
    {
    }

    StStreamEnd(StStreamEnd const&) = delete;
    StStreamEnd& operator=(StStreamEnd const&) = delete;

    ~StStreamEnd() { mEnd(&mStream); }

private:
    bz_stream& mStream;
    int (*mEnd)(bz_stream*);
};

// Room in a stream is counted in 32 bits.
unsigned int Counted(unsigned long long size)
{
    return static_cast<unsigned int>(std::min<unsigned long long>(size, UINT_MAX));
}

void PointInput(bz_stream& stream, void const* data, unsigned long long size)
{
    stream.next_in = const_cast<char*>(static_cast<char const*>(data));
    stream.avail_in = Counted(size);
}

void PointOutput(bz_stream& stream, amortizedmemblock& out, unsigned long written)
{
    stream.next_out = out.data() + written;
    stream.avail_out = Counted(out.size() - written);
}

// Runs a stream over the whole of `data`, of less than 4 GiB, and appends what comes of it. Where
// that reaches 4 GiB, the low word of the count ends and so does the work.
template <class TakeStep>
bool RunWhole(bz_stream& stream,
              CDataCompressionProgress* progress,
              void const* data,
              unsigned int size,
              amortizedmemblock& out,
              unsigned long base,
              TakeStep takeStep)
{
    Step step = Step::kGoesOn;
    for (bool goesOn = true; goesOn;) {
        PointInput(stream, static_cast<char const*>(data) + stream.total_in_lo32,
                   size - stream.total_in_lo32);
        PointOutput(stream, out, base + stream.total_out_lo32);
        stream.avail_out = std::min(stream.avail_out, UINT_MAX - stream.total_out_lo32);

        step = takeStep();
        goesOn = step == Step::kGoesOn;
        if (progress && !progress->ProgressOfTotal(size, stream.total_in_lo32)) goesOn = false;
        if (stream.total_out_lo32 == UINT_MAX) goesOn = false;
        if (goesOn && stream.avail_out == 0) out.resize(base + (out.size() - base) * 2);
    }
    out.resize(base + stream.total_out_lo32);
    return step == Step::kComplete;
}

// Feeds one chunk to a stream; `out` then holds what came out. `takeStep` answers whether the
// library was content; what it wrote in a step that failed is left out. Kept on purpose: a stop in
// the step that takes the last byte doesn't make it fail.
template <class TakeStep>
bool RunChunk(bz_stream& stream,
              CDataCompressionProgress* progress,
              void const* data,
              unsigned long long size,
              amortizedmemblock& out,
              TakeStep takeStep)
{
    unsigned long long read = 0;
    unsigned long written = 0;
    bool isDone = false;
    for (bool goesOn = true; goesOn;) {
        PointInput(stream, static_cast<char const*>(data) + read, size - read);
        PointOutput(stream, out, written);
        unsigned int const offered = stream.avail_in;
        unsigned int const room = stream.avail_out;

        goesOn = takeStep();
        if (goesOn) {
            read += offered - stream.avail_in;
            written += room - stream.avail_out;
            isDone = read == size;
            goesOn = !isDone;
            if (goesOn && written == out.size()) out.resize(out.size() * 2);
        }
        if (progress && !progress->ProgressOfChunks(stream.total_in_lo32)) goesOn = false;
    }
    out.resize(written);
    return isDone;
}

// Makes all the room usable that the last chunk left. Where there is none yet, that is the block's
// step: twice nothing would be nothing for ever.
void UseAllRoom(amortizedmemblock& out)
{
    if (out.allocatedSize() == 0) out.resize(1);
    out.resize(out.allocatedSize());
}

}  // namespace

bool CBzip2Compressor::Compress(void const* data, unsigned long long size, amortizedmemblock& out)
{
    if (size > UINT_MAX) return false;
    unsigned long const base = out.size();
    out.resize(base + size / 10 + 1000);
    bz_stream stream{};
    if (BZ2_bzCompressInit(&stream, kBlockSize100k, kQuiet, kWorkFactor) != BZ_OK) {
        out.resize(base);
        return false;
    }
    StStreamEnd const end(stream, BZ2_bzCompressEnd);
    return RunWhole(stream, mProgress, data, static_cast<unsigned int>(size), out, base, [&] {
        int const status =
            BZ2_bzCompress(&stream, stream.total_in_lo32 < size ? BZ_RUN : BZ_FINISH);
        if (status == BZ_RUN_OK || status == BZ_FINISH_OK) return Step::kGoesOn;
        return status == BZ_STREAM_END ? Step::kComplete : Step::kFailed;
    });
}

bool CBzip2Compressor::Decompress(void const* data, unsigned long long size, amortizedmemblock& out)
{
    if (size > UINT_MAX) return false;
    unsigned long const base = out.size();
    out.resize(base + size * 10 + 10);
    bz_stream stream{};
    if (BZ2_bzDecompressInit(&stream, kQuiet, kFast) != BZ_OK) {
        out.resize(base);
        return false;
    }
    StStreamEnd const end(stream, BZ2_bzDecompressEnd);
    return RunWhole(stream, mProgress, data, static_cast<unsigned int>(size), out, base, [&] {
        int const status = BZ2_bzDecompress(&stream);
        // Input that runs out is a cut stream here, since nothing follows.
        if (status == BZ_OK && stream.avail_in > 0) return Step::kGoesOn;
        return status == BZ_STREAM_END ? Step::kComplete : Step::kFailed;
    });
}

// Kept on purpose: whatever run was open before, its memory is lost, as it is in the destructor.
bool CBzip2Compressor::StartCompressChunks(unsigned long long sizeHint, amortizedmemblock& out)
{
    out.resize(sizeHint / 10 + 1000);
    out.setKeepAllocation(true);
    mStream = {};
    return BZ2_bzCompressInit(&mStream, kBlockSize100k, kQuiet, kWorkFactor) == BZ_OK;
}

// Kept on purpose: a chunk of no bytes fails, since the library takes a call without progress for a
// mistake.
bool CBzip2Compressor::CompressChunk(void const* data,
                                     unsigned long long size,
                                     amortizedmemblock& out)
{
    UseAllRoom(out);
    return RunChunk(mStream, mProgress, data, size, out,
                    [this] { return BZ2_bzCompress(&mStream, BZ_RUN) == BZ_RUN_OK; });
}

bool CBzip2Compressor::FinishCompressChunks(amortizedmemblock& out)
{
    StStreamEnd const end(mStream, BZ2_bzCompressEnd);
    UseAllRoom(out);
    unsigned long written = 0;
    int status = BZ_FINISH_OK;
    while (status == BZ_FINISH_OK) {
        if (written == out.size()) out.resize(out.size() * 2);
        PointInput(mStream, nullptr, 0);
        PointOutput(mStream, out, written);
        unsigned int const room = mStream.avail_out;
        status = BZ2_bzCompress(&mStream, BZ_FINISH);
        if (status == BZ_FINISH_OK || status == BZ_STREAM_END) written += room - mStream.avail_out;
    }
    out.resize(written);
    return status == BZ_STREAM_END;
}

bool CBzip2Compressor::StartDecompressChunks(unsigned long long sizeHint, amortizedmemblock& out)
{
    out.resize(sizeHint * 10 + 100);
    out.setKeepAllocation(true);
    mStream = {};
    mLastStatus = BZ2_bzDecompressInit(&mStream, kQuiet, kFast);
    return mLastStatus == BZ_OK;
}

bool CBzip2Compressor::DecompressChunk(void const* data,
                                       unsigned long long size,
                                       amortizedmemblock& out)
{
    UseAllRoom(out);
    return RunChunk(mStream, mProgress, data, size, out, [this] {
        mLastStatus = BZ2_bzDecompress(&mStream);
        return mLastStatus == BZ_OK || mLastStatus == BZ_STREAM_END;
    });
}

bool CBzip2Compressor::FinishDecompressChunks(amortizedmemblock& out)
{
    out.resize(0);
    BZ2_bzDecompressEnd(&mStream);
    return mLastStatus == BZ_STREAM_END;
}
