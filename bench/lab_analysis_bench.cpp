#include <benchmark/benchmark.h>

#include "lab/analysis/bode.h"
#include "lab/analysis/comparison.h"
#include "lab/analysis/fans.h"
#include "lab/analysis/prove.h"
#include "lab/analysis/replay.h"
#include "lab/analysis/run.h"
#include "lab/analysis/step.h"
#include "lab/analysis/sweep.h"
#include "lab_days.h"

// How long each analysis of a day at 10 Hz takes. The days are made before the clock runs.

namespace {

using namespace lab;

void step_of_a_day(benchmark::State& state) {
  const StepInput input = stepping_day(static_cast<double>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(analyse_step(input));
  }
}
BENCHMARK(step_of_a_day)->Arg(170)->Arg(86400)->ArgName("period_s")->Unit(benchmark::kMillisecond);

void structure_of_a_day(benchmark::State& state) {
  StepInput input = stepping_day(static_cast<double>(state.range(0)));
  input.structure = true;
  for (auto _ : state) {
    benchmark::DoNotOptimize(analyse_step(input));
  }
}
BENCHMARK(structure_of_a_day)
    ->Arg(170)
    ->Arg(86400)
    ->ArgName("period_s")
    ->Unit(benchmark::kMillisecond);

void run_of_a_day(benchmark::State& state) {
  const StepInput day = stepping_day(170);
  const Table table{.time_s = day.time_s, .columns = day.temperatures};
  for (auto _ : state) {
    benchmark::DoNotOptimize(analyse_run(table));
  }
}
BENCHMARK(run_of_a_day)->Unit(benchmark::kMillisecond);

void bode_of_a_day(benchmark::State& state) {
  const BodeInput input = swinging_day(state.range(0) != 0 ? Swings::at_once : Swings::one_by_one);
  for (auto _ : state) {
    benchmark::DoNotOptimize(analyse_bode(input));
  }
}
BENCHMARK(bode_of_a_day)->Arg(0)->Arg(1)->ArgName("fast")->Unit(benchmark::kMillisecond);

void sweep_of_a_day(benchmark::State& state) {
  const SweepInput input = sweeping_day();
  for (auto _ : state) {
    benchmark::DoNotOptimize(analyse_sweep(input));
  }
}
BENCHMARK(sweep_of_a_day)->Unit(benchmark::kMillisecond);

// What a sweep asks whenever it has been everywhere.
void points_to_repeat_of_a_day(benchmark::State& state) {
  const SweepInput input = sweeping_day();
  for (auto _ : state) {
    benchmark::DoNotOptimize(points_to_repeat(input));
  }
}
BENCHMARK(points_to_repeat_of_a_day)->Unit(benchmark::kMillisecond);

void fans_of_a_day(benchmark::State& state) {
  const FansDay day = day_of_fans(static_cast<double>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(analyse_fans(day.samples, day.fans));
  }
}
BENCHMARK(fans_of_a_day)->Arg(8)->Arg(4800)->ArgName("stay_s")->Unit(benchmark::kMillisecond);

void prove_of_a_day(benchmark::State& state) {
  const ProveInput input = proving_day();
  for (auto _ : state) {
    benchmark::DoNotOptimize(analyse_prove(input));
  }
}
BENCHMARK(prove_of_a_day)->Unit(benchmark::kMillisecond);

void watch_of_a_replayed_day(benchmark::State& state) {
  const Table day = replayed_day();
  for (auto _ : state) {
    Answer answer = analyse_run(day, {.phases = {}, .watched = true});
    tell_replay(day, answer);
    benchmark::DoNotOptimize(answer);
  }
}
BENCHMARK(watch_of_a_replayed_day)->Unit(benchmark::kMillisecond);

// The answers to two days over each other; their analyses are those above.
void compare_of_two_days(benchmark::State& state) {
  const Answer sweep = analyse_sweep(sweeping_day());
  StepInput day = stepping_day(170);
  day.structure = true;
  const Answer step = analyse_step(day);
  for (auto _ : state) {
    for (const Answer* answer : {&sweep, &step}) {
      const ComparedRun run{.name = "day", .answer = *answer, .conditions = {}};
      benchmark::DoNotOptimize(compare({run, run}, {}));
    }
  }
}
BENCHMARK(compare_of_two_days)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
