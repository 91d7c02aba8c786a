#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "lab/data/answer.h"
#include "lab/data/table.h"

namespace lab {

/// A speed that one fan was asked for, and the rows of the samples until the next.
struct FanStay {
  std::optional<double> asked_rpm;  ///< nothing: its maximum
  double asked_s = 0;               ///< when, on the clock of the samples
  std::size_t first_row = 0;
  std::size_t end_row = 0;
};

/// What was asked of a fan, one after the other.
struct FanRecord {
  std::string fan;    ///< target key: "F0Tg"
  std::string speed;  ///< column of its speed: "F0Ac"
  bool held = false;  ///< the engine's record says that it was held
  std::vector<FanStay> stays;
};

/// How each fan follows what it is asked for.
///
/// `figures`: fans.KEY for each fan, by its target key:
///   speed                 the key of its speed
///   down, up              the largest step between two speeds at which it turned: from (RPM), and
///                         to (RPM), time_constant and dead_time (s), all Estimates; null: not seen
///   stop                  stands_still (null: it was still getting slower); and if so speed, from
///                         which it stopped dead (RPM), and after (s), Estimates; null: it was not
///                         asked to stop
///   start                 asked (RPM), turns, and if so delay (Estimate, s): from standstill
///   least_steady_speed    Estimate, RPM: the least one that it kept; null: none
///   speeds[]              asked (RPM; null: maximum), speed (Estimate), steady
Answer analyse_fans(const Table& samples, const std::vector<FanRecord>& fans);

}  // namespace lab
