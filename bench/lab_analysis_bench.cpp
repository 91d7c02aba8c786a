#include <benchmark/benchmark.h>

#include <cmath>
#include <random>

#include "lab/analysis/bode.h"
#include "lab/analysis/run.h"
#include "lab/analysis/step.h"
#include "lab/fakes/fake_two_nodes.h"

// How long the analysis of a day at 10 Hz takes: 864,000 rows, four temperatures with noise.

namespace {

using namespace lab;

const StepInput& day() {
  static const StepInput kDay = [] {
    const auto load = [](double time_s) { return std::fmod(time_s, 170) < 85 ? 0.0 : 1.0; };
    StepInput input = TwoNodes().record(load, 86400, 0.1);
    for (const char* name : {"TC1D", "TC1P"}) {
      input.temperatures.push_back(input.temperatures[input.temperatures.size() - 2]);
      input.temperatures.back().name = name;
    }
    std::mt19937_64 random(1);
    disturb(input, 0.2, 0, random);
    return input;
  }();
  return kDay;
}

void step_of_a_day(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(analyse_step(day()));
  }
}
BENCHMARK(step_of_a_day)->Unit(benchmark::kMillisecond);

void run_of_a_day(benchmark::State& state) {
  const Table table{.time_s = day().time_s, .columns = day().temperatures};
  for (auto _ : state) {
    benchmark::DoNotOptimize(analyse_run(table));
  }
}
BENCHMARK(run_of_a_day)->Unit(benchmark::kMillisecond);

// Nine frequencies at once.
const BodeInput& swinging_day() {
  static const BodeInput kDay = [] {
    Swing swing{.begin_s = 600, .end_s = 86400, .frequencies_hz = {}};
    for (const double times : {1, 2, 4, 7, 14, 27, 53, 103, 200}) {
      swing.frequencies_hz.push_back(0.01 * times);
    }
    const auto load = [&](double time_s) {
      double sum = time_s < 5 ? 0 : 0.45;
      for (const double frequency_hz : swing.frequencies_hz) {
        sum += time_s < 600 ? 0 : 0.045 * std::cos(6.283185307179586 * frequency_hz * time_s);
      }
      return sum;
    };
    StepInput record = TwoNodes().record(load, 86400, 0.1);
    for (const char* name : {"TC1D", "TC1P"}) {
      record.temperatures.push_back(record.temperatures[record.temperatures.size() - 2]);
      record.temperatures.back().name = name;
    }
    std::mt19937_64 random(1);
    disturb(record, 0.2, 0, random);
    BodeInput input{.time_s = record.time_s,
                    .heat = record.heat,
                    .heat_name = record.heat_name,
                    .loads = {{}},
                    .keys = record.temperatures,
                    .beside = {},
                    .swings = {swing},
                    .carrier_hz = 103.7,
                    .predicted = {},
                    .predicted_from = {}};
    for (const double time_s : input.time_s) {
      input.loads[0].push_back(load(time_s - 0.05));
    }
    return input;
  }();
  return kDay;
}

void bode_of_a_day(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(analyse_bode(swinging_day()));
  }
}
BENCHMARK(bode_of_a_day)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
