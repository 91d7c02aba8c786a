#pragma once

#include "Workload/workload_params.h"

/// Where a blocking workload waits for the waveform. To be called between bursts: costs one read
/// while the waveform is on, and sleeps while it is off, until a broadcast finds it on again. The
/// end of the run makes `active` true, so the caller looks at `terminate` when this returns.
/// Requires: the caller does not hold `params->mutex`. Thread: any.
void wait_until_active(workload_params* params);
