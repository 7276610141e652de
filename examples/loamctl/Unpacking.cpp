#include "loamctl/Unpacking.h"

#include <algorithm>
#include <exception>
#include <optional>

#include <fmt/format.h>

#include "files/CFile.h"
#include "loamctl/DisplayText.h"

namespace {

// What one chunk comes to stays in memory: this much of a bomb is some 100 MB.
constexpr std::size_t kChunk = 8192;
constexpr std::size_t kReadSize = 1 << 20;

class CTooMuch : public std::exception
{
};

// Grows as long as what it holds is within the limit. Compressors let it grow where it is full.
class CLimitedBlock : public amortizedmemblock
{
public:
    CLimitedBlock()
        : amortizedmemblock(65536, 1.5F, true)
    {
    }

    void SetLimit(long long limit) { mLimit = limit; }

    void resize(unsigned long newSize) override
    {
        if (mLimit >= 0 && newSize > size() && size() > static_cast<unsigned long>(mLimit)) {
            throw CTooMuch();
        }
        amortizedmemblock::resize(newSize);
    }

private:
    long long mLimit = -1;
};

// Takes a stream bit by bit; answers what is wrong with it.
class CBasicUnpacker
{
public:
    using Write = std::function<void(std::string_view)>;

    CBasicUnpacker(CompressionOptions const& options, long long limit, Write const& write)
        : mCompressor(MakeCompressor(options))
        , mWrite(write)
        , mLeft(limit)
    {
    }

    CBasicUnpacker(CBasicUnpacker const&) = delete;
    CBasicUnpacker& operator=(CBasicUnpacker const&) = delete;
    virtual ~CBasicUnpacker() = default;

    virtual std::string Take(std::string_view bytes) = 0;
    virtual std::string Finish() = 0;

protected:
    bool Start() { return mCompressor->StartDecompressChunks(kChunk, mOut); }

    // False if the compressor refuses. What was made before is written all the same.
    bool Decompress(std::string_view bytes)
    {
        while (!bytes.empty()) {
            std::string_view const chunk = bytes.substr(0, kChunk);
            bytes.remove_prefix(chunk.size());
            mOut.SetLimit(-1);
            mOut.resize(0);
            mOut.SetLimit(mLeft);
            if (!mCompressor->DecompressChunk(chunk.data(), chunk.size(), mOut)) return false;
            if (mLeft >= 0) {
                mLeft -= static_cast<long long>(mOut.size());
                if (mLeft < 0) throw CTooMuch();
            }
            mWrite({mOut.data(), mOut.size()});
        }
        return true;
    }

    bool FinishStream()
    {
        mOut.SetLimit(-1);
        return mCompressor->FinishDecompressChunks(mOut);
    }

private:
    std::unique_ptr<CDataCompressor> mCompressor;
    Write const& mWrite;
    long long mLeft;
    CLimitedBlock mOut;
};

class CZstdUnpacker final : public CBasicUnpacker
{
public:
    CZstdUnpacker(CompressionOptions const& options, long long limit, Write const& write)
        : CBasicUnpacker(options, limit, write)
        , mFrames(options.mMagicless)
    {
        Start();
    }

    std::string Take(std::string_view bytes) override
    {
        bool const isFirst = mTaken == 0;
        bool const isStream = mFrames.Feed(bytes);
        mTaken += static_cast<long long>(bytes.size());
        if (isStream && Decompress(bytes)) return "";
        if (!isStream && isFirst) return "is no zstd stream, or followed by what is none";
        return fmt::format("is damaged, or was packed with other options, before offset {}",
                           Grouped(mTaken));
    }

