#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace lab {

/// How busy everybody but the engine keeps the processors, as a part of all of their time. Looks
/// once a second at the most: the kernel counts in hundredths of a second.
class OthersLoad {
 public:
  /// The load of late, 0 to 1, beside the process `engine`; NaN before the first second is over.
  /// `now_s` ascends.
  double look(double now_s, pid_t engine);

 private:
  struct Busy {
    double at_s;
    std::int64_t all;     // ticks
    std::int64_t engine;  // ticks
  };
  std::optional<Busy> last_;
  double load_ = 0;
  bool known_ = false;
};

/// Ticks in which processors worked, of the first line of /proc/stat. Pure.
std::int64_t busy_ticks(std::string_view stat);

/// Ticks that a process used, of its /proc/PID/stat. Pure.
std::int64_t process_ticks(std::string_view stat);

}  // namespace lab
