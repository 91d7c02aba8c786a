#pragma once

#include <pthread.h>

#include <ctime>

/// A thread beside the workloads that the main thread may start, and that the shutdown path may
/// wait for at any moment: before it was started, while it runs, or after it has ended.
///
/// Never destroyed. Thread: start() once, by the main thread; join() any, and as often as wanted.
class ServiceThread {
 public:
  /// Starts `body` at the fixed `priority`. Returns 0, or -1 if the thread cannot be created or
  /// may not have that priority; `body` is then not run. Failed assertions name `spawner`.
  int start(void* (*body)(void*), int priority, const char* spawner = __builtin_FUNCTION());

  /// The errno value that says why the last start() failed, or 0. Thread: the one that starts.
  int start_error() const { return start_error_; }

  /// Returns when the thread has ended; at once if it was never started. Not by itself.
  void join();

  /// As join(), but gives up after `seconds`.
  void join_within(int seconds);

 private:
  void join_until(const timespec* deadline);

  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
  bool started_ = false;
  int start_error_ = 0;
  pthread_t handle_{};
};
