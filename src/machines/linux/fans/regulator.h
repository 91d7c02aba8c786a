#pragma once

#include <cstdint>
#include <optional>

#include "machines/linux/fans/curve.h"
#include "machines/linux/surroundings/surroundings.h"

/// How a fan is kept at its target by pwm: the curve says where to begin, a slow correction does
/// the rest. Values in, values out.
namespace linux_machine {

/// Chips renew the speed each 1.5 s and a fan follows within 1 to 3 s; some controllers stop
/// answering if they are written to more often.
constexpr std::int64_t kCorrectionNs = 3 * kNsPerS;

/// How long a fan at rest gets its start pwm before the one that it is to run at.
constexpr std::int64_t kKickNs = kNsPerS;

/// What a fan is to be given for a target.
struct Command {
  int pwm = 0;              ///< to stay at
  std::optional<int> kick;  ///< to begin with, for kKickNs
};

enum class Motion { turning, at_rest };

/// A target below the lowest steady speed is that speed, but for 0 where the fan proved that it
/// stops and starts again.
Command command_for(double target_rpm, const Curve& curve, Motion motion);

/// The next pwm for a fan that has had `pwm` for `since_ns`; none if it is to stay.
std::optional<int> corrected_pwm(double target_rpm, double measured_rpm, int pwm,
                                 const Curve& curve, std::int64_t since_ns);

/// The corrections of one fan on its way to one target, which end where they do no good: a chip
/// that knows three or four speeds would else be driven to and fro for ever.
class Regulator {
 public:
  /// For another target, or after a command that is none of the regulator's.
  void begin_anew() { *this = Regulator(); }

  /// As corrected_pwm(). None any more once a correction did not change the speed, or two led past
  /// the target and not nearer to it (the second is taken back if it led farther away): until the
  /// fan is near its target or changes its speed by itself.
  std::optional<int> next_pwm(double target_rpm, double measured_rpm, int pwm, const Curve& curve,
                              std::int64_t since_ns);

 private:
  struct Correction {
    double rpm_before;
    int pwm_before;
    int pwm;
  };

  bool rests(double target_rpm, double measured_rpm);

  std::optional<Correction> last_;
  int overshoots_ = 0;
  bool gave_up_ = false;
  std::optional<double> rests_at_rpm_;  ///< since it gave up, once that has been seen
};

}  // namespace linux_machine
