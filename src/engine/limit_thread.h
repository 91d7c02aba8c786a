#pragma once

#include <vector>

#include "engine/limit.h"
#include "vorn/service_thread.h"

namespace engine {

extern ServiceThread limit_thread;

/// Starts the thread that looks at the limited keys ten times a second, whatever the samples do,
/// and ends the run when a limit is reached: with a line on standard error, and in the verdict.
/// Returns 0, or -1. Requires: `limits` is not empty. Thread: the main one, once.
int spawn_limits(std::vector<Limit> limits);

/// Whether that thread has ended the run. Requires: it has been joined.
bool limit_ended_run();

}  // namespace engine
