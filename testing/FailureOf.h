// What an action throws, as a value that tests compare.
//
//     EXPECT_EQ(FailureOf([&] { file.Create(); }), FileFailure(kFileExists, kFileCreate, EEXIST));
#pragma once

#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

#include <ostream>
#include <string>

/// The first record of an exception without its text; all 0 where nothing was thrown.
struct Failure
{
    unsigned int mDomain = 0;
    int mCategory = 0;
    int mContext = 0;
    int mOSError = 0;

    bool operator==(Failure const&) const = default;

    friend std::ostream& operator<<(std::ostream& out, Failure const& failure)
    {
        if (failure == Failure()) return out << "no failure";
        return out << "category " << failure.mCategory << " of domain " << std::hex << std::showbase
                   << failure.mDomain << std::dec << ", context " << failure.mContext << ", error "
                   << failure.mOSError;
    }
};

/// A failure of the file domain.
inline Failure FileFailure(int category, int context, int osError)
{
    return {kFileDomain, category, context, osError};
}

/// Runs `action`. Exceptions of other types go on to the caller.
template <class Action>
Failure FailureOf(Action const& action)
{
    try {
        action();
    } catch (HierarchicalException const& e) {
        return {e.levels[0].signature, e.levels[0].category, e.levels[0].context,
                e.levels[0].osError};
    }
    return {};
}

/// The text of what `action` throws; "nothing thrown" where it throws nothing.
template <class Action>
std::string FailureTextOf(Action const& action)
{
    try {
        action();
    } catch (HierarchicalException const& e) {
        return e.levels[0].text;
    }
    return "nothing thrown";
}
