#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/analysis/fan_step.h"
#include "lab/data/answer.h"

namespace lab {

/// The samples of a stay, with instants from when its speed was asked for.
struct ShownSpeeds {
  std::vector<double> since_s;
  std::vector<double> speeds_rpm;
  double before_rpm = 0;  ///< shortly before the speed was asked for
};

struct FanStayed {
  std::optional<double> asked_rpm;
  ShownSpeeds shown;
  FanStep step;
  SteadySpeed steady;
  bool arrived = false;  ///< it had the time to come to a speed, whether it keeps it or not
};

/// What one fan did.
struct FanResult {
  std::string fan;
  std::string speed;
  bool held = false;   ///< the engine says that it held it
  bool moved = false;  ///< its speed changed by more than a sensor's noise
  std::vector<FanStayed> stays;
  std::optional<FanStayed> down;
  std::optional<FanStayed> up;
  std::optional<FanStop> stop;
  std::optional<double> start_asked_rpm;
  std::optional<Estimate> start;
  std::optional<Estimate> least_steady;
  bool steady_at_least = false;  ///< it is that of the least speed that was asked for
};

/// Whether no speed was held for as long as the fan takes to come there.
bool held_too_briefly(const FanResult& result);

/// What a fan does, in a sentence.
std::string fan_sentence(const FanResult& result);

/// The largest steps, and what each fan does when it is slow.
std::vector<ResultTable> fans_tables(const std::vector<FanResult>& results);

/// The largest steps, as measured and as fitted; without series if there was none.
Chart fans_chart(const std::vector<FanResult>& results);

/// What was not seen, with a remedy.
std::vector<std::string> judge_fan_result(const FanResult& result);

}  // namespace lab
