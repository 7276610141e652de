#include "loamctl/Fetch.h"

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "concurrency/CMutex.h"
#include "concurrency/CSemaphore.h"
#include "concurrency/CThread.h"
#include "concurrency/StMutexLocker.h"
#include "foundation/FailureDomains.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "loamctl/StartThread.h"
#include "marl/HierarchicalException.h"
#include "net/CNetConnection.h"

namespace {

constexpr char const* kNotes =
    R"(Each LINE asks one question of a `loamctl serve`; the answers come as they are, in JSON Lines.
Exit codes: 0 all were answered, 1 nothing was found, 2 an error.)";

constexpr unsigned int kPatience = 300;                  // seconds
constexpr unsigned int kLongestLine = 64 * 1024 * 1024;  // bytes

struct FetchOptions
{
    std::string mHost;
    unsigned short mPort = 0;
    std::vector<std::string> mLines;
};

// Asks on a thread of its own, which the main thread can cancel.
class CFetch
{
public:
    CFetch(FetchOptions const& options, COutput& output)
        : mOptions(options)
        , mOutput(output)
    {
    }

    int Run();
    void Stop();

private:
    class CWork;

    void Ask();
    bool TakeAnswer();

    FetchOptions const& mOptions;
    COutput& mOutput;
    CNetConnection mConnection;
    CMutex mMutex;
    CThread* mThread = nullptr;  // guarded by mMutex; null once it has gone
    CSemaphore mGone;
    std::exception_ptr mFailure;
    long long mObjects = 0;
    bool mRefused = false;
};

class CFetch::CWork : public CThread
{
public:
    explicit CWork(CFetch& fetch)
        : CThread(&fetch.mThread, &fetch.mMutex, &fetch.mGone)
        , mFetch(fetch)
    {
    }

    void* Run() override
    {
        // A call that blocks before there is anything to cancel hears of an interruption too.
        StNudged const nudged;
        try {
            mFetch.Ask();
        } catch (std::exception const&) {
            mFetch.mFailure = std::current_exception();
        }
        return nullptr;
    }

private:
    CFetch& mFetch;
};

int CFetch::Run()
{
    StartThread(std::make_unique<CWork>(*this));
    {
        StAbortOnInterrupt const stop([this] { Stop(); });
        mGone.Wait();
    }
    ThrowIfInterrupted();
    if (mFailure) {
        try {
            std::rethrow_exception(mFailure);
        } catch (HierarchicalException const& failure) {
            auto const& level = failure.levels[0];
            std::string const reason = level.category == kNetBrokenPipe ? "the server has gone"
                                       : level.category == kNetResolver ? "no such host"
                                                                        : DescribeFailure(failure);
            throw CUsageError(
                fmt::format("{} port {}: {}", SafeName(mOptions.mHost), mOptions.mPort, reason));
        }
    }
    if (mRefused) return 2;
    return mObjects > 0 ? 0 : 1;
}

void CFetch::Stop()
{
    StMutexLocker const lock(mMutex);
    try {
        mConnection.CancelCurrentOperation(mThread);
    } catch (HierarchicalException const&) {
        // The work hears of the interruption anyway.
    }
}

void CFetch::Ask()
{
    mConnection.ResolveRemoteHost(mOptions.mHost, mOptions.mPort);
    ThrowIfInterrupted();
    mConnection.Connect(kPatience);
    for (std::string const& question : mOptions.mLines) {
        ThrowIfInterrupted();
        std::string const line = question + "\n";
        for (std::size_t done = 0; done < line.size();)
            done += mConnection.SendData(line.data() + done,
                                         static_cast<unsigned int>(line.size() - done), kPatience);
        while (TakeAnswer()) {}
        mOutput.Flush();
    }
}

// One line of an answer; false for the last one.
bool CFetch::TakeAnswer()
{
    ThrowIfInterrupted();
    std::string line;
    mConnection.ReceiveLine(&line, kPatience, kLongestLine);
    auto const object = nlohmann::json::parse(line, nullptr, false);
    if (!object.is_object() || !object.contains("type"))
        throw CUsageError("what answers there is no loamctl");
    mOutput.AddLines(line + "\n");
    // That of a single file has a path, and the answer goes on.
    bool const isRefused = object["type"] == "error" && !object.contains("path");
    mRefused |= isRefused;
    if (isRefused || object["type"] == "end") return false;
    ++mObjects;
    return true;
}

int Fetch(FetchOptions const& options, Session& session)
{
    for (std::string const& line : options.mLines) {
        if (line.empty() || line.find_first_of("\r\n") != std::string::npos)
            throw CUsageError("a question is one line");
    }
    session.mInterruption.Start();
    return CFetch(options, session.mOutput).Run();
}

}  // namespace

Command AddFetch(CArguments program)
{
    CArguments fetch = program.AddCommand("fetch", "Ask what another loamctl serves");
    auto const options = std::make_shared<FetchOptions>();
    fetch.Add("HOST", options->mHost, "Where it runs").Required();
    fetch.Add("PORT", options->mPort, "And on which port").Required().InRange(1, 65535);
    fetch.Add("LINE", options->mLines, "Questions, such as \"search cafe\"").Required();
    fetch.SetNotes(kNotes);
    return {fetch, [options](Session& session) { return Fetch(*options, session); }};
}
