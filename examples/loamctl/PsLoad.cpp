#include "loamctl/PsLoad.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <unistd.h>

#include "concurrency/CSemaphore.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Interruption.h"
#include "loamctl/LoadBars.h"
#include "system/CProcessServices.h"

namespace {

constexpr char const* kNotes =
    R"(100% is one processor's whole time, and what is told is how busy each one was since the line
before. Ends by Ctrl-C, or when it has told often enough.)";

struct PsLoadOptions
{
    int mCount = 0;  // 0 for no end
    int mInterval = 1000;
};

// What passed between two samples; each load is a fraction of one processor's time.
struct Load
{
    float mTotal = 0;
    std::vector<float> mProcessors;
    float mProcess = 0;
};

std::string SummaryOf(Load const& load)
{
    auto const count = static_cast<long long>(load.mProcessors.size());
    return fmt::format("{:.2f} of {}, {} by loamctl", load.mTotal,
                       Counted(count, "processor", "processors"), PercentOf(load.mProcess));
}

void ShowAsJSON(Load const& load, COutput& output)
{
    output.AddJSON({{"type", "load"},
                    {"total", load.mTotal},
                    {"processors", load.mProcessors},
                    {"process", load.mProcess}});
}

void ShowAsLine(Load const& load, COutput& output)
{
    output.Add(SummaryOf(load) + ":");
    for (float const processor : load.mProcessors)
        output.Add(" " + PercentOf(processor));
    output.EndLine();
}

bool CanMoveCursor(COutput const& output)
{
    char const* const kind = std::getenv("TERM");
    return output.IsTerminal() && kind && std::string_view(kind) != "dumb";
}

// Bars that stay in their places: each picture is drawn over the one before.
class CPicture
{
public:
    void Show(Load const& load, COutput& output)
    {
        winsize size{};
        bool const isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
        // One line is for the summary and one for the cursor.
        std::vector<std::string> lines = LinesOfBars(load.mProcessors, isKnown ? size.ws_col : 80,
                                                     (isKnown ? size.ws_row : 24) - 2);
        lines.push_back(output.Painted(COutput::Style::kFaint, SummaryOf(load)));
        if (mLineCount > 0) output.Add(fmt::format("\x1b[{}A", mLineCount));
        for (std::string const& line : lines) {
            output.Add("\x1b[K" + line);
            output.EndLine();
        }
        output.Add("\x1b[J");
        mLineCount = lines.size();
    }

private:
    std::size_t mLineCount = 0;
};

int PsLoad(PsLoadOptions const& options, Session& session)
{
    session.mInterruption.Start();
    CSemaphore stop;
    StAbortOnInterrupt const onInterrupt([&] { stop.Post(); });
    COutput& output = session.mOutput;
    bool const isLive = !output.IsJSON() && CanMoveCursor(output);
    CBasicProcessServicesImp const& services = *CProcessServices::GetProcessServices()->mImp;

    CPicture picture;
    Load load;
    // The first sample is what the second one is measured from.
    services.GetCPUActivity(load.mTotal, load.mProcessors, load.mProcess);
    for (int told = 0; options.mCount == 0 || told < options.mCount; ++told) {
        stop.TimedWait(options.mInterval * 1000LL);
        ThrowIfInterrupted();
        if (!services.GetCPUActivity(load.mTotal, load.mProcessors, load.mProcess))
            throw std::runtime_error("this system doesn't tell how busy its processors are");
        if (output.IsJSON())
            ShowAsJSON(load, output);
        else if (isLive)
            picture.Show(load, output);
        else
            ShowAsLine(load, output);
        output.Flush();
    }
    return 0;
}

}  // namespace

Command AddPsLoad(CArguments program)
{
    CArguments load = program.AddCommand("ps-load", "Tell how busy the processors are");
    auto const options = std::make_shared<PsLoadOptions>();
    load.Add("-n,--count", options->mCount, "End after NUM times").Positive().Shown("NUM");
    load.Add("-i,--interval", options->mInterval,
             "Milliseconds from one time to the next, 1000 by default")
        .InRange(20, 3600000)
        .Shown("MS");
    load.SetNotes(kNotes);
    return {load, [options](Session& session) { return PsLoad(*options, session); }};
}
