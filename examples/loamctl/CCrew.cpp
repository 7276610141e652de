#include "loamctl/CCrew.h"

#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "concurrency/CThread.h"
#include "concurrency/StMutexLocker.h"
#include "concurrency/StMutexUnlocker.h"
#include "foundation/FailureDomains.h"
#include "loamctl/CCrewJob.h"
#include "loamctl/COutput.h"
#include "loamctl/CProgress.h"
#include "loamctl/Interruption.h"
#include "loamctl/StartThread.h"
#include "marl/HierarchicalException.h"

namespace {

// How far the walk runs ahead of the results, for each thread.
constexpr std::size_t kJobsAhead = 8;

bool IsAbort(HierarchicalException const& failure)
{
    return failure.levels[0].signature == kThreadDomain &&
           failure.levels[0].category == kThreadAborted;
}

void Write(CCrewJob::Piece const& piece, COutput& output)
{
    switch (piece.mKind) {
    case CCrewJob::Piece::Kind::kLines:
        output.AddLines(piece.mText);
        break;
    case CCrewJob::Piece::Kind::kErrorLines:
        output.AddError(piece.mText);
        break;
    case CCrewJob::Piece::Kind::kGroup:
        output.BeginGroup();
        break;
    }
}

}  // namespace

// Works on one job after another until the crew is aborted.
class CCrew::CCrewThread final : public CThread
{
public:
    CCrewThread(CCrew& crew, std::unique_ptr<CBasicFileWorker> worker)
        : CThread(nullptr, nullptr, &crew.mGone)
        , mCrew(crew)
        , mWorker(std::move(worker))
    {
    }

    void* Run() override
    {
        StNudged const nudged;
        while (CCrewJob* const job = mCrew.Take()) {
            std::exception_ptr failure;
            try {
                WorkOn(*job);
            } catch (std::exception const&) {
                failure = std::current_exception();
            }
            job->End(std::move(failure));
        }
        return nullptr;
    }

private:
    // What was told before a failure is passed on as well.
    void WorkOn(CCrewJob& job)
    {
        COutput output(mCrew.mSession.mOutput, job);
        try {
            for (TreeEntry const& entry : job.mEntries)
                job.mOutcomes.push_back(mWorker->Work(entry, output));
        } catch (std::exception const&) {
            if (!job.mOutcomes.empty()) output.Flush();
            throw;
        }
        output.Flush();
    }

    CCrew& mCrew;
    std::unique_ptr<CBasicFileWorker> mWorker;
};

CCrew::CCrew(int threads, MakeWorker makeWorker, Session& session)
    : mMostThreads(threads)
    , mMakeWorker(std::move(makeWorker))
    , mSession(session)
{
    std::size_t const jobs = static_cast<std::size_t>(threads) * kJobsAhead;
    for (std::size_t i = 0; i < jobs; ++i)
        mJobs.push_back(std::make_unique<CCrewJob>(mMutex));
    mSession.mInterruption.Start();
}

CCrew::~CCrew()
{
    StUnwanted const unwanted;
    Abort();
    for (; mThreads > 0; --mThreads)
        mGone.Wait();
}

void CCrew::Run(CBasicWalk& walk, Finish const& finish)
{
    StAbortOnInterrupt const abort([this] { Abort(); });
    try {
        RunAll(walk, finish);
    } catch (HierarchicalException const& failure) {
        if (IsAbort(failure)) ThrowIfInterrupted();
        throw;
    }
}

void CCrew::RunAll(CBasicWalk& walk, Finish const& finish)
{
    for (bool more = true;; ++mFinished) {
        while (more && mGiven - mFinished < mJobs.size())
            more = Give(walk);
        if (mGiven == mFinished) return;

        CCrewJob& job = *mJobs[mFinished % mJobs.size()];
        WriteOut(job);
        FinishEntries(job, finish);
        if (job.mFailure) std::rethrow_exception(job.mFailure);
        if (mSession.mOutput.IsTerminal()) mSession.mOutput.Flush();
        ShowProgress(job);
    }
}

// As many as were worked on.
void CCrew::FinishEntries(CCrewJob const& job, Finish const& finish)
{
    for (std::size_t i = 0; i < job.mOutcomes.size(); ++i) {
        TreeEntry const& entry = job.mEntries[i];
        Outcome const& outcome = job.mOutcomes[i];
        if (entry.mKind == TreeEntry::Kind::kFile) ++mFiles;
        if (outcome.mReading.mSize > 0) mBytes += outcome.mReading.mSize;
        finish(entry, outcome);
    }
}

// Hands out the next batch; false if there is none.
bool CCrew::Give(CBasicWalk& walk)
{
    ThrowIfInterrupted();
    CCrewJob& job = *mJobs[mGiven % mJobs.size()];
    if (!walk.NextBatch(job.mEntries)) return false;
    job.Begin(walk.GetShare());
    StMutexLocker const lock(mMutex);
    if (mWork.GetState() >= 0 && mThreads < mMostThreads) StartThread();
    ++mGiven;
    Wake(mWork);
    return true;
}

void CCrew::StartThread()
{
    try {
        ::StartThread(std::make_unique<CCrewThread>(*this, mMakeWorker()));
    } catch (HierarchicalException const&) {
        // The system has no more of them: fewer will do.
        if (mThreads == 0) throw;
        mMostThreads = mThreads;
        return;
    }
    ++mThreads;
}

// The next job for a thread; null once there is nothing more to do, which is told by an abort.
CCrewJob* CCrew::Take()
{
    StMutexLocker const lock(mMutex);
    try {
        while (mTaken == mGiven && !mAborted)
            mWork.Wait(mMutex);
    } catch (HierarchicalException const& failure) {
        if (!IsAbort(failure)) throw;
    }
    return mAborted ? nullptr : mJobs[mTaken++ % mJobs.size()].get();
}

// Adds to the output what the job tells, while it is being told.
void CCrew::WriteOut(CCrewJob& job)
{
    std::vector<CCrewJob::Piece> pieces;
    for (bool done = false; !done;) {
        {
            StMutexLocker const lock(mMutex);
            WaitForNews(job);
            done = job.TakeNews(pieces);
        }
        for (CCrewJob::Piece const& piece : pieces)
            Write(piece, mSession.mOutput);
    }
}

// With the lock held.
void CCrew::WaitForNews(CCrewJob& job)
{
    while (!job.HasNews()) {
        if (!mSession.mProgress.IsTerminal()) {
            job.News().Wait(mMutex);
        } else if (!job.News().TimedWait(mMutex, CProgress::kStep * 1000)) {
            StMutexUnlocker const open(mMutex);
            ShowProgress(job);
        }
    }
}

void CCrew::ShowProgress(CCrewJob const& job)
{
    mSession.mProgress.Show(mFiles, mBytes, job.GetShare());
}

// In any thread.
void CCrew::Abort()
{
    StMutexLocker const lock(mMutex);
    mAborted = true;
    mWork.Abort();
    for (std::unique_ptr<CCrewJob> const& job : mJobs)
        job->Abort();
}
