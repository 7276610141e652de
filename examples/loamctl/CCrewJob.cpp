#include "loamctl/CCrewJob.h"

#include <utility>

#include "concurrency/StMutexLocker.h"

void Wake(CSemaphore& semaphore)
{
    if (semaphore.GetState() < 0) semaphore.Post();
}

CCrewJob::CCrewJob(CMutex& mutex)
    : mMutex(mutex)
{
}

void CCrewJob::Write(std::string_view lines)
{
    Put(Piece::Kind::kLines, lines);
}

void CCrewJob::WriteError(std::string_view lines)
{
    Put(Piece::Kind::kErrorLines, lines);
}

void CCrewJob::BeginGroup()
{
    Put(Piece::Kind::kGroup, {});
}

void CCrewJob::Begin(double share)
{
    mShare = share;
    mOutcomes.clear();
    mDone = false;
}

void CCrewJob::End(std::exception_ptr failure)
{
    StMutexLocker const lock(mMutex);
    mFailure = std::move(failure);
    mDone = true;
    Wake(mNews);
}

bool CCrewJob::TakeNews(std::vector<Piece>& pieces)
{
    pieces.clear();
    pieces.swap(mPieces);
    mUnwritten = 0;
    Wake(mRoom);
    return mDone;
}

void CCrewJob::Abort()
{
    mNews.Abort();
    mRoom.Abort();
}

void CCrewJob::Put(Piece::Kind kind, std::string_view text)
{
    StMutexLocker const lock(mMutex);
    while (mUnwritten >= kMostUnwritten)
        mRoom.Wait(mMutex);
    mPieces.push_back({kind, std::string(text)});
    mUnwritten += text.size();
    Wake(mNews);
}
