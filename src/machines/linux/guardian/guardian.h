#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "machines/linux/giving_back/state_file.h"

namespace linux_machine {

/// The run's side of a process of our own that stands behind it: it gives back what the state file
/// says when the run has ended, shows no sign of life for 2 s (stopped, frozen, in a debugger), or
/// when what it was told to watch is in danger. It holds the file's lock, stands in a session of
/// its own and is root's: whoever may not end root's processes cannot stop it. See
/// guardian_process.h.
///
/// Signs of life are sent, and its own are heard, by a thread that lives as long as this object.
/// Destroyed, or at the end of this process, the run has ended for the guardian.
/// Thread: any.
class Guardian {
 public:
  /// Returns when the guardian has said that it is ready. Without that word nothing may be changed:
  /// a failure. `part` names the part of the machine in what the user is told. Where the guardian
  /// cannot be set apart from its caller, it serves a run of root's alone.
  static sysfs::Result<std::unique_ptr<Guardian>> start(const Surroundings& surroundings,
                                                        const std::string& part,
                                                        const StateFile& state);

  ~Guardian();
  Guardian(const Guardian&) = delete;
  Guardian& operator=(const Guardian&) = delete;

  /// What the guardian has come to, if it does not stand behind the run any more.
  struct End {
    bool gave_back;      ///< everything; it has let go of the part as well
    std::string reason;  ///< in words
  };
  std::optional<End> end();

  // What it watches from now on, as FanWatch. False: it cannot be told.
  bool watch_temperature(std::string_view attribute, double critical_c);
  bool watch_fan(std::string_view attribute, bool slow, std::int64_t turns_from_ns);
  void forget_fan(std::string_view attribute);

 private:
  explicit Guardian(int socket);

  void exchange_signs_of_life();
  void hear();  ///< wants the mutex held

  const int socket_;
  std::mutex mutex_;  ///< guards all below
  std::optional<End> end_;
  int silent_rounds_ = 0;
  bool pulse_begun_ = false;
  bool stops_ = false;
  std::condition_variable changed_;
  std::thread pulse_;
};

}  // namespace linux_machine
