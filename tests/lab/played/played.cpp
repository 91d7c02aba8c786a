#include "lab/played/played.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Workload/activity.h"
#include "engine/loads/activities.h"
#include "lab/commands/settling.h"
#include "machines/simulated/keys.h"
#include "machines/simulated/power.h"

namespace lab {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kMs = 1e-3;

double activity_of(const std::string& load) {
  using namespace loads::activity;
  static const std::map<std::string, double> kActivities{
      {"mix", kMix}, {"fma", kFma}, {"cache", kCache},
      {"int", kInt}, {"mem", kMem}, {"spin", kOrdinaryActivity}};
  const std::string work = kActivities.contains(load) ? load : load.substr(1);  // "bmix" is "mix"
  return kActivities.at(work);
}

const simulated::Key& key_of(const std::string& name) {
  std::uint32_t code = 0;
  for (const char character : name) {
    code = (code << 8U) | static_cast<unsigned char>(character);
  }
  const simulated::Key* key = simulated::find_key(code);
  if (key == nullptr) {
    throw std::invalid_argument("the simulated machine has no key " + name);
  }
  return *key;
}

std::string unit_of(const std::string& name) {
  switch (name.front()) {
    case 'P':
      return "W";
    case 'T':
      return "degC";
    default:
      return "RPM";
  }
}

Column column(std::string name, std::string unit) {
  return {.name = std::move(name),
          .unit = std::move(unit),
          .source = "the simulated machine",
          .values = {}};
}

Column& column_of(Run& run, const std::string& name) {
  const auto found = std::find_if(run.samples.columns.begin(), run.samples.columns.end(),
                                  [&](const Column& one) { return one.name == name; });
  if (found == run.samples.columns.end()) {
    throw std::invalid_argument("no column " + name);
  }
  return *found;
}

/// How much of a stretch of a millisecond that begins at `begin_ms` lies in a pulse.
double overlap(double begin_ms, double pulse_begin_ms, double pulse_end_ms) {
  return std::max(0.0, std::min(begin_ms + 1, pulse_end_ms) - std::max(begin_ms, pulse_begin_ms));
}

}  // namespace

Player::Player(const Plan& plan) {
  run_.plan = plan;
  if (run_.plan.keys.empty()) {
    run_.plan.keys = {"PC0C", "TC0D", "TC0P", "F0Ac", "F1Ac", "F2Ac"};
  }
  run_.info.question = plan.question;
  run_.info.end = RunEnd::complete;
  run_.info.engine_status = 0;
  run_.info.host = "test";
  run_.info.simulated = true;
  run_.info.processors = 2;
  run_.delivery.whole = true;
  for (const auto& name : {kPhaseColumn, kAskedColumn, kDeliveredColumn, kOthersColumn}) {
    run_.samples.columns.push_back(column(std::string(name), ""));
  }
  for (const std::string& name : run_.plan.keys) {
    run_.samples.columns.push_back(column(name, unit_of(name)));
    run_.info.keys.push_back(
        {.name = name, .unit = unit_of(name), .source = "the simulated machine"});
  }
}

void Player::play() {
  for (std::size_t index = 0; index < run_.plan.phases.size(); ++index) {
    play_phase(index);
  }
}

void Player::play(const Phase& phase) {
  run_.plan.phases.push_back(phase);
  play_phase(run_.plan.phases.size() - 1);
}

void Player::play_phase(std::size_t index) {
  const Phase& phase = run_.plan.phases[index];
  force(phase);
  const double activity = activity_of(phase.load.value_or(run_.plan.load));
  const auto length_ms = static_cast<std::int64_t>(std::llround(phase.duration_s / kMs));
  const std::size_t first_row = run_.samples.time_s.size();
  phase_began_ms_ = now_ms_;
  std::int64_t next_look_ms = now_ms_ + 1000;
  while (now_ms_ < phase_began_ms_ + length_ms) {
    // Sample k is due at k / rate, whatever phase is played then.
    const double due_ms = static_cast<double>(samples_) / run_.plan.rate_hz / kMs;
    if (static_cast<double>(now_ms_) >= due_ms) {
      sample(index);
    }
    if (phase.until_settled && now_ms_ >= next_look_ms) {
      next_look_ms += 1000;
      if (all_settled(run_.samples, first_row, phase.drift)) {
        return;
      }
    }
    advance(phase.drive, activity);
  }
}

