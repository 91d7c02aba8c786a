#pragma once

#include <map>
#include <string>
#include <vector>

namespace lab {

/// The units in which a table may give its times, and the seconds in each.
const std::map<std::string, double>& time_units();

/// The units in which a table may give a power, and the watts in each.
const std::map<std::string, double>& power_units();

/// The names in a table of names, in their order.
template <class Value>
std::vector<std::string> names_of(const std::map<std::string, Value>& all) {
  std::vector<std::string> found;
  found.reserve(all.size());
  for (const auto& [name, value] : all) {
    found.push_back(name);
  }
  return found;
}

}  // namespace lab
