// What the engine's loads reach of what this machine can do, in one run:
//
// fma:  operations per second beside the peak, that is lanes * 2 * units * clock. The clock is that
//       of a chain of dependent additions, one a cycle, among multiply-adds that leave it time,
//       so that it runs at the frequency of the wide vectors. The units are the multiply-adds that
//       an endless loop of them, without bursts and checks, begins in a cycle, rounded to whole
//       ones. The unrounded loop stands beside: where another machine shares the processor's units,
//       as under a hypervisor, the loop shows what was left of them.
// mem:  bytes per second beside the STREAM copy kernel, c[i] = a[i], with vectors, past the caches
//       as well as through them; the faster one counts. Same threads, same memory.
//
// Kernel and load take turns within milliseconds, since a shared machine is not the same machine a
// second later. A ratio is the median over the turns. Run it alone on the machine.
//
// `loads_bench` takes no arguments and needs no rights. It starts a thread for each processor.

#include <algorithm>
#include <barrier>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "bench/load_probes.h"
#include "engine/loads/calibration.h"
#include "engine/loads/fma_kernel.h"
#include "engine/loads/int_kernel.h"
#include "engine/loads/memory_kernel.h"
#include "engine/loads/memory_plan.h"
#include "engine/loads/mix_kernel.h"
#include "engine/loads/vector_target.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

struct Rates {
  double operations_per_s = 0;
  double bytes_per_s = 0;
  double burst_s = 0;
};

/// What the kernel does in the bursts of `length_s`.
Rates measure(loads::Kernel& kernel, double length_s) {
  Work work;
  double bursts = 0;
  const Clock::time_point begin = Clock::now();
  double took = 0;
  while (took < length_s) {
    for (int i = 0; i < 16; ++i) {
      const loads::Burst burst = kernel.burst();
      work.operations += burst.work.operations;
      work.bytes += burst.work.bytes;
      bursts += 1;
      if (!burst.correct) {
        std::fprintf(stderr, "a wrong result: this machine is not to be trusted\n");
        std::exit(1);
      }
    }
    took = seconds_since(begin);
  }
  return {static_cast<double>(work.operations) / took, static_cast<double>(work.bytes) / took,
          took / bursts};
}

/// Runs `turn` as often as `turns` says on every thread, all beginning each turn together.
/// `prepare` makes what a thread's turns work on.
template <typename State>
void on_threads(unsigned threads, int turns, const std::function<std::unique_ptr<State>()>& prepare,
                const std::function<void(State&, unsigned thread)>& turn) {
  std::barrier together(static_cast<std::ptrdiff_t>(threads));
  std::vector<std::thread> running;
  for (unsigned t = 0; t < threads; ++t) {
    running.emplace_back([&, t] {
      const std::unique_ptr<State> state = prepare();
      for (int i = 0; i < turns; ++i) {
        together.arrive_and_wait();
        turn(*state, t);
      }
    });
  }
  for (std::thread& thread : running) {
    thread.join();
  }
}

std::unique_ptr<loads::Kernel> calibrated(std::unique_ptr<loads::Kernel> kernel) {
  loads::calibrate(*kernel);
  return kernel;
}

std::vector<double> all_of(const std::vector<std::vector<double>>& of_threads) {
  std::vector<double> all;
  for (const auto& values : of_threads) {
    all.insert(all.end(), values.begin(), values.end());
  }
  return all;
}

using PerThread = std::vector<std::vector<double>>;

constexpr double kTurnS = 0.003;
constexpr int kTurns = 300;

void fma_beside_the_peak(unsigned threads) {
  PerThread per_cycle(threads);
  PerThread load(threads);
  PerThread clock(threads);
  PerThread beside_loop(threads);
  on_threads<loads::Kernel>(
      threads, kTurns, [] { return calibrated(loads::make_fma_kernel()); },
      [&](loads::Kernel& kernel, unsigned t) {
        const double clock_before = probes::clock_hz(kTurnS / 2);
        const double loop_before = probes::multiply_adds_per_s(kTurnS / 2);
        const double operations = measure(kernel, kTurnS).operations_per_s;
        const double loop = (loop_before + probes::multiply_adds_per_s(kTurnS / 2)) / 2;
        const double hz = (clock_before + probes::clock_hz(kTurnS / 2)) / 2;
        const double lanes = static_cast<double>(loads::vector_bytes()) / sizeof(double);
        clock[t].push_back(hz);
        per_cycle[t].push_back(loop / hz);
        load[t].push_back(operations / (2 * lanes) / hz);
        beside_loop[t].push_back(operations / (2 * lanes) / loop);
      });
  const double began = median(all_of(per_cycle));
  const double units = std::max(1.0, static_cast<double>(static_cast<int>(began + 0.5)));
  const double lanes = static_cast<double>(loads::vector_bytes()) / sizeof(double);
  const double hz = median(all_of(clock));
  const double reached = median(all_of(load));
  std::printf(
      "fma    %s, %.0f lanes, clock %.2f GHz, multiply-adds begun per cycle %.2f: %.0f unit(s)\n",
      loads::vector_target().c_str(), lanes, hz * 1e-9, began, units);
  std::printf(
      "       %.1f of %.1f Gop/s for each thread: %.1f %% of the peak, %.1f %% of the loop\n",
      reached * 2 * lanes * hz * 1e-9, units * 2 * lanes * hz * 1e-9, 100 * reached / units,
      100 * median(all_of(beside_loop)));
}

