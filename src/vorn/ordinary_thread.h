#pragma once

#include <pthread.h>

/// Starts a joinable thread of the ordinary policy, whatever the policy of the calling thread is.
/// Returns whether it could be started.
bool start_ordinary_thread(pthread_t& thread, void* (*body)(void*), void* argument);
