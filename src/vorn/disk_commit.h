#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <atomic>

/// Commits the file systems' buffers to disk behind each line of samples, beside the monitor
/// thread. Under a load of fixed priority a commit may take a second: the kernel's own threads,
/// which do it, have to wait for their reserve. The samples must not wait with it, so lines that
/// are written during a commit share the next one.
/// Thread: line_written() and destruction by the one that constructs it.
class DiskCommit {
 public:
  DiskCommit();
  DiskCommit(const DiskCommit&) = delete;
  DiskCommit& operator=(const DiskCommit&) = delete;
  /// Returns when every line is on disk.
  ~DiskCommit();

  /// One more line is to be committed. Never waits; without a thread beside, commits itself.
  void line_written();

 private:
  static void* commit_lines(void* self);

  // No lock: the thread that commits is an ordinary one, and could be kept from giving it back.
  sem_t changed_{};
  std::atomic<unsigned long> written_{0};  ///< lines; the semaphore orders it
  std::atomic<bool> ending_{false};
  pthread_t thread_{};
  bool started_ = false;
};
