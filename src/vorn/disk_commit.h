#pragma once

#include <pthread.h>

/// Commits the file systems' buffers to disk once for each line of samples, beside the monitor
/// thread. Under a load of fixed priority a commit may take a second: the kernel's own threads,
/// which do it, have to wait for their reserve. The samples must not wait with it.
/// Thread: line_written() and destruction by the one that constructs it.
class DiskCommit {
 public:
  DiskCommit();
  DiskCommit(const DiskCommit&) = delete;
  DiskCommit& operator=(const DiskCommit&) = delete;
  /// Returns when every line is on disk.
  ~DiskCommit();

  /// One more line is to be committed.
  void line_written();

 private:
  static void* commit_lines(void* self);
  bool wait_for_a_line();

  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t changed_ = PTHREAD_COND_INITIALIZER;
  unsigned long lines_ = 0;  ///< written and not committed
  bool ending_ = false;
  pthread_t thread_{};
  bool started_;  ///< initialised by starting the thread, so it stands behind all that this uses
};
