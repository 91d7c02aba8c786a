#include "lab/data/answer.h"

#include <cmath>

namespace lab {

namespace {

nlohmann::ordered_json number(double value) {
  return std::isfinite(value) ? nlohmann::ordered_json(value) : nlohmann::ordered_json(nullptr);
}

}  // namespace

nlohmann::ordered_json to_json(const Estimate& estimate) {
  return {{"value", number(estimate.value)},
          {"low", number(estimate.low)},
          {"high", number(estimate.high)},
          {"unit", estimate.unit}};
}

}  // namespace lab
