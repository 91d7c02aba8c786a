#pragma once

#include <optional>
#include <string>

namespace engine {

/// What was read from a text, or why nothing was.
template <typename Value>
struct Parsed {
  std::optional<Value> value;
  std::string refused;  ///< if there is no value: what is wrong, for the one who wrote the text

  static Parsed no(std::string why) { return {std::nullopt, std::move(why)}; }
};

}  // namespace engine
