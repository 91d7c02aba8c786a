#include "lab/engine_process/segments.h"

#include <initializer_list>

#include "lab/engine_process/decimal.h"

namespace lab {

namespace {

bool same(const Fans& one, const Fans& other) {
  return one.hold == other.hold && one.rpm == other.rpm;
}

/// What a phase holds: all fans but one, and that one.
struct Held {
  Fans all;
  std::string fan;  // empty: none is held otherwise
  Fans one;
  std::optional<int> pstate;
};

Held held_in(const Plan& plan, const Phase& phase) {
  const Fans fans = fans_of(plan, phase);
  return {.all = phase.fan.empty() ? fans : plan.fans,
          .fan = phase.fan,
          .one = fans,
          .pstate = pstate_of(plan, phase)};
}

/// What an engine can be started with: a speed of 0 would leave the fans alone.
Fans started_with(const Fans& fans) {
  return fans.hold == Fans::Hold::speed && fans.rpm == 0 ? Fans{Fans::Hold::maximum, 0} : fans;
}

std::string speed_text(const Fans& fans) {
  return fans.hold == Fans::Hold::maximum ? "maximum" : std::to_string(fans.rpm);
}

bool forced(const Fans& fans) {
  return fans.hold != Fans::Hold::automatic;
}

void append(std::vector<std::string>& arguments, std::initializer_list<std::string> more) {
  arguments.insert(arguments.end(), more);
}

}  // namespace

std::vector<Segment> segments_of(const Plan& plan, std::size_t first) {
  std::vector<Segment> segments;
  for (std::size_t index = first; index < plan.phases.size(); ++index) {
    const Phase& phase = plan.phases[index];
    const Held held = held_in(plan, phase);
    const Segment next{.first = index,
                       .last = index,
                       .load = phase.load.value_or(plan.load),
                       .fans = started_with(held.all),
                       .pstate = held.pstate};
    const bool profile = phase.drive.shape == Drive::Shape::profile ||
                         (index > 0 && plan.phases[index - 1].drive.shape == Drive::Shape::profile);
    if (index > first && !profile && segments.back().load == next.load &&
        forced(segments.back().fans) == forced(next.fans) &&
        segments.back().pstate.has_value() == next.pstate.has_value()) {
      segments.back().last = index;
    } else {
      segments.push_back(next);
    }
  }
  return segments;
}

std::vector<std::string> engine_arguments(const Plan& plan, const Segment& segment,
                                          const Means& means) {
  std::vector<std::string> arguments{plays_profile(plan, segment) ? "--attached" : "--steer", "-m",
                                     "-r", decimal(plan.rate_hz)};
  for (const std::string& key : means.keys) {
    append(arguments, {"-k", key});
  }
  append(arguments, {"-w", segment.load, "-f", decimal(plan.carrier_hz)});
  if (plan.threads > 0) {
    append(arguments, {"-c", std::to_string(plan.threads)});
  }
  for (const auto& [key, value] : plan.limits) {
    append(arguments, {"--limit", key + "=" + decimal(value)});
  }
  if (!means.root) {
    return arguments;  // fans and P-states are root's
  }
  if (segment.fans.hold == Fans::Hold::automatic || means.fan_keys.empty()) {
    append(arguments, {"-s", "0"});
  } else {
    append(
        arguments,
        {"-s", segment.fans.hold == Fans::Hold::maximum ? "-1" : std::to_string(segment.fans.rpm)});
    for (const std::string& key : means.fan_keys) {
      append(arguments, {"-a", key});
    }
  }
  if (segment.pstate) {
    append(arguments, {"-p", std::to_string(*segment.pstate)});
  } else {
    append(arguments, {"--leave-pstate"});
  }
  return arguments;
}

bool plays_profile(const Plan& plan, const Segment& segment) {
  return plan.phases[segment.first].drive.shape == Drive::Shape::profile;
}

std::string profile_text(const Drive& drive) {
  std::string text = "steps\n";
  for (const ProfilePoint& point : drive.profile) {
    text += decimal(point.time_s) + " " + decimal(point.duty) + "\n";
  }
  return text;
}

std::string steering(const Drive& drive) {
  std::string line;
  switch (drive.shape) {
    case Drive::Shape::profile:
      break;  // it is the engine's from its start on
    case Drive::Shape::constant:
      return "duty " + decimal(drive.duty) + "\n";
    case Drive::Shape::sinusoid:
    case Drive::Shape::triangle:
      return std::string(drive.shape == Drive::Shape::sinusoid ? "sinusoid " : "triangle ") +
             decimal(drive.frequency_hz) + " " + decimal(drive.duty) + " " + decimal(drive.depth) +
             "\n";
    case Drive::Shape::sines:
      line = "sines " + decimal(drive.duty);
      for (const Sine& sine : drive.sines) {
        line += " " + decimal(sine.frequency_hz) + " " + decimal(sine.amplitude) + " " +
                decimal(sine.degrees);
      }
      return line + "\n";
  }
  return line;
}

std::string forcing(const Plan& plan, const Segment& segment, std::size_t index,
                    const Means& means) {
  if (!means.root) {
    return "";
  }
  const Held now = held_in(plan, plan.phases[index]);
  const Held before =
      index == segment.first
          ? Held{.all = segment.fans, .fan = {}, .one = {}, .pstate = segment.pstate}
          : held_in(plan, plan.phases[index - 1]);
  std::string lines;
  if (forced(now.all) && !means.fan_keys.empty()) {
    if (!same(now.all, before.all)) {
      lines += "fans " + speed_text(now.all) + "\n";
    } else if (!before.fan.empty() && before.fan != now.fan) {
      lines += "fan " + before.fan + " " + speed_text(now.all) + "\n";
    }
    if (!now.fan.empty() &&
        (now.fan != before.fan || !same(now.one, before.one) || !same(now.all, before.all))) {
      lines += "fan " + now.fan + " " + speed_text(now.one) + "\n";
    }
  }
  if (now.pstate && now.pstate != before.pstate) {
    lines += "pstate " + std::to_string(*now.pstate) + "\n";
  }
  return lines;
}

}  // namespace lab
