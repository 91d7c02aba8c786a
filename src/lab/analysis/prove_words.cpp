#include "lab/analysis/prove_words.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/prove_kernel_words.h"
#include "lab/analysis/prove_times.h"
#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

constexpr double kMicrosecond = 1e-6;

/// A time in the unit in which people would say it.
std::string time_text(double time_s) {
  return time_s < 1 ? spoken_number(1000 * time_s, 2) + " ms" : spoken_number(time_s, 2) + " s";
}

/// A frequency of one digit, and not above what it is.
std::string below(double hertz) {
  const double magnitude = std::pow(10, std::floor(std::log10(hertz)));
  return spoken_number(std::floor(hertz / magnitude + 1e-9) * magnitude, 1) + " Hz";
}

double floor_on_us(const Proof& proof) {
  return proof.floor_on_s / kMicrosecond;
}

double duty_error(const WaveformTruth& square) {
  const double duty = square.duty ? square.duty->value : square.duty_between;
  return std::abs(duty - square.duty_asked);
}

std::string wave_clause(const Proof& proof) {
  const WaveformTruth& square = proof.square;
  std::string text = "a " + spoken_number(proof.carrier_hz, 3) +
                     " Hz square wave is delivered with " +
                     spoken_number(100 * duty_error(square), 1) + " % duty error; edges p99 " +
                     microseconds(edges_us(square), half_period_us(proof));
  if (square.skew.count() > 0) {
    text += "; skew p99 " + microseconds(square.skew.at(0.99), half_period_us(proof));
  }
  return text;
}

std::string floor_clause(const Proof& proof) {
  return "this machine's wake-up floor is " +
         microseconds(proof.floor.on.at(0.5), floor_on_us(proof)) + " (p99 " +
         microseconds(proof.floor.on.at(0.99), floor_on_us(proof)) + ")";
}

std::string sensor_clause(const SensorReach& sensor) {
  if (!sensor.highest_hz) {
    return sensor.name + (sensor.truth.levels < 2 ? " never changed" : " changed too seldom") +
           ": what it can show is not known";
  }
  const std::string end = ": see nothing above " + below(*sensor.highest_hz);
  if (sensor.rise && *sensor.highest_hz * 3 * *sensor.truth.update_interval_s < 0.999) {
    return sensor.name + " takes " + time_text(sensor.rise->rise_s) + " to follow a step" + end;
  }
  return sensor.name + " updates " + (sensor.truth.slow() ? "every " : "at least every ") +
         time_text(*sensor.truth.update_interval_s) + end;
}

/// Of the sensors of a unit, the one that shows the fastest waves; null if there is none.
const SensorReach* fastest(const Proof& proof, const char* unit) {
  const SensorReach* best = nullptr;
  for (const SensorReach& sensor : proof.sensors) {
    if (sensor.unit == unit && (best == nullptr || sensor.highest_hz > best->highest_hz)) {
      best = &sensor;
    }
  }
  return best;
}

std::string sentence(std::string clause) {
  clause[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(clause[0])));
  return clause + ".";
}

/// `more`: beside those of `spread`, events that are not in it.
std::vector<ResultTable::Cell> row(const char* what, const Spread& spread, std::size_t more = 0) {
  const auto at = [&](double time_us) {
    return std::isnan(time_us)   ? std::string("not known")
           : std::isinf(time_us) ? "not seen"
                                 : spoken_number(time_us, 3) + " us";
  };
  return {what,
          at(spread.at(0.5)),
          at(spread.at(0.99)),
          at(spread.most()),
          std::to_string(spread.count() + more),
          std::to_string(spread.missed() + more)};
}

