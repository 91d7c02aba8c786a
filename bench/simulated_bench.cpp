#include <benchmark/benchmark.h>

#include <list>
#include <string>

#include "SMC/SMC.h"

// What a sample costs on the simulated machine, through the whole stack: the framework, the driver,
// and the model that catches up with the time that has passed.

namespace {

void sample(benchmark::State& state) {
  const std::list<std::string> all = {"PC0C", "TC0D", "TC0P", "TA0P", "F0Ac",
                                      "F1Ac", "F2Ac", "F0Tg", "F1Tg", "F2Tg"};
  const auto count = static_cast<std::size_t>(state.range(0));
  std::list<std::string> keys = all;
  keys.resize(count);
  SMC smc(keys);
  std::list<float> values;
  for ([[maybe_unused]] auto once : state) {
    smc.sample(values);
    benchmark::DoNotOptimize(values);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

BENCHMARK(sample)->ArgName("keys")->Arg(1)->Arg(10);

BENCHMARK_MAIN();
