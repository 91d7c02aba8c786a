#include "lab/analysis/compared_values.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/common_settings.h"

namespace lab {

namespace {

using Json = nlohmann::ordered_json;
using Sense = ComparedValue::Sense;

bool is_estimate(const Json& json) {
  return json.is_object() && json.contains("value") && json["value"].is_number() &&
         json.contains("low") && json.contains("high") && json.contains("unit");
}

bool holds_estimates(const Json& json) {
  return is_estimate(json) ||
         (json.is_structured() && std::any_of(json.begin(), json.end(), holds_estimates));
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

bool known(const Estimate& estimate) {
  return std::isfinite(estimate.value) &&
         (std::isfinite(estimate.low) || std::isfinite(estimate.high));
}

bool undecided(const Json& json) {
  return json.contains("decided") && json["decided"] == false;
}

Sense sense_of(const std::string& path, const Estimate& estimate) {
  const auto has = [&](const char* part) { return path.find(part) != std::string::npos; };
  if (path.ends_with(".start_temperature") || path.ends_with(".air")) {
    return Sense::condition;
  }
  if (has(".stages[") || has("ladder[")) {
    return Sense::neutral;
  }
  if (path.ends_with(".operations_per_joule")) {
    return Sense::higher_is_better;
  }
  const bool for_a_watt = path.ends_with(".amplitude") && estimate.unit.starts_with("K");
  return for_a_watt || path.ends_with("resistance") || has("resistance.") || estimate.unit == "degC"
             ? Sense::lower_is_better
             : Sense::neutral;
}

/// A place in both answers: its path, and how people say it: what it is, and at which setting.
struct Place {
  std::string path;
  std::string words;
  std::string where;

  std::string name() const { return words + where; }

  /// Of an object of keys the members have the keys' own names, to the letter.
  bool has_keys() const {
    return path == "keys" || path.ends_with(".keys") || path.ends_with("resistance");
  }

  Place member(const std::string& member_name) const {
    std::string word = member_name;
    if (!has_keys()) {
      std::replace(word.begin(), word.end(), '_', ' ');
    }
    const bool unsaid = word == "keys" || word == "points";
    return {.path = path.empty() ? member_name : path + "." + member_name,
            .words = unsaid          ? words
                     : words.empty() ? word
                                     : words + " " + word,
            .where = where};
  }

  Place element(std::size_t at) const {
    const bool several = words.ends_with("stages");
    return {
        .path = path + "[" + std::to_string(at) + "]",
        .words = words.substr(0, words.size() - (several ? 1 : 0)) + " " + std::to_string(at + 1),
        .where = where};
  }

  Place element(std::size_t at, const std::string& setting) const {
    return {.path = path + "[" + std::to_string(at) + "]",
            .words = words == "phases" ? "" : words,
            .where = where + setting};
  }
};

class Walk {
 public:
  Walk(const std::vector<std::string>& keys, std::string over)
      : keys_(keys), over_(std::move(over)) {}

  void object(const Json& one, const Json& other, const Place& place) {
    const bool of_keys = place.path == "keys" || place.path.ends_with(".keys");
    const auto counts = [&](const std::string& name, const Json& member) {
      return of_keys ? wanted(name) : holds_estimates(member);
    };
    const auto missing = [](const Json& json, const std::string& name) {
      return !json.contains(name) || json[name].is_null();
    };
    for (const auto& [name, member] : one.items()) {
      if (!counts(name, member) || member.is_null()) {
        continue;
      }
      if (missing(other, name)) {
        leave_out(place.member(name), "is only in the first of the two runs");
      } else {
        visit(member, other[name], place.member(name));
      }
    }
    for (const auto& [name, member] : other.items()) {
      if (counts(name, member) && !member.is_null() && missing(one, name)) {
        leave_out(place.member(name), "is only in the second of the two runs");
      }
    }
  }

  ComparedValues found() && {
    for (const LeftOut& left : left_out_) {
      found_.warnings.push_back(left.text());
    }
    return std::move(found_);
  }

 private:
  /// The same at several settings is said once.
  struct LeftOut {
    std::string words;
    std::string why;
    std::vector<std::string> where;

    std::string text() const {
      std::string text = words;
      for (const std::string& one : where) {
        text += text.size() == words.size() ? "" : ",";
        text += one;
      }
      return text.append(" ").append(why).append(", and left out.");
    }
  };

  bool wanted(const std::string& key) const {
    return keys_.empty() || std::find(keys_.begin(), keys_.end(), key) != keys_.end();
  }

  void leave_out(const Place& place, const std::string& why) {
    const auto same = std::find_if(left_out_.begin(), left_out_.end(), [&](const LeftOut& left) {
      return left.words == place.words && left.why == why;
    });
    if (same == left_out_.end()) {
      left_out_.push_back({.words = place.words, .why = why, .where = {place.where}});
    } else {
      same->where.push_back(place.where);
    }
  }

  void leave_out_undecided(const Place& place, bool by_one, bool by_other) {
    leave_out(place, std::string("could not be decided in ") +
                         (!by_other ? "the first"
                          : !by_one ? "the second"
                                    : "either") +
                         " of the two runs");
  }

  void visit(const Json& one, const Json& other, const Place& place) {
    if (place.path == "ladder") {  // it is that of one of the keys
      return;
    }
    if (is_estimate(one) && is_estimate(other)) {
      estimates(estimate_of(one), estimate_of(other), place);
    } else if (one.is_object() && other.is_object()) {
      if (undecided(one) || undecided(other)) {
        leave_out_undecided(place, undecided(one), undecided(other));
        return;
      }
      object(one, other, place);
    } else if (one.is_array() && other.is_array()) {
      list(one, other, place);
    }
  }

  void estimates(const Estimate& one, const Estimate& other, const Place& place) {
    if (one.unit != other.unit) {
      leave_out(place,
                "is in " + one.unit + " and in " + other.unit + " (one of the runs had no power)");
    } else if (!known(one) || !known(other)) {
      leave_out_undecided(place, !known(one), !known(other));
    } else {
      found_.values.push_back({.path = place.path,
                               .name = place.name(),
                               .sense = sense_of(place.path, one),
                               .one = one,
                               .other = other});
    }
  }

  void list(const Json& one, const Json& other, const Place& place) {
    const CommonSettings common = common_settings(one, other, over_);
    if (!common.have_settings) {
      if (one.size() != other.size()) {
        found_.warnings.push_back(place.name() + ": " + std::to_string(one.size()) +
                                  " in the first run, " + std::to_string(other.size()) +
                                  " in the second: they cannot be told one by one.");
        return;
      }
      for (std::size_t at = 0; at < one.size(); ++at) {
        visit(one[at], other[at], place.element(at));
      }
      return;
    }
    const std::string what = place.words.empty() ? "what was measured" : place.words;
    for (const std::string& where : common.only_one) {
      leave_out({.path = "", .words = what, .where = where},
                "is only in the first of the two runs");
    }
    for (const std::string& where : common.only_other) {
      leave_out({.path = "", .words = what, .where = where},
                "is only in the second of the two runs");
    }
    if (common.pairs.empty()) {
      found_.warnings.emplace_back(
          "The two runs have no setting in common. Make both with one plan (--plan).");
    }
    for (const CommonSettings::Pair& pair : common.pairs) {
      visit(one[pair.one], other[pair.other], place.element(pair.one, pair.where));
    }
  }

  const std::vector<std::string>& keys_;
  std::string over_;
  std::vector<LeftOut> left_out_;
  ComparedValues found_;
};

}  // namespace

ComparedValues values_in_common(const Json& one, const Json& other,
                                const std::vector<std::string>& keys) {
  const bool swept = one.is_object() && one.contains("over") && one["over"].is_string();
  Walk walk(keys, swept ? one["over"].get<std::string>() : "");
  if (one.is_object() && other.is_object()) {
    walk.object(one, other, {});
  }
  return std::move(walk).found();
}

}  // namespace lab
