// What power management needs of the system.
//
// Operations answer one question in plain types, never throw, decide nothing and may be called from
// any thread.
#pragma once

#include <vector>

/// What a power source says of itself.
enum PowerSourceState
{
    kPowerSourceOnAC,     ///< "AC Power": the machine is fed from outside
    kPowerSourceNotOnAC,  ///< anything else, such as a battery that is being used up
    kPowerSourceUnknown,  ///< the system lists the source, but has no description of it
};

class CBasicPowerPlatform
{
public:
    CBasicPowerPlatform() = default;
    CBasicPowerPlatform(CBasicPowerPlatform const&) = delete;
    CBasicPowerPlatform& operator=(CBasicPowerPlatform const&) = delete;
    virtual ~CBasicPowerPlatform() = default;

    /// The machine's power sources, in no particular order. Empty if there are none or the system
    /// doesn't say.
    virtual std::vector<PowerSourceState> GetPowerSources() const = 0;
};

/// The platform in use. Any thread may call.
CBasicPowerPlatform& PowerPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicPowerPlatform* NewPowerPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread asks for the power.
class StPowerPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StPowerPlatform(CBasicPowerPlatform& platform);
    StPowerPlatform(StPowerPlatform const&) = delete;
    StPowerPlatform& operator=(StPowerPlatform const&) = delete;
    ~StPowerPlatform();

private:
    CBasicPowerPlatform* mFormer;  // not owned
};
