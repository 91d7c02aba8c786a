#pragma once

#include <csignal>

/// Starts the thread that helps a run to its end in the moments in which the kernel lets no
/// fixed-priority thread run: an ordinary thread, which sleeps until one of `signals` is there.
/// Every thread must block these. It does not take the signal: the shutdown path is still to be
/// run by whoever does. Returns whether it could be started. Never joined: it uses nothing that
/// goes before the process.
bool start_throttle_guard(const sigset_t& signals);

/// Sets the end of the run, and makes every thread of the process an ordinary one.
void end_run_among_ordinary_threads();
