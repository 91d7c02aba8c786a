#pragma once

#include <sys/types.h>

#include <vector>

/// Says how much processor time each thread of a process has used: the kernel's own account, exact
/// whenever the thread is not running.
class Witness {
 public:
  /// Of the threads of process `pid` that run at the fixed priority `priority` now.
  Witness(pid_t pid, int priority);
  Witness(const Witness&) = delete;
  Witness& operator=(const Witness&) = delete;
  ~Witness();

  /// Seconds used so far by each, in a fixed order. Thread: any.
  std::vector<double> used() const;

 private:
  std::vector<int> accounts_;  // open files
};
