#include "loamctl/Train.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/CNewFile.h"
#include "loamctl/COutput.h"
#include "loamctl/CProgress.h"
#include "loamctl/CRunLog.h"
#include "loamctl/CSamples.h"
#include "loamctl/CTreeWalk.h"
#include "loamctl/Compressing.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "loamctl/Reading.h"

namespace {

constexpr char const* kNotes =
    R"(The texts among the files are what is trained on. The dictionary helps files that are small and
alike: `loamctl pack --dict D` and `loamctl unpack --dict D` use it. D is a zstd frame; unpacked,
it is a dictionary for the zstd program's -D.)";

struct TrainOptions
{
    std::vector<std::string> mPaths;
    std::string mTarget;
    bool mOverwrite = false;
    unsigned long mSize = 112640;  // what the zstd program makes
    int mLevel = 3;
};

// What documents come to, packed one by one.
struct Sums
{
    long long mDocuments = 0;
    long long mBytes = 0;
    long long mPacked = 0;
    long long mWithDictionary = 0;
};

// Both walks are over the same texts, but for what changes meanwhile.
Totals WalkTexts(TrainOptions const& options,
                 int round,
                 Session& session,
                 std::function<void(std::string_view)> const& work)
{
    Totals totals;
    CTreeWalk walk(options.mPaths, false);
    CDocument document;
    for (TreeEntry entry; walk.Next(entry);) {
        ThrowIfInterrupted();
        Reading const reading = ReadEntry(entry, document);
        totals.Add(entry, reading);
        session.mProgress.Show(totals.mFiles, totals.mBytes, (round + walk.GetShare()) / 2);
        if (reading.mText) work(document.GetBytes());
        if (round > 0) continue;
        TellSkipped(entry, reading, session.mOutput);
        session.mLog.Say(entry, reading, "");
    }
    return totals;
}

long long PackedSize(CDataCompressor& compressor, std::string_view bytes, amortizedmemblock& out)
{
    out.resize(0);
    if (!compressor.Compress(bytes.data(), bytes.size(), out)) {
        throw CUsageError("a document could not be compressed");
    }
    return static_cast<long long>(out.size());
}

Sums Measure(TrainOptions const& options, amortizedmemblock const& dictionary, Session& session)
{
    std::unique_ptr<CZstdCompressor> const plain = NewZstdCompressor();
    plain->SetCompressionLevel(options.mLevel);
    std::unique_ptr<CZstdCompressor> const taught = NewZstdCompressor();
    taught->SetDictionaryAndCompressionLevel(dictionary.data(), dictionary.size(), options.mLevel);
    Sums sums;
    amortizedmemblock out(65536, 2.0F, true);
    WalkTexts(options, 1, session, [&](std::string_view bytes) {
        ++sums.mDocuments;
        sums.mBytes += static_cast<long long>(bytes.size());
        sums.mPacked += PackedSize(*plain, bytes, out);
        sums.mWithDictionary += PackedSize(*taught, bytes, out);
    });
    return sums;
}

void Show(Sums const& sums, std::string const& target, long long size, COutput& output)
{
    if (output.IsJSON()) {
        output.AddJSON({{"type", "dictionary"},
                        {"path", target},
                        {"bytes", size},
                        {"documents", sums.mDocuments},
                        {"document_bytes", sums.mBytes},
                        {"packed_bytes", sums.mPacked},
                        {"packed_bytes_with_dictionary", sums.mWithDictionary}});
        return;
    }
    double const saved = 100.0 * (1.0 - static_cast<double>(sums.mWithDictionary) /
                                            static_cast<double>(sums.mPacked));
    output.Add(output.Painted(COutput::Style::kPath, SafeName(target)));
    output.Add(fmt::format(": {} bytes, from {} of {}", Grouped(size),
                           Counted(sums.mDocuments, "document", "documents"),
                           SizeForPeople(sums.mBytes)));
    output.EndLine();
    output.Add(fmt::format("packed one by one: {} bytes; with the dictionary: {} bytes, {:.1f}% {}",
                           Grouped(sums.mPacked), Grouped(sums.mWithDictionary),
                           saved < 0 ? -saved : saved, saved < 0 ? "more" : "less"));
    output.EndLine();
}

int RunTrain(TrainOptions const& options, Session& session)
{
    session.mInterruption.Start();
    CNewFile target(options.mTarget, options.mOverwrite);
    CSamples samples;
    Totals const totals =
        WalkTexts(options, 0, session, [&](std::string_view bytes) { samples.Add(bytes); });
    std::unique_ptr<CZstdCompressor> const trainer = NewZstdCompressor();
    trainer->SetCompressionLevel(options.mLevel);
    amortizedmemblock dictionary;
    if (!samples.Train(*trainer, options.mSize, dictionary)) {
        throw CUsageError("there are too few texts here, or too small ones, for a dictionary");
    }
    Sums const sums = Measure(options, dictionary, session);
    target.Write({dictionary.data(), dictionary.size()});
    target.Keep();
    Show(sums, options.mTarget, static_cast<long long>(dictionary.size()), session.mOutput);
    return totals.mErrors > 0 ? 2 : 0;
}

}  // namespace

Command AddTrain(CArguments program)
{
    CArguments train =
        program.AddCommand("train", "Train a dictionary on documents, and tell what it saves");
    auto const options = std::make_shared<TrainOptions>();
    AddPaths(train, options->mPaths);
    train.Add("-o,--output", options->mTarget, "The dictionary").Required().Shown("D");
    train.AddFlag("-f,--force", options->mOverwrite, "Replace what is there already");
    train.Add("--size", options->mSize, "The most that it may have in bytes: 112640")
        .InRange(256, 16 << 20)
        .Shown("BYTES");
    train.Add("--level", options->mLevel, "The level that it is made for; 3 by default")
        .InRange(1, NewZstdCompressor()->GetMaxCompressionLevel())
        .Shown("NUM");
    train.SetNotes(kNotes);
    return {train, [options](Session& session) { return RunTrain(*options, session); }};
}
