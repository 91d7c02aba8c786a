#pragma once

#include "vorn/service_thread.h"

namespace engine {

struct Forced;
class SteeredSource;

extern ServiceThread input_thread;

/// Its priority: above every load, which may hold all processors for good, and below the threads
/// that are on time. It is asleep but for the moments in which something is said.
int input_thread_priority();

/// Starts the thread that ends the run in order when standard input ends or fails. What it reads it
/// says to `steered`, the waveform of a carrier of `carrier_hz`; if that is null nobody wants it,
/// and nothing is read from a terminal. Lines about what is `forced` go to the forcing thread,
/// which has been started if there is anything. A line that is not understood is complained about.
/// Returns 0, or -1. `steered` must outlive the thread. Thread: the main one, once.
int spawn_input(SteeredSource* steered, double carrier_hz, const Forced& forced);

/// Ends the thread, and waits for it for a second at most: whoever reads its complaints may have
/// stopped reading. Nothing if it was not started. Thread: the main one.
void end_input();

/// Whether the end of standard input has ended the run. Thread: any.
bool input_ended_run();

}  // namespace engine
