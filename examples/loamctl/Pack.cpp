#include "loamctl/Pack.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/CNewFile.h"
#include "loamctl/COutput.h"
#include "loamctl/CProgress.h"
#include "loamctl/CRunLog.h"
#include "loamctl/Compressing.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "loamctl/Unpacking.h"
#include "marl/HierarchicalException.h"

namespace {

constexpr char const* kPackNotes =
    R"(Each file gets a neighbour with .zst or .bz2 behind its name, and stays. What is written are
plain zstd frames and bzip2 streams, which the programs of those names read as well, but for
--magicless, which zstd's doesn't; --dict asks it for -D and the dictionary unpacked.)";

constexpr char const* kUnpackNotes =
    R"(FILE.zst and FILE.bz2 become FILE. Streams of the zstd and bzip2 programs are read as well as
our own, also several in a row. A stream that is cut or damaged is an error, and leaves nothing.)";

// A file up to this size is one chunk: its frame then states its size.
constexpr long long kChunk = 4LL << 20;

struct PackOptions
{
    std::vector<std::string> mPaths;
    std::string mTarget;  // for the only file; empty for its neighbour
    bool mOverwrite = false;
    long long mLimit = -1;  // bytes that a file may unpack to; -1 for no limit
    CompressionOptions mCompression;
};

struct Sizes
{
    long long mFrom = 0;
    long long mTo = 0;
};

// Shows how far a file has come, with those before it.
class CMeter
{
public:
    CMeter(CProgress& progress, std::size_t files)
        : mProgress(progress)
        , mFiles(static_cast<double>(files))
    {
    }

    void BeginFile(long long size)
    {
        mSize = size;
        mDone = 0;
    }

    void Add(long long bytes)
    {
        mDone += bytes;
        mBytes += bytes;
        ThrowIfInterrupted();
        double const share =
            mSize > 0 ? std::min(1.0, static_cast<double>(mDone) / static_cast<double>(mSize)) : 0;
        mProgress.Show(mFinished, mBytes, (static_cast<double>(mFinished) + share) / mFiles);
    }

    void EndFile() { ++mFinished; }

private:
    CProgress& mProgress;
    double mFiles;
    long long mFinished = 0;
    long long mBytes = 0;
    long long mSize = 0;
    long long mDone = 0;
};

std::unique_ptr<CFile> OpenFile(std::string const& path)
{
    auto file = std::make_unique<CFile>(SpecOfArgument(path));
    if (!file->Exist()) throw CUsageError(SafeName(path) + ": isn't there");
    if (!file->GetFileSpec()->IsRealFile(true)) throw CUsageError(SafeName(path) + ": is no file");
    file->Open(CFile::cPrivilegeRead);
    return file;
}

// What was made must be whole: the reader of a stream has no other copy.
class CPackedFile
{
public:
    CPackedFile(CNewFile& file, CompressionOptions const& options)
        : mFile(file)
        , mIsZstd(!options.mBzip2)
        , mFrames(options.mMagicless)
    {
    }

    void Write(amortizedmemblock const& block)
    {
        std::string_view const bytes(block.data(), block.size());
        mGood = mGood && (!mIsZstd || mFrames.Feed(bytes));
        mFile.Write(bytes);
    }

    bool IsWhole() const { return mGood && (!mIsZstd || mFrames.IsComplete()); }

private:
    CNewFile& mFile;
    bool mIsZstd;
    bool mGood = true;
    CZstdFrames mFrames;
};

// Fewer bytes than a chunk only at the end of the file.
unsigned long ReadChunk(CFile& from, memblock& in)
{
    long long read = 0;
    while (read < kChunk) {
        long long const count = from.Read(in.data() + read, kChunk - read);
        if (count == 0) break;
        read += count;
    }
    return static_cast<unsigned long>(read);
}

// False if the compressor fails.
bool PackAll(CFile& from, CDataCompressor& compressor, CPackedFile& to, CMeter& meter)
{
    amortizedmemblock in;
    amortizedmemblock out(65536, 2.0F, true);
    in.resize(kChunk);
    unsigned long count = ReadChunk(from, in);
    if (count < kChunk) {
        bool const isMade = compressor.Compress(in.data(), count, out);
        to.Write(out);
        meter.Add(static_cast<long long>(count));
        return isMade;
    }
    bool isMade = compressor.StartCompressChunks(kChunk, out);
    try {
        while (isMade && count > 0) {
            isMade = compressor.CompressChunk(in.data(), count, out);
            to.Write(out);
            meter.Add(static_cast<long long>(count));
            count = ReadChunk(from, in);
        }
    } catch (...) {
        // Only the end of a run gives its memory back.
        compressor.FinishCompressChunks(out);
        throw;
    }
    isMade = compressor.FinishCompressChunks(out) && isMade;
    to.Write(out);
    return isMade;
}

Sizes PackFile(std::string const& path,
               std::string const& target,
               PackOptions const& options,
               CMeter& meter)
{
    std::unique_ptr<CFile> const from = OpenFile(path);
    CNewFile to(target, options.mOverwrite);
    to.TakeModeOf(path);
    meter.BeginFile(from->GetLength());
    CPackedFile packed(to, options.mCompression);
    std::unique_ptr<CDataCompressor> const compressor = MakeCompressor(options.mCompression);
    if (!PackAll(*from, *compressor, packed, meter) || !packed.IsWhole()) {
        throw CUsageError(SafeName(path) + ": could not be compressed");
    }
    to.Keep();
    return {from->GetCursorPos(), to.GetSize()};
}

