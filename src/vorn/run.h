#pragma once

#include <functional>

/// What a program starts beside the threads of every run, once signals are listened for and before
/// the privileged settings are applied. Returns 0, or -1 after printing what could not be started.
using StartBeside = std::function<int()>;

/// The run from its first signal handler to the end of its last thread: signals, what
/// the program starts beside, privileged settings, service threads, workload threads. Returns 0, or
/// -1 after printing what could not be started; what runs already is then not ended. Requires: the
/// settings are complete, and no other thread exists. Thread: the main one. Throws as signals() and
/// spawn_workloads() do.
int run(const StartBeside& start_beside = {});
