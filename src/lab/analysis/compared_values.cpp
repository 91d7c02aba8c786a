#include "lab/analysis/compared_values.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>

namespace lab {

namespace {

using Json = nlohmann::ordered_json;

bool is_estimate(const Json& json) {
  return json.is_object() && json.contains("value") && json["value"].is_number() &&
         json.contains("low") && json.contains("high") && json.contains("unit");
}

Estimate estimate_of(const Json& json) {
  const auto bound = [&](const char* name, double open) {
    return json[name].is_number() ? json[name].get<double>() : open;
  };
  return {.value = json["value"],
          .low = bound("low", -kInfinite),
          .high = bound("high", kInfinite),
          .unit = json["unit"]};
}

// "keys.TC0D.stages[0].time_constant" as "TC0D stages 1 time constant".
std::string spoken_path(const std::string& path) {
  constexpr std::string_view kKeys = "keys.";
  std::string text;
  for (std::size_t at = path.starts_with(kKeys) ? kKeys.size() : 0; at < path.size(); ++at) {
    if (path[at] == '[') {
      const std::size_t end = path.find(']', at);
      text += " " + std::to_string(std::stoi(path.substr(at + 1, end - at - 1)) + 1);
      at = end;
    } else {
      text += path[at] == '.' || path[at] == '_' ? ' ' : path[at];
    }
  }
  return text;
}

ComparedValue::Sense sense_of(const std::string& path, const Estimate& estimate) {
  const bool of_the_whole = path.find('[') == std::string::npos;
  const bool resistance = path.ends_with(".resistance") && of_the_whole;
  return resistance || estimate.unit == "degC" ? ComparedValue::Sense::lower_is_better
                                               : ComparedValue::Sense::neutral;
}

class Walk {
 public:
  explicit Walk(const std::vector<std::string>& keys) : keys_(keys) {}

  void object(const Json& one, const Json& other, const std::string& path) {
    const bool of_keys = path == "keys" || path.ends_with(".keys");
    for (const auto& [name, member] : one.items()) {
      std::string inner = path;
      inner += path.empty() ? "" : ".";
      inner += name;
      if (of_keys && !wanted(name)) {
        continue;
      }
      if (!other.contains(name)) {
        if (of_keys) {
          say(name + " is only in the first of the two runs, and left out.");
        }
        continue;
      }
      visit(member, other[name], inner);
    }
    for (const auto& [name, member] : other.items()) {
      if (of_keys && wanted(name) && !one.contains(name)) {
        say(name + " is only in the second of the two runs, and left out.");
      }
    }
  }

  ComparedValues found() && { return std::move(found_); }

 private:
  bool wanted(const std::string& key) const {
    return keys_.empty() || std::find(keys_.begin(), keys_.end(), key) != keys_.end();
  }

  void say(std::string why) { found_.warnings.push_back(std::move(why)); }

  void visit(const Json& one, const Json& other, const std::string& path) {
    // The ladder at the top is that of one of the keys.
    if (path == "ladder" || path.ends_with(".start_temperature")) {
      return;
    }
    if (is_estimate(one) && is_estimate(other)) {
      const Estimate first = estimate_of(one);
      const Estimate second = estimate_of(other);
      if (first.unit == second.unit) {
        found_.values.push_back({.path = path,
                                 .name = spoken_path(path),
                                 .sense = sense_of(path, first),
                                 .one = first,
                                 .other = second});
      } else {
        say(spoken_path(path) + " is in " + first.unit + " and in " + second.unit +
            ", and left out: one of the runs had no power.");
      }
    } else if (one.is_object() && other.is_object()) {
      if (undecided(one) || undecided(other)) {
        say(spoken_path(path) + " could not be decided in " +
            (!undecided(other) ? "the first"
             : !undecided(one) ? "the second"
                               : "either") +
            " of the two runs, and is left out.");
        return;
      }
      object(one, other, path);
    } else if (one.is_array() && other.is_array()) {
      list(one, other, path);
    }
  }

  static bool undecided(const Json& json) {
    return json.contains("decided") && json["decided"] == false;
  }

  void list(const Json& one, const Json& other, const std::string& path) {
    if (one.size() != other.size()) {
      say(spoken_path(path) + ": " + std::to_string(one.size()) + " in the first run, " +
          std::to_string(other.size()) + " in the second: they cannot be told one by one.");
      return;
    }
    for (std::size_t at = 0; at < one.size(); ++at) {
      if (!same_setting(one[at], other[at])) {
        say(spoken_path(path) + " are at different settings, and left out.");
        return;
      }
    }
    for (std::size_t at = 0; at < one.size(); ++at) {
      visit(one[at], other[at], path + "[" + std::to_string(at) + "]");
    }
  }

  static bool same_setting(const Json& one, const Json& other) {
    constexpr std::array kSettings{"setting", "frequency"};
    constexpr double kAlike = 1e-3;
    return std::all_of(kSettings.begin(), kSettings.end(), [&](const char* name) {
      if (!one.is_object() || !one.contains(name) || !other.contains(name)) {
        return true;
      }
      if (!one[name].is_number() || !other[name].is_number()) {
        return one[name] == other[name];
      }
      const double first = one[name];
      const double second = other[name];
      return std::abs(first - second) <= kAlike * std::abs(first);
    });
  }

  const std::vector<std::string>& keys_;
  ComparedValues found_;
};

}  // namespace

ComparedValues values_in_common(const Json& one, const Json& other,
                                const std::vector<std::string>& keys) {
  Walk walk(keys);
  if (one.is_object() && other.is_object()) {
    walk.object(one, other, "");
  }
  return std::move(walk).found();
}

}  // namespace lab
