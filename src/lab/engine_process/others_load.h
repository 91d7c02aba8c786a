#pragma once

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <string_view>

namespace lab {

/// How busy everybody but the engine keeps the processors, as a part of all of their time. Looks
/// once a second at the most: the kernel counts in hundredths of a second.
class OthersLoad {
 public:
  /// What processors have worked since the machine started, in ticks.
  struct Ticks {
    std::int64_t all = 0;
    std::int64_t engines = 0;  ///< those that this process started, also if they have ended
  };

  /// Looks, if it is time to, at what is beside the process `engine`. `now_s` ascends.
  void look(double now_s, pid_t engine);

  /// Takes in what was seen at an instant.
  void add(double now_s, const Ticks& ticks);

  /// The load, 0 to 1, in the second around an instant of the last minute; NaN if it is not known.
  double at(double instant_s) const;

 private:
  struct Busy {
    double at_s;
    Ticks ticks;
  };
  struct Second {
    double begin_s;
    double end_s;
    double load;
  };
  std::optional<Busy> last_;
  std::deque<Second> seconds_;
};

/// What this machine's processors have worked for so far.
OthersLoad::Ticks machine_ticks(pid_t engine);

/// Ticks in which processors worked, of the first line of /proc/stat. Pure.
std::int64_t busy_ticks(std::string_view stat);

/// Ticks that a process used, of its /proc/PID/stat; also those of one that has ended, until
/// somebody has waited for it. Pure.
std::int64_t process_ticks(std::string_view stat);

/// Ticks of the processes that it started and has waited for. Pure.
std::int64_t ended_ticks(std::string_view stat);

}  // namespace lab
