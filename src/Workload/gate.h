#pragma once

#include <cstdint>

#include "Workload/workload_params.h"

/// Where a blocking workload waits for the waveform. To be called between bursts: costs one read
/// while the waveform is on, and sleeps while it is off. The end of the run makes `active` true, so
/// the caller looks at `terminate` when this returns.
/// Requires: the caller does not hold `params->mutex`. Thread: any.
void wait_until_active(workload_params* params);

/// Says when the waveform will be on again, in ns of CLOCK_MONOTONIC. Those who wait from now on
/// sleep until then by themselves, and need no broadcast if `active` is true by then.
/// Thread: the one that switches `params->active`, before it makes it false.
void announce_on(workload_params* params, std::int64_t on_ns);

/// The same for those who wait already as well, at some cost: they wake, and sleep until this
/// instant instead. For the first instant of a run. Thread: as above.
void announce_on_to_waiters(workload_params* params, std::int64_t on_ns);

/// Says that nobody knows when the waveform will be on again: those who wait from now on sleep
/// until it is switched. Thread: as above.
void announce_nothing();

/// The same for those who wait already as well: an instant that was announced does not come.
/// Thread: as above.
void withdraw_from_waiters(workload_params* params);

/// Makes `active` true and lets everybody go who waits, whatever was announced. Thread: any.
void release_waiters(workload_params* params);
