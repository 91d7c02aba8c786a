#pragma once

#include <string>

#include "machines/linux/giving_back/state_file.h"

namespace linux_machine {

/// A process of our own that outlives this one if it is killed: it then puts back what the state
/// file says, says so on standard error, and ends. It holds the file's lock meanwhile, stands in a
/// session of its own and heeds no signal that can be blocked, so that what ends a run, or a
/// terminal, does not end it too.
///
/// Destroyed, or at an ordinary end of this process (exit, return from main), it is told to leave
/// everything as it is. Thread: any, but one at a time for one object.
class Guardian {
 public:
  /// `surroundings` and `part` as in Ledger.
  static sysfs::Result<Guardian> start(const Surroundings& surroundings, const std::string& part,
                                       const StateFile& state);

  Guardian(Guardian&& other) noexcept;
  Guardian& operator=(Guardian&&) = delete;
  Guardian(const Guardian&) = delete;
  Guardian& operator=(const Guardian&) = delete;
  ~Guardian();

 private:
  explicit Guardian(int pipe) : pipe_(pipe) {}

  int pipe_;
};

}  // namespace linux_machine
