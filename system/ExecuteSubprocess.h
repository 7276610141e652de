// The clock by which the time of helper programs is measured
// (`CBasicProcessServicesImp::ExecuteSubprocess`).
#pragma once

#include "foundation/LoamExport.h"

/// The time of the system's clock in microseconds since 1970-01-01 00:00:00 UTC. It follows when
/// the clock is set: not for measuring.
LOAM_EXPORT long long safeWaitGetCurrentMicroTime();
