#include "lab/questions/prove.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "lab/data/instants.h"
#include "lab/questions/number_range.h"

// The floor is what waking up takes when there is no load to be in the way. The threads of the load
// measure it themselves, with the clock and the priority that they have for the square wave: they
// wake for bursts of 0.5 ms, and between two of them the machine has nothing to do. What they do
// after they woke no longer counts.

namespace lab {

namespace {

constexpr const char* kFloor = "floor";
constexpr const char* kSquare = "square";

/// What happens at a change of the load, and before its end is known, is left out.
constexpr std::int64_t kBegin_ns = 500'000'000;
constexpr std::int64_t kEnd_ns = 100'000'000;

Phase phase(const char* name, double duty, double duration_s) {
  Phase made;
  made.name = name;
  made.drive.duty = duty;
  made.duration_s = duration_s;
  return made;
}

/// When phase `index` took effect, and when the next one did.
std::optional<Stretch> stretch_of(const Run& run, std::size_t index) {
  const std::vector<std::int64_t>& asked = run.stimulus.asked_ns;
  if (index >= asked.size() || run.stimulus.edges.empty()) {
    return std::nullopt;
  }
  const std::int64_t end =
      index + 1 < asked.size() ? asked[index + 1] : run.stimulus.edges.back().planned_ns;
  return Stretch{.from_ns = asked[index], .to_ns = end};
}

std::optional<Stretch> inner(const std::optional<Stretch>& stretch) {
  return stretch ? std::optional(Stretch{.from_ns = stretch->from_ns + kBegin_ns,
                                         .to_ns = stretch->to_ns - kEnd_ns})
                 : std::nullopt;
}

double seconds(const Stretch& stretch) {
  return static_cast<double>(stretch.to_ns - stretch.from_ns) / kSecond_ns;
}

/// Changes of a constant duty to another one.
std::vector<LoadStep> steps_of(const Run& run) {
  std::vector<LoadStep> steps;
  if (run.stimulus.samples.empty()) {
    return steps;
  }
  const std::int64_t zero_ns = run.stimulus.samples.front().instant_ns;
  for (std::size_t index = 1; index < run.plan.phases.size(); ++index) {
    const Drive& before = run.plan.phases[index - 1].drive;
    const Drive& after = run.plan.phases[index].drive;
    const std::optional<Stretch> old_part = stretch_of(run, index - 1);
    const std::optional<Stretch> new_part = stretch_of(run, index);
    const bool constant =
        before.shape == Drive::Shape::constant && after.shape == Drive::Shape::constant;
    if (constant && old_part && new_part && before.duty != after.duty) {
      steps.push_back({.time_s = static_cast<double>(new_part->from_ns - zero_ns) / kSecond_ns,
                       .before_s = seconds(*old_part),
                       .after_s = seconds(*new_part)});
    }
  }
  return steps;
}

}  // namespace

ProveInput prove_input(const Run& run) {
  ProveInput input{.stimulus = run.stimulus,
                   .scheduler = run.scheduler,
                   .samples = run.samples,
                   .carrier_hz = run.plan.carrier_hz,
                   .rate_hz = run.plan.rate_hz,
                   .floor = {},
                   .square = {},
                   .steps = steps_of(run)};
  for (std::size_t index = 0; index < run.plan.phases.size(); ++index) {
    const Phase& one = run.plan.phases[index];
    if (one.name == kFloor) {
      input.floor = inner(stretch_of(run, index));
      input.floor_on_s = one.drive.duty / run.plan.carrier_hz;
    } else if (one.name == kSquare) {
      input.square = inner(stretch_of(run, index));
    }
  }
  return input;
}

void Prove::add_options(CLI::App& app) {
  app.add_option("--frequency", frequency_hz_, "frequency of the square wave (default: 100)")
      ->check(number_from(10.0, 2000.0))
      ->option_text("<hz>");
  app.add_option("--duty", duty_, "duty of the square wave (default: 0.5)")
      ->check(number_from(0.05, 0.95))
      ->option_text("<d>");
}

Plan Prove::defaults() const {
  Plan plan;
  plan.load = "bspin";  // it needs no time to be made, and has the shortest bursts
  plan.carrier_hz = frequency_hz_;
  plan.rate_hz = 50;
  return plan;
}

Plan Prove::plan() const {
  constexpr double kFloorOn_s = 0.0005;
  constexpr double kMostFloorDuty = 0.1;
  constexpr int kSteps = 8;
  Plan plan = defaults();
  plan.question = name();
  plan.phases = {phase(kFloor, std::min(kFloorOn_s * frequency_hz_, kMostFloorDuty), 10),
                 phase(kSquare, duty_, 15)};
  for (int step = 0; step < kSteps; ++step) {
    plan.phases.push_back(phase("low", 0.1, 1));
    plan.phases.push_back(phase("high", 0.9, 1));
  }
  return plan;
}

Answer Prove::analyse(const Run& run) const {
  return analyse_prove(prove_input(run));
}

std::vector<std::string> Prove::lacks(const Offer& offer) const {
  std::vector<std::string> found;
  if (!offer.power) {
    found.emplace_back("no power: what a sensor of it can show is not found");
  }
  if (!offer.temperatures) {
    found.emplace_back("no temperature: what a sensor of it can show is not found");
  }
  return found;
}

}  // namespace lab
