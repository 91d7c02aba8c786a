#pragma once

#include <csignal>

/// Starts the thread that ends a run in the moments in which the kernel lets no fixed-priority
/// thread run: it stays an ordinary thread, and asleep for the whole run otherwise. It watches for
/// `signals`, which every thread must block, without taking them from whoever waits for them.
/// Returns whether it could be started. Never joined: it uses nothing that goes before the process.
bool start_throttle_guard(const sigset_t& signals);

/// Ends the run, and makes every thread of the process an ordinary one.
void end_run_among_ordinary_threads();
