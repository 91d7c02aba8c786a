#include <algorithm>
#include <cmath>

#include "lab/plan/duration.h"
#include "lab/report/column_range.h"
#include "lab/report/facts.h"
#include "lab/report/number_text.h"
#include "lab/report/time_axis.h"

namespace lab {

namespace {

std::string drive_text(const Drive& drive) {
  if (drive.shape == Drive::Shape::constant) {
    return drive.duty == 0 ? "none" : percent_text(drive.duty);
  }
  if (drive.shape == Drive::Shape::profile) {
    return "a profile of " + count_text(static_cast<std::int64_t>(drive.profile.size())) +
           " points";
  }
  if (drive.shape == Drive::Shape::sines) {
    return std::to_string(drive.sines.size()) + " sinusoids around " + percent_text(drive.duty);
  }
  return std::string(drive.shape == Drive::Shape::sinusoid ? "sinusoid" : "triangle") + " of " +
         with_unit(number_text(drive.frequency_hz), "Hz") + ", " + percent_text(drive.duty) +
         " to " + percent_text(drive.duty + drive.depth);
}

std::string fans_text(const Fans& fans) {
  switch (fans.hold) {
    case Fans::Hold::automatic:
      return "left to the machine";
    case Fans::Hold::maximum:
      return "maximum";
    case Fans::Hold::speed:
      return with_unit(std::to_string(fans.rpm), "RPM");
  }
  return "";
}

/// What a column that holds a share stands for; empty: it holds something else.
std::string share_text(const std::string& name) {
  if (name == kAskedColumn) {
    return "processor time that was asked for";
  }
  if (name == kDeliveredColumn) {
    return "processor time of the load";
  }
  return name == kOthersColumn ? "processor time of other programs" : "";
}

std::string seconds_text(double seconds) {
  constexpr double kLongestInSeconds = 120;
  if (!std::isfinite(seconds)) {
    return "without an end";
  }
  return seconds <= kLongestInSeconds ? with_unit(number_text(seconds, 3), "s") : spoken(seconds);
}

std::string planned_text(const Phase& phase) {
  if (phase.until_stopped) {
    return "until stopped";
  }
  return (phase.until_settled ? "until settled, at most " : "") + seconds_text(phase.duration_s);
}

}  // namespace

std::string fan_speeds(const Table& samples, std::optional<std::size_t> phase) {
  const Column* phases = samples.find(kPhaseColumn);
  std::string text;
  for (const Column& column : samples.columns) {
    if (column.unit != "RPM") {
      continue;
    }
    std::vector<double> speeds;
    for (std::size_t row = 0; row < column.values.size(); ++row) {
      if (!phase || (phases != nullptr && phases->values[row] == static_cast<double>(*phase))) {
        speeds.push_back(column.values[row]);
      }
    }
    const Range range = range_of(speeds);
    if (std::isfinite(range.mean)) {
      text += (text.empty() ? "" : ", ") + column.name + " " + number_text(range.least) + " to " +
              with_unit(number_text(range.largest), "RPM");
    }
  }
  return text;
}

std::vector<PhaseFacts> phase_facts(const Run& run) {
  std::vector<PhaseFacts> facts;
  for (std::size_t index = 0; index < run.plan.phases.size(); ++index) {
    const Phase& phase = run.plan.phases[index];
    const std::optional<int> pstate = pstate_of(run.plan, phase);
    // What was held is known of the phases that began; of others, what the plan has.
    const bool begun = index < run.info.phases.size();
    const std::string drive = drive_text(phase.drive);
    facts.push_back(
        {.name = phase.name,
         .load = drive == "none" ? drive : phase.load.value_or(run.plan.load) + ", " + drive,
         .planned = planned_text(phase),
         .lasted = {},
         .fans = begun ? run.info.phases[index].fans : fans_text(fans_of(run.plan, phase)),
         .fan_speeds = fan_speeds(run.samples, index),
         .pstate = begun                ? run.info.phases[index].pstate
                   : pstate.has_value() ? std::to_string(*pstate)
                                        : "left to the machine"});
  }
  for (const NamedStretch& stretch : phases_in(run.samples, run.plan)) {
    const auto phase = std::find_if(facts.begin(), facts.end(), [&](const PhaseFacts& each) {
      return each.name == stretch.name && each.lasted.empty();
    });
    if (phase != facts.end()) {
      phase->lasted = seconds_text(stretch.end - stretch.begin);
    }
  }
  return facts;
}

std::vector<ColumnFacts> column_facts(const Run& run) {
  std::vector<ColumnFacts> facts;
  for (const Column& column : run.samples.columns) {
    if (column.name == kPhaseColumn) {
      continue;
    }
    const std::string share = share_text(column.name);
    const double factor = share.empty() ? 1 : 100;
    const Range range = range_of(column.values);
    facts.push_back({.name = column.name,
                     .unit = share.empty() ? unit_text(column.unit) : "%",
                     .source = share.empty() ? column.source : share,
                     .least = number_text(range.least * factor),
                     .mean = number_text(range.mean * factor),
                     .largest = number_text(range.largest * factor)});
  }
  return facts;
}

}  // namespace lab