ResultTable edges_table(const Proof& proof) {
  ResultTable table{.title = "Behind the plan",
                    .head = {"What", "Median", "99 %", "Most", "Number", "Not seen"},
                    .rows = {}};
  const auto add = [&](const char* what, const Spread& spread) {
    if (spread.count() > 0) {
      table.rows.push_back(row(what, spread));
    }
  };
  const auto add_seen = [&](const char* what, const Spread& spread) {
    if (!spread.sorted().empty()) {
      table.rows.push_back(row(what, seen(spread), spread.missed()));
    }
  };
  add("wake-up without load (the floor)", proof.floor.on);
  add("on edge, each thread", proof.square.on);
  add("off edge, each thread", proof.square.off);
  add("skew, last thread behind the first", proof.square.skew);
  if (proof.kernel) {
    add_seen("on edge, by the kernel's trace", proof.kernel->wave.on);
    add_seen("off edge, by the kernel's trace", proof.kernel->wave.off);
    add_seen("skew, by the kernel's trace", proof.kernel->wave.skew);
    add_seen("begin by the engine, behind the kernel's", proof.kernel->read_behind);
  }
  add("sample complete, behind its grid", proof.grid);
  return table;
}

ResultTable delivered_table(const Proof& proof) {
  const WaveformTruth& square = proof.square;
  ResultTable table{.title = "The square wave", .head = {"What", "Asked", "Delivered"}, .rows = {}};
  const std::string asked = spoken_number(square.duty_asked, 4);
  if (square.frequency) {
    table.rows.push_back({"frequency, by the machine's clock",
                          spoken_number(proof.carrier_hz, 4) + " Hz", *square.frequency});
  }
  if (square.duty) {
    table.rows.push_back({"duty, processor time by the kernel's account", asked, *square.duty});
  }
  table.rows.push_back(
      {"duty, between the edges of each thread", asked, spoken_number(square.duty_between, 4)});
  if (proof.kernel) {
    table.rows.push_back({"the same by the kernel's trace", asked,
                          spoken_number(proof.kernel->wave.duty_between, 4)});
  }
  return table;
}

ResultTable sensor_table(const Proof& proof) {
  ResultTable table{
      .title = "Sensors",
      .head = {"Key", "Unit", "Step", "New value every", "Rise after a step", "Nothing above"},
      .rows = {}};
  for (const SensorReach& sensor : proof.sensors) {
    const auto& interval = sensor.truth.update_interval_s;
    table.rows.push_back({sensor.name, spoken_unit(sensor.unit),
                          sensor.truth.step > 0 ? spoken_number(sensor.truth.step, 2) : "not known",
                          !interval             ? "not known"
                          : sensor.truth.slow() ? time_text(*interval)
                                                : "at most " + time_text(*interval),
                          sensor.rise ? time_text(sensor.rise->rise_s) : "",
                          sensor.highest_hz ? below(*sensor.highest_hz) : "not known"});
  }
  return table;
}

/// How fast a wave may be for its edges to keep their place within a hundredth of a half period.
std::string waves_text(const Proof& proof) {
  const double late_us = edges_us(proof.square);
  return std::isfinite(late_us) && late_us > 0
             ? "up to " + below(1 / (200 * late_us * kMicrosecond)) +
                   ": 99 of 100 edges keep their place within 1 % of half a period"
             : "slower ones than this: too many edges were missed";
}

std::string swings_text(const SensorReach* sensor, const char* none) {
  if (sensor == nullptr) {
    return none;
  }
  return sensor->highest_hz ? "up to " + below(*sensor->highest_hz) + " (" + sensor->name + ")"
                            : "not known: no sensor of it changed often enough";
}

ResultTable possible_table(const Proof& proof) {
  const SensorReach* power = fastest(proof, "W");
  const SensorReach* temperature = fastest(proof, "degC");
  ResultTable table{.title = "What can be measured here", .head = {"What", "How far"}, .rows = {}};
  table.rows.push_back({"waves of the load", waves_text(proof)});
  table.rows.push_back({"swings of power", swings_text(power, "not here: no power is measured")});
  table.rows.push_back(
      {"swings of temperature", swings_text(temperature, "not here: no temperature is measured")});
  table.rows.push_back(
      {"thermal resistance", temperature == nullptr ? "not here: no temperature is measured"
                             : power == nullptr ? "in K for the whole load: no power is measured"
                                                : "in K/W"});
  table.rows.push_back(
      {"samples", "at " + spoken_number(proof.rate_hz, 3) + " Hz, " +
                      (std::isfinite(proof.grid.at(0.99))
                           ? "99 of 100 within " + time_text(kMicrosecond * proof.grid.at(0.99)) +
                                 " of their grid"
                           : "more than 1 of 100 left out")});
  table.rows.push_back({"the waveform as others see it", who_else_saw_it(proof)});
  return table;
}

