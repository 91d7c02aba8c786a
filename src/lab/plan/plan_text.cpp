#include <algorithm>
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string_view>

#include "lab/plan/duration.h"
#include "lab/plan/plan_file.h"

namespace lab {

namespace {

/// A text in double quotes: what JSON makes of it is TOML as well.
std::string quoted(const std::string& text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// The shortest text that reads as the same number.
std::string number(double value) {
  std::array<char, 32> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), result.ptr};
}

std::string list(const std::vector<std::string>& texts) {
  std::string out = "[";
  for (const std::string& text : texts) {
    out += (out.size() > 1 ? ", " : "") + quoted(text);
  }
  return out + "]";
}

std::string fans_value(const Fans& fans) {
  switch (fans.hold) {
    case Fans::Hold::automatic:
      return quoted("automatic");
    case Fans::Hold::maximum:
      return quoted("maximum");
    case Fans::Hold::speed:
      return std::to_string(fans.rpm);
  }
  return "";
}

void write_sines(std::ostream& out, const Drive& drive) {
  out << "sines = [  # Hz, amplitude of the duty, degrees\n";
  for (const Sine& sine : drive.sines) {
    out << "  [" << number(sine.frequency_hz) << ", " << number(sine.amplitude) << ", "
        << number(sine.degrees) << "],\n";
  }
  out << "]\nmean = " << number(drive.duty) << '\n';
}

void write_drive(std::ostream& out, const Drive& drive) {
  if (drive.shape == Drive::Shape::profile) {
    out << "profile = [  # s, duty from then on; the last one is the end\n";
    for (const ProfilePoint& point : drive.profile) {
      out << "  [" << number(point.time_s) << ", " << number(point.duty) << "],\n";
    }
    out << "]\n";
    return;
  }
  if (drive.shape == Drive::Shape::sines) {
    write_sines(out, drive);
    return;
  }
  if (drive.shape == Drive::Shape::constant) {
    out << "duty = " << number(drive.duty) << '\n';
    return;
  }
  out << (drive.shape == Drive::Shape::sinusoid ? "sinusoid" : "triangle") << " = "
      << number(drive.frequency_hz) << "  # Hz\noffset = " << number(drive.duty)
      << "\ndepth = " << number(drive.depth) << '\n';
}

void write_phase(std::ostream& out, const Phase& phase) {
  out << "\n[[phase]]\nname = " << quoted(phase.name) << '\n';
  write_drive(out, phase.drive);
  if (phase.until_settled) {
    out << "duration = \"until settled\"\nat_most = " << number(phase.duration_s) << "  # s\n";
  } else if (phase.until_stopped) {
    out << "duration = \"until stopped\"\n";
  } else if (phase.drive.shape != Drive::Shape::profile) {
    out << "duration = " << number(phase.duration_s) << "  # s\n";
  }
  if (phase.until_settled) {
    out << "drift = " << number(phase.drift)
        << "  # part of the change that may still be to come\n";
  }
  if (phase.load) {
    out << "load = " << quoted(*phase.load) << '\n';
  }
  if (!phase.fan.empty()) {
    out << "fan = " << quoted(phase.fan) << "  # the others are as at the top\n";
  }
  if (phase.fans) {
    out << "fans = " << fans_value(*phase.fans) << '\n';
  }
  if (phase.pstate) {
    out << "pstate = "
        << (phase.pstate == kAutomaticPState ? quoted("automatic") : std::to_string(*phase.pstate))
        << '\n';
  }
}

bool settles(const Plan& plan) {
  return std::any_of(plan.phases.begin(), plan.phases.end(),
                     [](const Phase& phase) { return phase.until_settled; });
}

void write_predicted(std::ostream& out, const Plan& plan) {
  if (plan.predicted.empty()) {
    return;
  }
  out << "\n[predicted]  # stages whose curve is to stand beside what is measured\nfrom = "
      << quoted(plan.predicted_from) << '\n';
  for (const auto& [key, stages] : plan.predicted) {
    out << "stages." << quoted(key) << " = [";
    for (std::size_t at = 0; at < stages.size(); ++at) {
      out << (at > 0 ? ", [" : "[") << number(stages[at].resistance) << ", "
          << number(stages[at].tau_s) << ']';
    }
    out << "]  # K/W, s\n";
  }
}

// Of a table, nothing was run.
std::string text_of_fit(const Plan& plan) {
  return "# What was asked of a table. Nothing was run for it.\nquestion = \"fit\"\npower = " +
         quoted(plan.power) + "  # the column of the heat\n" +
         (plan.structure ? "structure = true\n" : "");
}

}  // namespace

std::string plan_text(const Plan& plan, std::string_view program) {
  if (plan.question == "fit") {
    return text_of_fit(plan);
  }
  std::ostringstream out;
  out << "# A plan of vorn-lab. Run it: " << program << ' ' << plan.question << " --plan FILE\n";
  if (!plan.phases.empty() && !plan.phases.back().until_stopped) {
    out << "# It takes " << spoken(longest_s(plan))
        << (settles(plan) ? " at most: what is to settle may do so sooner.\n" : ".\n");
  }
  out << "question = " << quoted(plan.question) << '\n';
  if (!plan.engine_options.empty()) {
    out << "engine_options = " << list(plan.engine_options) << '\n';
  } else {
    out << "load = " << quoted(plan.load) << '\n'
        << "threads = " << plan.threads << "  # 0: one for each processor\n"
        << "carrier = " << number(plan.carrier_hz) << "  # Hz, of a duty between 0 and 1\n"
        << "fans = " << fans_value(plan.fans) << "  # \"automatic\", \"maximum\", or RPM\n"
        << "pstate = " << (plan.pstate ? std::to_string(*plan.pstate) : quoted("automatic"))
        << '\n';
  }
  out << "rate = " << number(plan.rate_hz) << "  # samples per second\n"
      << "keys = " << list(plan.keys) << "  # empty: all temperatures, powers and fan speeds\n"
      << "power = " << quoted(plan.power) << "  # the key of the heat; empty: found by its name\n";
  if (plan.structure) {
    out << "structure = true  # the ladder behind each temperature as well\n";
  }
  if (plan.seed) {
    out << "seed = " << *plan.seed << "  # of the order of the points\n";
  }
  if (plan.error) {
    out << "error = " << number(*plan.error)
        << "  # part of a value; points are repeated until theirs is no larger\n";
  }
  if (!plan.limits.empty()) {
    out << "\n[limits]  # the run ends when a key shows more\n";
    for (const auto& [key, value] : plan.limits) {
      out << quoted(key) << " = " << number(value) << '\n';
    }
  }
  write_predicted(out, plan);
  for (const Phase& phase : plan.phases) {
    write_phase(out, phase);
  }
  return out.str();
}

}  // namespace lab
