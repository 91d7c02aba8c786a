#pragma once

#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>

#include "lab/data/answer.h"

// What tests read of a step's figures.

namespace lab {

inline Estimate estimate(const nlohmann::ordered_json& json) {
  const auto bound = [&](const char* name, double open) {
    return json[name].is_null() ? open : json[name].get<double>();
  };
  return {.value = bound("value", NAN),
          .low = bound("low", -INFINITY),
          .high = bound("high", INFINITY),
          .unit = json["unit"]};
}

inline Estimate resistance(const Answer& answer, const char* key) {
  return estimate(answer.figures["keys"][key]["resistance"]);
}

inline Estimate time_constant(const Answer& answer, const char* key, std::size_t stage) {
  return estimate(answer.figures["keys"][key]["stages"].at(stage)["time_constant"]);
}

inline std::size_t stages(const Answer& answer, const char* key) {
  return answer.figures["keys"][key]["stages"].size();
}

}  // namespace lab