void Player::force(const Phase& phase) {
  simulated::Fans& real = model_.fans();
  for (std::size_t fan = 0; fan < simulated::kFans.size(); ++fan) {
    const bool meant = phase.fan.empty() || phase.fan == "F" + std::to_string(fan) + "Tg";
    const Fans fans = meant ? phase.fans.value_or(run_.plan.fans) : run_.plan.fans;
    real.set_force_bits(fans.hold == Fans::Hold::automatic ? 0 : 7);
    if (fans.hold != Fans::Hold::automatic) {
      real.set_target_rpm(
          fan, fans.hold == Fans::Hold::maximum ? simulated::kFans[fan].most_rpm : fans.rpm);
    }
  }
  const std::optional<int> pstate = phase.pstate ? phase.pstate : run_.plan.pstate;
  model_.force_pstate(pstate ? std::optional<std::size_t>(*pstate) : std::nullopt);
}

/// A shape begins at its least duty with the phase, and is read off where a period begins.
double Player::duty(const Drive& drive, std::uint64_t period) const {
  if (drive.shape == Drive::Shape::constant) {
    return drive.duty;
  }
  const double since_s = static_cast<double>(period) / run_.plan.carrier_hz -
                         static_cast<double>(phase_began_ms_) * kMs;
  if (drive.shape == Drive::Shape::sines) {
    double duty = drive.duty;
    for (const Sine& sine : drive.sines) {
      duty += sine.amplitude *
              std::cos(2 * kPi * (sine.frequency_hz * std::max(0.0, since_s) + sine.degrees / 360));
    }
    return std::clamp(duty, 0.0, 1.0);
  }
  const double wave = std::max(0.0, since_s) * drive.frequency_hz;
  const double part = wave - std::floor(wave);
  const double level = drive.shape == Drive::Shape::sinusoid ? 0.5 - 0.5 * std::cos(2 * kPi * part)
                                                             : 1 - std::abs(2 * part - 1);
  return std::clamp(drive.duty + drive.depth * level, 0.0, 1.0);
}

void Player::advance(const Drive& drive, double activity) {
  const double period_ms = 1 / run_.plan.carrier_hz / kMs;
  const auto begin_ms = static_cast<double>(now_ms_);
  double on_ms = 0;
  const auto first = static_cast<std::uint64_t>(begin_ms / period_ms);
  const auto last = static_cast<std::uint64_t>((begin_ms + 1) / period_ms);
  for (std::uint64_t period = first; period <= last; ++period) {
    const double pulse_ms = static_cast<double>(period) * period_ms;
    on_ms += overlap(begin_ms, pulse_ms, pulse_ms + duty(drive, period) * period_ms);
  }
  on_ms = std::min(on_ms, 1.0);
  model_.advance(simulated::Model::kStepNs, on_ms * activity);
  on_ms_ += on_ms;
  ++now_ms_;
}

void Player::sample(std::size_t phase) {
  const std::int64_t since_ms = now_ms_ - sampled_ms_;
  const double load = since_ms > 0 ? on_ms_ / static_cast<double>(since_ms) : 0;
  run_.samples.time_s.push_back(static_cast<double>(now_ms_) * kMs);
  std::vector<double> values{static_cast<double>(phase), load, load, 0};
  for (const std::string& name : run_.plan.keys) {
    const simulated::Key& key = key_of(name);
    values.push_back(key.type.decode(key.type.encode(key.value(model_))));
  }
  for (std::size_t index = 0; index < values.size(); ++index) {
    run_.samples.columns[index].values.push_back(values[index]);
  }
  on_ms_ = 0;
  sampled_ms_ = now_ms_;
  ++samples_;
  ++run_.delivery.samples;
}

Run played(const Plan& plan) {
  Player player(plan);
  player.play();
  return player.run();
}

void disturb(Run& run, const std::string& name, double noise, double step,
             std::mt19937_64& random) {
  std::normal_distribution<double> normal(0, noise);
  for (double& value : column_of(run, name).values) {
    value += noise > 0 ? normal(random) : 0;
    value = step > 0 ? std::round(value / step) * step : value;
  }
}

void slow_down(Run& run, const std::string& name, std::size_t rows) {
  std::vector<double>& values = column_of(run, name).values;
  for (std::size_t row = 0; row < values.size(); ++row) {
    values[row] = values[row - row % rows];
  }
}

}  // namespace lab
