// Power sources that say what a test told them to.
#pragma once

#include "system/platform/CBasicPowerPlatform.h"

#include <atomic>
#include <vector>

/// The answer is a plain field, set before the code under test runs.
class ScriptedPowerPlatform final : public CBasicPowerPlatform
{
public:
    std::vector<PowerSourceState> GetPowerSources() const override
    {
        ++mCalls;
        return mSources;
    }

    std::vector<PowerSourceState> mSources;
    /// How often they were asked for.
    mutable std::atomic<int> mCalls{0};
};