void judge_floor(const Proof& proof, std::vector<std::string>& warnings) {
  constexpr double kQuiet_us = 100;
  constexpr double kTimes = 3;
  const double floor_us = proof.floor.on.at(0.99);
  const double edge_us = proof.square.on.at(0.99);
  if (floor_us > kQuiet_us) {
    warnings.push_back("One wake-up in a hundred without load is later than " +
                       microseconds(std::min(floor_us, floor_on_us(proof)), 0) +
                       ": no waveform here can be better than that. Stop other programs, forbid "
                       "deep idle states; on a virtual machine, the host decides.");
  }
  if (std::isfinite(floor_us) && edge_us > kTimes * floor_us && edge_us > kQuiet_us) {
    warnings.push_back("Edges are later than the machine's own wake-ups explain: " +
                       microseconds(edge_us, half_period_us(proof)) + " against " +
                       microseconds(floor_us, 0) +
                       " (p99). Look for what else ran at a fixed priority.");
  }
}

}  // namespace

std::string prove_verdict(const Proof& proof) {
  if (proof.square.periods == 0) {
    return "no square wave was played: nothing is proven";
  }
  std::string text = wave_clause(proof);
  if (proof.floor.on.count() > 0) {
    text += "; " + floor_clause(proof);
  }
  for (const char* unit : {"W", "degC"}) {
    if (const SensorReach* sensor = fastest(proof, unit)) {
      return text + "; " + sensor_clause(*sensor);
    }
  }
  return text + "; no power and no temperature was sampled";
}

std::vector<std::string> prove_sentences(const Proof& proof) {
  if (proof.square.periods == 0) {
    return {sentence(prove_verdict(proof))};
  }
  std::vector<std::string> sentences{
      sentence(wave_clause(proof) +
               (proof.floor.on.count() > 0 ? "; " + floor_clause(proof) : std::string()))};
  for (const SensorReach& sensor : proof.sensors) {
    if (sensor.unit == "W") {
      sentences.push_back(sentence(sensor_clause(sensor)));
    }
  }
  if (const SensorReach* temperature = fastest(proof, "degC")) {
    sentences.push_back(sentence("of the temperatures, " + sensor_clause(*temperature)));
  }
  sentences.push_back(whose_word(proof));
  return sentences;
}

std::vector<ResultTable> prove_tables(const Proof& proof) {
  if (proof.square.periods == 0) {
    return {sensor_table(proof)};
  }
  return {possible_table(proof), edges_table(proof), delivered_table(proof), sensor_table(proof)};
}

std::vector<std::string> prove_warnings(const Proof& proof) {
  std::vector<std::string> warnings;
  if (!proof.fixed_priority) {
    warnings.emplace_back(
        "The load ran at an ordinary priority: figures are those of any program, which others hold "
        "up. \"vorn-lab doctor\" says how it may have a fixed one.");
  }
  judge_floor(proof, warnings);
  if (proof.kernel) {
    judge_kernel(*proof.kernel, warnings);
  }
  if (const std::size_t missed = proof.square.on.missed(); missed > 0) {
    warnings.push_back(std::to_string(missed) + " of " + std::to_string(proof.square.on.count()) +
                       " times a thread did not begin in an on phase of the square wave: something "
                       "kept it from its processor throughout.");
  }
  if (const std::size_t left_out = proof.grid.missed(); left_out > 0) {
    warnings.push_back(std::to_string(left_out) + " of " + std::to_string(proof.grid.count()) +
                       " samples were left out: reading all keys took longer than the grid allows, "
                       "or something held the machine up. Sample fewer keys, or less often.");
  }
  if (proof.cut) {
    warnings.emplace_back(
        "The run was longer than what is kept edge by edge: figures are of its "
        "beginning.");
  }
  return warnings;
}

}  // namespace lab
