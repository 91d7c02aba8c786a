#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>

#include "lab/analysis/step.h"
#include "lab/fakes/fake_two_nodes.h"
#include "lab/step_figures.h"
#include "machines/simulated/keys.h"
#include "machines/simulated/machine.h"

// A step on the simulated machine where the kernel stops everything of fixed priority for 50 ms of
// each second, as it does by default: load and sampler together.

namespace lab {
namespace {

constexpr std::int64_t kMs = 1'000'000;  // ns
constexpr int kRounds = 20;

using controller::four_characters;

// When the machine looks at the processor time, and so what its power is a mean of.
enum class Meter {
  when_sampled,  // the time since the sample before, 0.1 s at least
  always,        // the last 0.1 s
};

class HeldUp {
 public:
  HeldUp(Meter meter, std::uint64_t seed) : meter_(meter), random_(seed) {
    write(four_characters("FS! "), 7);
    write(four_characters("F0Tg"), 5200);
    write(four_characters("F1Tg"), 4400);
    write(four_characters("F2Tg"), 3800);
    input_.heat_name = "PC0C";
    input_.temperatures = {{"TC0D", "degC", "", {}}};
    input_.beside = {{"F0Ac", "RPM", "", {}}};
  }

  // 10 s of idleness, in which the fans come to their speed, 85 s of load, 80 s of idleness.
  StepInput record() {
    constexpr int kEnd_ms = 175000;
    std::uniform_int_distribution<int> hole(0, 949);
    std::uniform_int_distribution<int> late(0, 3);
    int due_ms = 0;
    int hole_ms = 0;
    for (int now_ms = 0; now_ms < kEnd_ms; ++now_ms) {
      if (now_ms % 1000 == 0) {
        hole_ms = now_ms + hole(random_);
      }
      const bool loaded = now_ms >= 10000 && now_ms < 95000;
      const bool stopped = loaded && now_ms >= hole_ms && now_ms < hole_ms + 50;
      if (now_ms >= due_ms && !stopped) {
        sample();
        due_ms = (now_ms / 100 + 1) * 100 + late(random_);
      }
      now_ns_ += kMs;
      used_ns_ += loaded && !stopped ? kMs : 0;
      if (meter_ == Meter::always) {
        read(four_characters("TC0D"));
      }
    }
    return input_;
  }

 private:
  double read(std::uint32_t name) {
    const simulated::Key& key = *simulated::find_key(name);
    return key.type.decode(machine_.read(key));
  }
  void write(std::uint32_t name, double value) {
    const simulated::Key& key = *simulated::find_key(name);
    machine_.write(key, key.type.encode(value));
  }
  void sample() {
    input_.time_s.push_back(static_cast<double>(now_ns_) * 1e-9);
    input_.heat.push_back(read(four_characters("PC0C")));
    input_.temperatures[0].values.push_back(read(four_characters("TC0D")));
    input_.beside[0].values.push_back(read(four_characters("F0Ac")));
  }

  Meter meter_;
  std::mt19937_64 random_;
  std::int64_t now_ns_ = 0;
  std::int64_t used_ns_ = 0;
  simulated::Machine machine_{{.now_ns = [this] { return now_ns_; },
                               .processor_time_ns = [this] { return used_ns_; },
                               .effective_user = [] { return uid_t{0}; },
                               .processors = 1}};
  StepInput input_;
};

bool holds(const Estimate& estimate, double truth) {
  return estimate.low <= truth && truth <= estimate.high;
}

// How many of the rounds hold the truth.
struct Held {
  int resistance = 0;
  int fast = 0;
  int slow = 0;
  double furthest = 0;  // a resistance from the truth, as a part of it

  Held(Meter meter, double noise, double step) {
    const TwoNodes truth;
    std::mt19937_64 random(3);
    for (std::uint64_t round = 0; round < kRounds; ++round) {
      StepInput input = HeldUp(meter, round).record();
      disturb(input, noise, step, random);
      const Answer answer = analyse_step(input);
      const Estimate found = lab::resistance(answer, "TC0D");
      resistance += holds(found, truth.die_k_w()) ? 1 : 0;
      furthest = std::max(furthest, std::abs(found.value / truth.die_k_w() - 1));
      if (stages(answer, "TC0D") == 2) {
        fast += holds(time_constant(answer, "TC0D", 0), truth.fast_s()) ? 1 : 0;
        slow += holds(time_constant(answer, "TC0D", 1), truth.slow_s()) ? 1 : 0;
      }
    }
  }
};

// What a hole does to the die is over within a late sample's time. A meter of the last 0.1 s does
// not show when in that time it was, so that it is not asked for the fast time constant.
void expect_truth(Meter meter, const Held& held) {
  EXPECT_GE(held.resistance, 0.9 * kRounds);
  EXPECT_GE(held.slow, 0.9 * kRounds);
  if (meter == Meter::when_sampled) {
    EXPECT_GE(held.fast, 0.9 * kRounds);
  }
}

class HeldUpStep : public testing::TestWithParam<Meter> {};

TEST_P(HeldUpStep, IntervalsHoldTheTruthInNineOfTenNoisyRecords) {
  const Held held(GetParam(), 0.3, 0);
  expect_truth(GetParam(), held);
  EXPECT_LT(held.furthest, 0.01);
}

// Read as means since the sample before, holes alone would make 0.3 % of the resistance.
TEST_P(HeldUpStep, IntervalsHoldTheTruthInNineOfTenQuietRecords) {
  const Held held(GetParam(), 0.02, 0);
  EXPECT_GE(held.resistance, 0.9 * kRounds);
  EXPECT_GE(held.slow, 0.9 * kRounds);
  EXPECT_LT(held.furthest, GetParam() == Meter::when_sampled ? 0.001 : 0.0025);
}

TEST(HeldUpCoarseStep, IntervalsHoldTheTruthInNineOfTenRecords) {
  expect_truth(Meter::when_sampled, Held(Meter::when_sampled, 0.3, 1));
}

INSTANTIATE_TEST_SUITE_P(Meters, HeldUpStep, testing::Values(Meter::when_sampled, Meter::always),
                         [](const auto& meter) {
                           return std::string(meter.param == Meter::always ? "Always"
                                                                           : "WhenSampled");
                         });

}  // namespace
}  // namespace lab
