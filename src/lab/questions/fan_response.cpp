#include "lab/questions/fan_response.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>

#include "lab/analysis/fans.h"
#include "lab/plan/duration.h"
#include "lab/plan/plan_error.h"
#include "lab/questions/limits.h"

namespace lab {

namespace {

constexpr double kRate_hz = 20;

/// A fan as the machine's keys describe it.
struct FanOfMachine {
  std::string target;
  double least_rpm = 0;
  double most_rpm = 0;
};

std::optional<double> value_of(const std::vector<MachineKey>& keys, const std::string& name) {
  const auto found = std::find_if(keys.begin(), keys.end(),
                                  [&](const MachineKey& key) { return key.name == name; });
  return found == keys.end() ? std::nullopt : found->value;
}

std::vector<FanOfMachine> fans_of(const std::vector<MachineKey>& keys) {
  std::vector<FanOfMachine> fans;
  for (const MachineKey& key : keys) {
    if (key.unit != "RPM" || key.name.size() != 4 || !key.name.ends_with("Tg")) {
      continue;
    }
    const std::string number = key.name.substr(0, 2);
    const std::optional<double> least = value_of(keys, number + "Mn");
    const std::optional<double> most = value_of(keys, number + "Mx");
    if (least && most && *least > 0 && *most > *least && value_of(keys, number + "Ac")) {
      fans.push_back({key.name, *least, *most});
    }
  }
  return fans;
}

Phase stay(const FanOfMachine& fan, std::optional<double> rpm, const std::string& name,
           double hold_s) {
  Phase phase;
  phase.name = fan.target + " " + name;
  phase.duration_s = hold_s;
  phase.fan = fan.target;
  phase.fans = rpm ? Fans{Fans::Hold::speed, static_cast<int>(std::lround(*rpm))}
                   : Fans{Fans::Hold::maximum, 0};
  return phase;
}

/// Down in one step, on to the least speed in smaller ones, to standstill, and back up.
void add_stays(const FanOfMachine& fan, double hold_s, bool stops, std::vector<Phase>& phases) {
  constexpr double kFirst = 2;  // times the least speed, where the staircase begins
  const double first = std::min(kFirst * fan.least_rpm, (fan.least_rpm + fan.most_rpm) / 2);
  phases.push_back(stay(fan, first, "down", hold_s));
  phases.push_back(stay(fan, std::sqrt(first * fan.least_rpm), "slower", hold_s));
  phases.push_back(stay(fan, fan.least_rpm, "least", hold_s));
  if (stops) {
    phases.push_back(stay(fan, 0, "stop", hold_s));
    phases.push_back(stay(fan, fan.least_rpm, "start", hold_s));
  }
  phases.push_back(stay(fan, std::nullopt, "up", hold_s));
}

/// When the fan of a phase was asked for its speed: as the record has it, or with the phase.
double asked_s(const Run& run, const std::string& fan, double begin_s, double end_s) {
  for (const ForcedAt& forced : run.delivery.forced) {
    // The engine is told the speed before the phase, which begins with a period of its carrier.
    constexpr double kAhead_s = 0.5;
    if (forced.what == fan && forced.time_s > begin_s - kAhead_s && forced.time_s < end_s) {
      return forced.time_s;
    }
  }
  return begin_s;
}

std::vector<FanRecord> records_of(const Run& run) {
  std::vector<FanRecord> records;
  const std::vector<ForcedAt>& forced = run.delivery.forced;
  const Column* phases = run.samples.find(kPhaseColumn);
  if (phases == nullptr) {
    return records;
  }
  const std::vector<double>& values = phases->values;
  for (std::size_t begin = 0; begin < values.size();) {
    std::size_t end = begin + 1;
    while (end < values.size() && values[end] == values[begin]) {
      ++end;
    }
    const auto index = static_cast<std::size_t>(std::max(0.0, values[begin]));
    const Phase phase = index < run.plan.phases.size() ? run.plan.phases[index] : Phase();
    if (!phase.fan.empty() && phase.fans) {
      auto record = std::find_if(records.begin(), records.end(),
                                 [&](const FanRecord& one) { return one.fan == phase.fan; });
      if (record == records.end()) {
        records.push_back(
            {.fan = phase.fan,
             .speed = phase.fan.substr(0, 2) + "Ac",
             .held = std::any_of(forced.begin(), forced.end(),
                                 [&](const ForcedAt& one) { return one.what == phase.fan; }),
             .stays = {}});
        record = std::prev(records.end());
      }
      const std::vector<double>& time_s = run.samples.time_s;
      const double told_s = asked_s(run, phase.fan, time_s[begin], time_s[end - 1]);
      // The last rows of the stay before may be behind that.
      while (!record->stays.empty() && record->stays.back().end_row > 0 &&
             time_s[record->stays.back().end_row - 1] > told_s) {
        --record->stays.back().end_row;
      }
      record->stays.push_back({.asked_rpm = phase.fans->hold == Fans::Hold::speed
                                                ? std::optional<double>(phase.fans->rpm)
                                                : std::nullopt,
                               .asked_s = told_s,
                               .first_row = begin,
                               .end_row = end});
    }
    begin = end;
  }
  return records;
}

}  // namespace

void FanResponse::add_options(CLI::App& app) {
  app.add_option("--fan", fans_,
                 "target key of a fan, as F0Tg; may be repeated (default: every fan)")
      ->expected(1)
      ->take_all()
      ->option_text("<key>");
  app.add_option("--hold", hold_, "how long each speed is held (default: 8s)")
      ->option_text("<time>");
  app.add_flag("--never-stop", never_stop_, "do not stop a fan: no slower than its least speed");
}

Plan FanResponse::plan() const {
  Plan plan;
  plan.question = name();
  plan.fans.hold = Fans::Hold::maximum;
  plan.rate_hz = kRate_hz;
  return plan;  // complete() knows the fans
}

void FanResponse::complete(Plan& plan, const Inquiry& machine) const {
  const std::vector<MachineKey> known = machine.keys();
  if (plan.phases.empty()) {
    const double hold_s = option_seconds("--hold", hold_, "8, 8s or 1m");
    std::vector<FanOfMachine> fans = fans_of(known);
    for (const std::string& fan : fans_) {
      if (std::none_of(fans.begin(), fans.end(),
                       [&](const FanOfMachine& one) { return one.target == fan; })) {
        throw PlanError("--fan " + fan +
                        ": this machine has no such fan with a least and a "
                        "highest speed");
      }
    }
    std::erase_if(fans, [&](const FanOfMachine& one) {
      return !fans_.empty() && std::find(fans_.begin(), fans_.end(), one.target) == fans_.end();
    });
    if (fans.empty()) {
      throw PlanError(
          "this machine tells of no fan between which speeds it runs (\"vorn-keys --calibrate\" "
          "measures them)");
    }
    Phase first;
    first.name = "all to their maximum";
    first.duration_s = hold_s;
    plan.phases.push_back(first);
    for (const FanOfMachine& fan : fans) {
      add_stays(fan, hold_s, !never_stop_, plan.phases);
    }
  }
  if (plan.limits.empty()) {
    arm_limits(plan, known);
  }
}

Answer FanResponse::analyse(const Run& run) const {
  return analyse_fans(run.samples, records_of(run));
}

std::vector<std::string> FanResponse::lacks(const Offer& offer) const {
  if (!offer.fans) {
    return {"no fan can be held: there is nothing to see"};
  }
  if (!offer.temperatures) {
    return {"no temperature: none can be limited while a fan is slow"};
  }
  return {};
}

}  // namespace lab
