#pragma once

#include "engine/forcing.h"
#include "vorn/service_thread.h"

class Record;

namespace engine {

extern ServiceThread forcing_thread;

/// Starts the thread that carries out what say_forcing() takes, one after the other, as the set-up
/// of the run did: with the same rights, and not any more once the run has ended. A fan may take
/// its time, and whoever says something must not wait for it. What was done goes into `record`,
/// if there is one, which must outlive the thread. Its priority is that of the fan thread. Returns
/// 0, or -1. Thread: the main one, once.
int spawn_forcing(Record* record);

/// Asks for something to be forced. Waits for nothing but another one that asks. Requires:
/// spawn_forcing() returned 0. Thread: any.
void say_forcing(const Forcing& forcing);

/// Ends the thread when it has done what it is at, and waits for it for a second at most. Nothing
/// if it was not started. Thread: the main one.
void end_forcing();

}  // namespace engine
