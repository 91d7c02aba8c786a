#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace lab {

/// Elements of two lists at the same setting: a speed, a duty, a frequency, the name of a phase.
struct CommonSettings {
  struct Pair {
    std::size_t one = 0;
    std::size_t other = 0;
    std::string where;  ///< " at 0.05 Hz", to stand behind a name
  };
  bool have_settings = false;  ///< false: the elements are told by nothing but their place
  std::vector<Pair> pairs;
  std::vector<std::string> only_one;  ///< the settings that have no match, as Pair::where
  std::vector<std::string> only_other;
};

/// Pairs the elements of two lists of result.json by what they say of their setting. Numbers are
/// the same within a thousandth, as frequencies may be that were moved to whole periods; a setting
/// that comes more than once is paired in order. `over`: what a sweep went over, as its figures
/// have it; empty: this is none.
CommonSettings common_settings(const nlohmann::ordered_json& one,
                               const nlohmann::ordered_json& other, const std::string& over);

}  // namespace lab
