#pragma once

#include "engine/work.h"

namespace loads {

/// What one burst did, and whether its check found what arithmetic says.
struct Burst {
  Work work;
  bool correct = false;
};

/// The computation of one load in one thread, in bursts of equal work whose result is known
/// beforehand. Made, used and deleted by that thread: its memory is touched where it is used.
class Kernel {
 public:
  Kernel() = default;
  Kernel(const Kernel&) = delete;
  Kernel& operator=(const Kernel&) = delete;
  virtual ~Kernel() = default;

  /// Makes a burst `rounds` long, or as near to it as the kernel can. Requires: 1 or more.
  /// May compute for milliseconds: the result that the bursts are held to.
  virtual void set_rounds(unsigned rounds) = 0;
  virtual unsigned rounds() const = 0;

  /// Does one burst and checks it. Allocates nothing, makes no system call.
  virtual Burst burst() noexcept = 0;

  /// A fault for tests: flips one bit of what the next burst computes with.
  virtual void flip_bit() noexcept = 0;
};

}  // namespace loads
