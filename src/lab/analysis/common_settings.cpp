#include "lab/analysis/common_settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>

#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

using Json = nlohmann::ordered_json;

/// The members that tell elements apart: of sweeps, of bode, of fans, of the phases of a run.
constexpr std::array kSettings{"setting", "frequency", "asked", "name"};

const char* setting_in(const Json& list) {
  for (const char* name : kSettings) {
    const auto has = [&](const Json& element) {
      return element.is_object() && element.contains(name);
    };
    if (!list.empty() && std::all_of(list.begin(), list.end(), has)) {
      return name;
    }
  }
  return nullptr;
}

bool same(const Json& one, const Json& other) {
  constexpr double kAlike = 1e-3;
  if (!one.is_number() || !other.is_number()) {
    return one == other;
  }
  const double first = one;
  const double second = other;
  return std::abs(first - second) <= kAlike * std::abs(first);
}

std::string where(const std::string& setting, const Json& value, const std::string& over) {
  if (setting == "name") {
    return " in the phase \"" + value.get<std::string>() + "\"";
  }
  if (!value.is_number()) {
    return " at " + (value.is_string() ? value.get<std::string>() : "maximum");
  }
  if (setting == "frequency") {
    return " at " + spoken_hertz(value);
  }
  std::ostringstream number_text;
  number_text << value.get<double>();
  const std::string number = number_text.str();
  if (over == "rpm" || setting == "asked") {
    return " at " + number + " RPM";
  }
  return (over == "pstate" ? " at P-state " : over == "duty" ? " at duty " : " at ") + number;
}

}  // namespace

CommonSettings common_settings(const Json& one, const Json& other, const std::string& over) {
  CommonSettings common;
  const char* const name = setting_in(one);
  const char* const other_name = setting_in(other);
  if (name == nullptr || other_name == nullptr || std::string(name) != other_name) {
    return common;
  }
  common.have_settings = true;
  std::vector<bool> taken(other.size(), false);
  for (std::size_t at = 0; at < one.size(); ++at) {
    const Json& value = one[at][name];
    const std::string place = where(name, value, over);
    std::size_t match = 0;
    while (match < other.size() && (taken[match] || !same(value, other[match][name]))) {
      ++match;
    }
    if (match == other.size()) {
      common.only_one.push_back(place);
    } else {
      taken[match] = true;
      common.pairs.push_back({.one = at, .other = match, .where = place});
    }
  }
  for (std::size_t at = 0; at < other.size(); ++at) {
    if (!taken[at]) {
      common.only_other.push_back(where(name, other[at][name], over));
    }
  }
  return common;
}

}  // namespace lab
