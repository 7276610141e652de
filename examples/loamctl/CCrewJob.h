// Entries of a walk on their way through a crew, and what has been told of them so far.
#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "concurrency/CMutex.h"
#include "concurrency/CSemaphore.h"
#include "loamctl/CBasicSink.h"
#include "loamctl/CBasicWalk.h"
#include "loamctl/CCrew.h"

/// Wakes one who waits, by a caller who holds the semaphore's lock. Nothing is kept for who comes
/// later: everybody looks before waiting, and again after, since a wake may come for no reason.
void Wake(CSemaphore& semaphore);

/// The sink for the thread that works on the entries. Every member waits and wakes with the lock of
/// the crew, and throws as `CSemaphore` does once the crew is aborted.
class CCrewJob final : public CBasicSink
{
public:
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

    /// What a job may have told that isn't written yet, in bytes; above it waits.
    static constexpr std::size_t kMostUnwritten = 1 << 18;

    /// `mutex` is that of the crew.
    explicit CCrewJob(CMutex& mutex);

    void Write(std::string_view lines) override;
    void WriteError(std::string_view lines) override;
    void BeginGroup() override;

    /// For the entries that are there already; `share` of the walk is done with them.
    void Begin(double share);
    /// `failure` may be null.
    void End(std::exception_ptr failure);

    /// Takes what has been told since the last time, which may be nothing at the end of the work.
    /// True if that was all. With the lock held, and `HasNews`.
    bool TakeNews(std::vector<Piece>& pieces);

    bool HasNews() const { return !mPieces.empty() || mDone; }

    /// Throws out who waits.
    void Abort();

    CSemaphore& News() { return mNews; }

    std::vector<TreeEntry> mEntries;
    // These once the work is done.
    std::vector<Outcome> mOutcomes;  // fewer than there are entries after a failure
    std::exception_ptr mFailure;

    double GetShare() const { return mShare; }

private:
    void Put(Piece::Kind kind, std::string_view text);

    CMutex& mMutex;
    double mShare = 0;
    CSemaphore mNews{mMutex};    // waited at by the one who writes it out
    CSemaphore mRoom{mMutex};    // waited at by the thread that works on it
    std::vector<Piece> mPieces;  // guarded by mMutex
    std::size_t mUnwritten = 0;  // guarded by mMutex
    bool mDone = false;          // guarded by mMutex
};
