#include "loamctl/CCrew.h"

#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "concurrency/CThread.h"
#include "concurrency/StMutexLocker.h"
#include "concurrency/StMutexUnlocker.h"
#include "foundation/FailureDomains.h"
#include "loamctl/CBasicSink.h"
#include "loamctl/COutput.h"
#include "loamctl/CProgress.h"
#include "loamctl/Interruption.h"
#include "marl/HierarchicalException.h"

namespace {

// How far the walk runs ahead of the results, for each thread.
constexpr std::size_t kJobsAhead = 8;
// How much a job may have told that isn't written yet, in bytes.
constexpr std::size_t kMostUnwritten = 1 << 18;

// Wakes one who waits. Nothing is kept for who comes later: everybody looks before waiting, with
// the lock held, and again after, since a wake may come for no reason.
void Wake(CSemaphore& semaphore)
{
    if (semaphore.GetState() < 0) semaphore.Post();
}

bool IsAbort(HierarchicalException const& failure)
{
    return failure.levels[0].signature == kThreadDomain &&
           failure.levels[0].category == kThreadAborted;
}

}  // namespace

// An entry of the walk, and what its thread has told so far.
class CCrew::CJob final : public CBasicSink
{
private:
    CMutex& mMutex;  // of the crew; first, since others are made with it

public:
    explicit CJob(CMutex& mutex)
        : mMutex(mutex)
    {
    }

    struct Piece
    {
        enum class Kind
        {
            kLines,
            kErrorLines,
            kGroup,
        };

        Kind mKind;
        std::string mText;
    };

    void Write(std::string_view lines) override { Put(Piece::Kind::kLines, lines); }

    void WriteError(std::string_view lines) override { Put(Piece::Kind::kErrorLines, lines); }

    void BeginGroup() override { Put(Piece::Kind::kGroup, {}); }

    // mEntry is there already.
    void Begin(double share)
    {
        mShare = share;
        mOutcome = {};
        mDone = false;
    }

    void End(Outcome outcome, std::exception_ptr failure)
    {
        StMutexLocker const lock(mMutex);
        mOutcome = std::move(outcome);
        mFailure = std::move(failure);
        mDone = true;
        Wake(mNews);
    }

private:
    void Put(Piece::Kind kind, std::string_view text)
    {
        StMutexLocker const lock(mMutex);
        while (mUnwritten >= kMostUnwritten)
            mRoom.Wait(mMutex);
        mPieces.push_back({kind, std::string(text)});
        mUnwritten += text.size();
        Wake(mNews);
    }

public:
    TreeEntry mEntry;
    double mShare = 0;         // of the walk, up to this entry
    CSemaphore mNews{mMutex};  // waited at by the one who writes it out
    CSemaphore mRoom{mMutex};  // waited at by the thread that works on it
    // All below guarded by mMutex.
    std::vector<Piece> mPieces;
    std::size_t mUnwritten = 0;
    bool mDone = false;
    Outcome mOutcome;
    std::exception_ptr mFailure;
};

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
        while (CJob* const job = mCrew.Take()) {
            Outcome outcome;
            std::exception_ptr failure;
            try {
                COutput output(mCrew.mSession.mOutput, *job);
                outcome = mWorker->Work(job->mEntry, output);
                output.Flush();
            } catch (std::exception const&) {
                failure = std::current_exception();
            }
            job->End(std::move(outcome), std::move(failure));
        }
        return nullptr;
    }

private:
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
        mJobs.push_back(std::make_unique<CJob>(mMutex));
    mSession.mInterruption.Start();
}

CCrew::~CCrew()
{
    StUnwanted const unwanted;
    Abort();
    for (; mThreads > 0; --mThreads)
        mGone.Wait();
}

void CCrew::Run(CTreeWalk& walk, Finish const& finish)
{
    StAbortOnInterrupt const abort([this] { Abort(); });
    try {
        RunAll(walk, finish);
    } catch (HierarchicalException const& failure) {
        if (IsAbort(failure)) ThrowIfInterrupted();
        throw;
    }
}

void CCrew::RunAll(CTreeWalk& walk, Finish const& finish)
{
    for (bool more = true;; ++mFinished) {
        while (more && mGiven - mFinished < mJobs.size())
            more = Give(walk);
        if (mGiven == mFinished) return;

        CJob& job = *mJobs[mFinished % mJobs.size()];
        WriteOut(job);
        if (job.mFailure) std::rethrow_exception(job.mFailure);
        if (job.mEntry.mKind == TreeEntry::Kind::kFile) ++mFiles;
        if (job.mOutcome.mReading.mSize > 0) mBytes += job.mOutcome.mReading.mSize;
        finish(job.mEntry, job.mOutcome);
        if (mSession.mOutput.IsTerminal()) mSession.mOutput.Flush();
        ShowProgress(job);
    }
}

// Hands out the next entry; false if there is none.
bool CCrew::Give(CTreeWalk& walk)
{
    ThrowIfInterrupted();
    CJob& job = *mJobs[mGiven % mJobs.size()];
    if (!walk.Next(job.mEntry)) return false;
    job.Begin(walk.GetShare());
    StMutexLocker const lock(mMutex);
    if (mWork.GetState() >= 0 && mThreads < mMostThreads) StartThread();
    ++mGiven;
    Wake(mWork);
    return true;
}

void CCrew::StartThread()
{
    auto thread = std::make_unique<CCrewThread>(*this, mMakeWorker());
    try {
        thread->mImp->Start();
    } catch (HierarchicalException const&) {
        // The system has no more of them: fewer will do.
        if (mThreads == 0) throw;
        mMostThreads = mThreads;
        return;
    }
    thread.release();  // it owns itself now, and may have gone
    ++mThreads;
}

// The next job for a thread; null once there is nothing more to do, which is told by an abort.
CCrew::CJob* CCrew::Take()
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
void CCrew::WriteOut(CJob& job)
{
    COutput& output = mSession.mOutput;
    std::vector<CJob::Piece> pieces;
    for (bool done = false; !done;) {
        {
            StMutexLocker const lock(mMutex);
            WaitForNews(job);
            pieces.swap(job.mPieces);
            job.mUnwritten = 0;
            done = job.mDone;
            Wake(job.mRoom);
        }
        for (CJob::Piece const& piece : pieces) {
            switch (piece.mKind) {
            case CJob::Piece::Kind::kLines:
                output.AddLines(piece.mText);
                break;
            case CJob::Piece::Kind::kErrorLines:
                output.AddError(piece.mText);
                break;
            case CJob::Piece::Kind::kGroup:
                output.BeginGroup();
                break;
            }
        }
        pieces.clear();
    }
}

// With the lock held.
void CCrew::WaitForNews(CJob& job)
{
    while (job.mPieces.empty() && !job.mDone) {
        if (!mSession.mProgress.IsTerminal()) {
            job.mNews.Wait(mMutex);
        } else if (!job.mNews.TimedWait(mMutex, CProgress::kStep * 1000)) {
            StMutexUnlocker const open(mMutex);
            ShowProgress(job);
        }
    }
}

void CCrew::ShowProgress(CJob const& job)
{
    mSession.mProgress.Show(mFiles, mBytes, job.mShare);
}

// In any thread.
void CCrew::Abort()
{
    StMutexLocker const lock(mMutex);
    mAborted = true;
    mWork.Abort();
    for (std::unique_ptr<CJob> const& job : mJobs) {
        job->mNews.Abort();
        job->mRoom.Abort();
    }
}