Sizes UnpackFile(std::string const& path,
                 std::string const& target,
                 PackOptions const& options,
                 CMeter& meter)
{
    std::unique_ptr<CFile> const from = OpenFile(path);
    CNewFile to(target, options.mOverwrite);
    to.TakeModeOf(path);
    meter.BeginFile(from->GetLength());
    std::string const problem = Unpack(
        *from, options.mCompression, options.mLimit,
        [&](std::string_view bytes) { to.Write(bytes); },
        [&](long long count) { meter.Add(count); });
    if (!problem.empty()) throw CUsageError(fmt::format("{}: {}", SafeName(path), problem));
    to.Keep();
    return {from->GetCursorPos(), to.GetSize()};
}

char const* SuffixOf(PackOptions const& options)
{
    return options.mCompression.mBzip2 ? ".bz2" : ".zst";
}

std::string UnpackedName(std::string const& path)
{
    bool const known = path.ends_with(".zst") || path.ends_with(".bz2");
    if (!known || path.size() == 4 || path[path.size() - 5] == '/') {
        throw CUsageError(SafeName(path) + ": has no name that ends in .zst or .bz2 (see -o)");
    }
    return path.substr(0, path.size() - 4);
}

void ShowDone(std::string const& path, std::string const& target, Sizes sizes, COutput& output)
{
    if (output.IsJSON()) {
        output.AddJSON({{"type", "file"},
                        {"path", path},
                        {"target", target},
                        {"bytes", sizes.mFrom},
                        {"target_bytes", sizes.mTo}});
        return;
    }
    output.Add(output.Painted(COutput::Style::kPath, SafeName(target)));
    output.Add(fmt::format(": {} from {} bytes", Grouped(sizes.mTo), Grouped(sizes.mFrom)));
    output.EndLine();
}

using Work = std::function<Sizes(std::string const& path, std::string const& target, CMeter&)>;

// One file that fails doesn't keep the others from being done.
int RunAll(PackOptions const& options,
           std::function<std::string(std::string const&)> const& targetOf,
           Work const& work,
           Session& session)
{
    if (!options.mTarget.empty() && options.mPaths.size() > 1) {
        throw CUsageError("-o names one file, and there are several to be made");
    }
    session.mInterruption.Start();
    CMeter meter(session.mProgress, options.mPaths.size());
    int failures = 0;
    for (std::string const& path : options.mPaths) {
        std::string problem;
        try {
            std::string const target = options.mTarget.empty() ? targetOf(path) : options.mTarget;
            Sizes const sizes = work(path, target, meter);
            meter.EndFile();
            session.mLog.Say(fmt::format("made {} from {}", SafeName(target), SafeName(path)));
            ShowDone(path, target, sizes, session.mOutput);
        } catch (HierarchicalException const& failure) {
            problem = fmt::format("{}: {}", SafeName(path), DescribeFailure(failure));
        } catch (CUsageError const& error) {
            problem = error.what();
        } catch (std::bad_alloc const&) {
            problem = SafeName(path) + ": not enough memory";
        }
        if (problem.empty()) continue;
        ++failures;
        meter.EndFile();
        session.mLog.Say(problem);
        session.mOutput.Complain(problem);
    }
    return failures > 0 ? 2 : 0;
}

void AddFiles(CArguments command, PackOptions& options)
{
    command.Add("FILE", options.mPaths, "The files").Required();
    command.Add("-o,--output", options.mTarget, "What the only file becomes").Shown("FILE");
    command.AddFlag("-f,--force", options.mOverwrite, "Replace what is there already");
    AddCompressionOptions(command, options.mCompression);
}

}  // namespace

Command AddPack(CArguments program)
{
    CArguments pack = program.AddCommand("pack", "Compress files");
    auto const options = std::make_shared<PackOptions>();
    AddFiles(pack, *options);
    pack.Add("--level", options->mCompression.mLevel,
             "From 1 (fast) to 22 (small); 3 by default. bzip2 has none")
        .InRange(1, NewZstdCompressor()->GetMaxCompressionLevel())
        .Shown("NUM");
    pack.AddFlag("--long", options->mCompression.mLong,
                 "Look for repetitions over long distances, for large files");
    pack.SetNotes(kPackNotes);
    return {pack, [options](Session& session) {
                ReadDictionary(options->mCompression);
                return RunAll(
                    *options,
                    [&options](std::string const& path) { return path + SuffixOf(*options); },
                    [&options](std::string const& path, std::string const& target, CMeter& meter) {
                        return PackFile(path, target, *options, meter);
                    },
                    session);
            }};
}

Command AddUnpack(CArguments program)
{
    CArguments unpack = program.AddCommand("unpack", "Decompress files");
    auto const options = std::make_shared<PackOptions>();
    AddFiles(unpack, *options);
    unpack.Add("--limit", options->mLimit, "The most that a file may become, in bytes")
        .NotNegative()
        .Shown("BYTES");
    unpack.SetNotes(kUnpackNotes);
    return {unpack, [options](Session& session) {
                ReadDictionary(options->mCompression);
                return RunAll(
                    *options, UnpackedName,
                    [&options](std::string const& path, std::string const& target, CMeter& meter) {
                        PackOptions own = *options;
                        own.mCompression.mBzip2 |= path.ends_with(".bz2");
                        return UnpackFile(path, target, own, meter);
                    },
                    session);
            }};
}
