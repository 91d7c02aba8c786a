#include "lab/data/answer.h"

#include <cmath>

namespace lab {

nlohmann::ordered_json json_number(double value) {
  return std::isfinite(value) ? nlohmann::ordered_json(value) : nlohmann::ordered_json(nullptr);
}

nlohmann::ordered_json json_number(const std::optional<double>& value) {
  return value ? json_number(*value) : nlohmann::ordered_json(nullptr);
}

nlohmann::ordered_json to_json(const Estimate& estimate) {
  return {{"value", json_number(estimate.value)},
          {"low", json_number(estimate.low)},
          {"high", json_number(estimate.high)},
          {"unit", estimate.unit}};
}

}  // namespace lab