/// What a thread's memory turns work on.
struct MemoryTurn {
  std::unique_ptr<loads::Kernel> kernel;
  std::unique_ptr<probes::Copy> copy;
};

void mem_beside_stream_copy(unsigned threads, const loads::MemoryPlan& plan) {
  PerThread load(threads);
  PerThread copy(threads);
  PerThread ratio(threads);
  on_threads<MemoryTurn>(
      threads, kTurns / 2,
      [&] {
        auto turn = std::make_unique<MemoryTurn>();
        turn->kernel = calibrated(loads::make_memory_kernel(plan.mem, loads::Stores::kPastCaches));
        turn->copy = std::make_unique<probes::Copy>(plan.mem / 2);
        return turn;
      },
      [&](MemoryTurn& turn, unsigned t) {
        const double past = turn.copy->bytes_per_s(kTurnS, loads::Stores::kPastCaches);
        const double through = turn.copy->bytes_per_s(kTurnS, loads::Stores::kThroughCaches);
        const double bytes = measure(*turn.kernel, 2 * kTurnS).bytes_per_s;
        const double faster = std::max(past, through);
        load[t].push_back(bytes);
        copy[t].push_back(faster);
        ratio[t].push_back(bytes / faster);
      });
  std::printf("mem    %zu MiB for each thread; %.2f GB/s, STREAM copy %.2f GB/s: %.1f %%\n",
              plan.mem >> 20U, median(all_of(load)) * 1e-9, median(all_of(copy)) * 1e-9,
              100 * median(all_of(ratio)));
}

void other(const char* name, unsigned threads,
           const std::function<std::unique_ptr<loads::Kernel>()>& make) {
  PerThread operations(threads);
  PerThread bytes(threads);
  PerThread burst(threads);
  on_threads<loads::Kernel>(
      threads, kTurns / 3, [&] { return calibrated(make()); },
      [&](loads::Kernel& kernel, unsigned t) {
        const Rates rates = measure(kernel, kTurnS);
        operations[t].push_back(rates.operations_per_s);
        bytes[t].push_back(rates.bytes_per_s);
        burst[t].push_back(rates.burst_s);
      });
  std::printf("%-6s %.2f Gop/s, %.2f GB/s for each thread; a burst %.2f us\n", name,
              median(all_of(operations)) * 1e-9, median(all_of(bytes)) * 1e-9,
              median(all_of(burst)) * 1e6);
}

}  // namespace

int main(int argc, char* /*argv*/[]) {
  if (argc != 1) {
    std::fprintf(stderr, "usage: loads_bench\n");
    return 2;
  }
  const unsigned threads = std::max(1U, std::thread::hardware_concurrency());
  const loads::MachineMemory machine =
      loads::read_machine_memory("/sys/devices/system/cpu", "/proc/meminfo");
  const loads::MemoryPlan plan = loads::plan_memory(machine, threads, threads);
  std::printf("%u threads; caches: second %zu KiB a processor, last %zu MiB together\n", threads,
              machine.second_cache >> 10U, machine.last_cache >> 20U);
  fma_beside_the_peak(threads);
  mem_beside_stream_copy(threads, plan);
  other("fma", threads, loads::make_fma_kernel);
  other("int", threads, loads::make_int_kernel);
  other("mem", threads,
        [&] { return loads::make_memory_kernel(plan.mem, loads::Stores::kPastCaches); });
  other("cache", threads,
        [&] { return loads::make_memory_kernel(plan.cache, loads::Stores::kThroughCaches); });
  other("mix", threads, [&] {
    return loads::make_mix_kernel(
        {.second_cache = plan.cache, .last_cache = plan.mix_last, .memory = plan.mem});
  });
}