    std::string Finish() override
    {
        if (mTaken == 0) return "is empty, which no stream is";
        return mFrames.IsComplete() ? "" : "is cut: the stream has no end";
    }

private:
    CZstdFrames mFrames;
    long long mTaken = 0;
};

// The library reads one bzip2 stream a run. Another begins with a header at the start of a byte,
// ten bytes that occur nowhere else but by a chance that never comes.
class CBzip2Unpacker final : public CBasicUnpacker
{
public:
    CBzip2Unpacker(CompressionOptions const& options, long long limit, Write const& write)
        : CBasicUnpacker(options, limit, write)
    {
        Start();
    }

    ~CBzip2Unpacker() override
    {
        if (mIsOpen) FinishStream();
    }

    std::string Take(std::string_view bytes) override
    {
        mAhead.append(bytes);
        std::string_view left = mAhead;
        while (left.size() >= kHeaderSize) {
            if (mTaken == 0 && !IsHeader(left)) return "is no bzip2 stream";
            std::size_t const next = FindHeader(left, mIsStarted ? 0 : 1);
            if (next == 0) {
                if (!FinishStream() || !Start()) return Damaged();
                mIsStarted = false;
                continue;
            }
            // A header may begin in the last bytes.
            std::size_t const sure = next == left.npos ? left.size() - kHeaderSize + 1 : next;
            if (!Decompress(left.substr(0, sure))) return Damaged();
            mTaken += static_cast<long long>(sure);
            mIsStarted = true;
            left.remove_prefix(sure);
        }
        mAhead.erase(0, mAhead.size() - left.size());
        return "";
    }

    std::string Finish() override
    {
        if (mTaken == 0)
            return mAhead.empty() ? "is empty, which no stream is" : "is no bzip2 stream";
        if (!Decompress(mAhead)) return Damaged();
        mIsOpen = false;
        return FinishStream() ? "" : "is cut: the stream has no end";
    }

private:
    static constexpr std::size_t kHeaderSize = 10;

    static bool IsHeader(std::string_view bytes)
    {
        using namespace std::string_view_literals;
        if (bytes.size() < kHeaderSize || !bytes.starts_with("BZh"sv)) return false;
        std::string_view const mark = bytes.substr(4, 6);
        return bytes[3] >= '1' && bytes[3] <= '9' &&
               (mark == "\x31\x41\x59\x26\x53\x59"sv || mark == "\x17\x72\x45\x38\x50\x90"sv);
    }

    static std::size_t FindHeader(std::string_view bytes, std::size_t from)
    {
        for (std::size_t at = bytes.find("BZh", from); at != bytes.npos;
             at = bytes.find("BZh", at + 1)) {
            if (IsHeader(bytes.substr(at))) return at;
        }
        return bytes.npos;
    }

    std::string Damaged() const
    {
        return fmt::format("is damaged behind offset {}", Grouped(mTaken));
    }

    std::string mAhead;  // not fed yet
    long long mTaken = 0;
    bool mIsStarted = false;  // the stream has got a byte
    bool mIsOpen = true;
};

std::string
UnpackAll(CFile& file, CBasicUnpacker& unpacker, std::function<void(long long)> const& progress)
{
    std::string buffer(kReadSize, '\0');
    for (;;) {
        long long const count = file.Read(buffer.data(), static_cast<long long>(buffer.size()));
        if (count == 0) return unpacker.Finish();
        std::string problem =
            unpacker.Take(std::string_view(buffer).substr(0, static_cast<std::size_t>(count)));
        if (!problem.empty()) return problem;
        progress(count);
    }
}

}  // namespace

std::string Unpack(CFile& file,
                   CompressionOptions const& options,
                   long long limit,
                   std::function<void(std::string_view)> const& write,
                   std::function<void(long long)> const& progress)
{
    try {
        if (options.mBzip2) {
            CBzip2Unpacker unpacker(options, limit, write);
            return UnpackAll(file, unpacker, progress);
        }
        CZstdUnpacker unpacker(options, limit, write);
        return UnpackAll(file, unpacker, progress);
    } catch (CTooMuch const&) {
        return fmt::format("becomes more than the limit of {} bytes", Grouped(limit));
    }
}
