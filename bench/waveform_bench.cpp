#include <benchmark/benchmark.h>
#include <sched.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "processor_probe.h"
#include "support/program.h"
#include "vorn/settings.h"
#include "vorn/toggle_schedule.h"
#include "waveform_analysis.h"

// The power waveform as the processors see it: vorn runs as a process, probes watch from outside.
// Beside it, in the same run and under the same probes, the machine's own floor: how late a
// fixed-priority thread wakes that does nothing but sleep.

namespace {

using program::As;

constexpr int kPriority = 63;
constexpr int kWorkloadPriority = 31;

struct Waveform {
  const char* name;
  std::vector<std::string> options;
  double frequency;
  double sinusoid;
  double triangle;
  double seconds;
};

const Waveform kWaveforms[] = {
    {"square/1Hz", {"-f", "1"}, 1, 0, 0, 20},
    {"square/10Hz", {"-f", "10"}, 10, 0, 0, 9},
    {"square/100Hz", {"-f", "100"}, 100, 0, 0, 9},
    {"square/1000Hz", {"-f", "1000"}, 1000, 0, 0, 9},
    {"sinusoid/1Hz_at_100Hz", {"-f", "100", "-z", "1"}, 100, 1, 0, 9},
    {"triangle/1Hz_at_100Hz", {"-f", "100", "-e", "1"}, 100, 0, 1, 9},
};

/// How late each of `count` sleeps of `length` seconds ended, in seconds.
std::vector<double> sleep_latencies(double length, int count) {
  std::vector<double> latencies;
  std::thread sleeper([&] {
    sched_param param{};
    param.sched_priority = kPriority;
    sched_setscheduler(0, SCHED_FIFO, &param);
    for (int i = 0; i < count; ++i) {
      const double start = monotonic_seconds();
      usleep(static_cast<useconds_t>(1e6 * length));
      latencies.push_back(monotonic_seconds() - start - length);
    }
  });
  sleeper.join();
  return latencies;
}

std::vector<Slot> wanted(const Waveform& waveform) {
  frequency = waveform.frequency;
  sinusoid = waveform.sinusoid;
  triangle = waveform.triangle;
  std::vector<unsigned> times;
  toggle_times(times);
  std::vector<Slot> wave;
  for (std::size_t i = 0; i + 1 < times.size(); i += 2) {
    wave.push_back({times[i] * 1e-6, times[i + 1] * 1e-6});
  }
  return wave;
}

std::vector<std::vector<Interval>> watch_run(const Waveform& waveform, int processors) {
  program::Command command;
  command.path = VORN_PROGRAM;
  command.arguments = {"-w", "bspin", "-c", std::to_string(processors)};
  command.arguments.insert(command.arguments.end(), waveform.options.begin(),
                           waveform.options.end());
  std::vector<std::unique_ptr<ProcessorProbe>> probes;
  for (int processor = 0; processor < processors; ++processor) {
    probes.push_back(std::make_unique<ProcessorProbe>(processor));
  }
  usleep(200000);
  program::Running running(command);
  usleep(100000);  // until its threads are there
  const Witness witness(running.pid(), kWorkloadPriority);
  for (const auto& probe : probes) {
    probe->call(witness);
  }
  usleep(static_cast<useconds_t>(1e6 * waveform.seconds));
  running.send(SIGINT);
  running.wait();
  std::vector<std::vector<Interval>> holes;
  for (const auto& probe : probes) {
    holes.push_back(probe->stop());
  }
  return holes;
}

/// The floor under the probes, so that no processor sleeps deeper here than there.
std::vector<double> floor_latencies(int processors) {
  std::vector<std::unique_ptr<ProcessorProbe>> probes;
  for (int processor = 0; processor < processors; ++processor) {
    probes.push_back(std::make_unique<ProcessorProbe>(processor));
  }
  std::vector<double> latencies = sleep_latencies(0.0005, 2000);
  const std::vector<double> longer = sleep_latencies(0.005, 400);
  latencies.insert(latencies.end(), longer.begin(), longer.end());
  return latencies;
}

/// The part of the processors that others use while vorn does not run.
double idle_noise(int processors) {
  constexpr double kSeconds = 1.0;
  std::vector<std::unique_ptr<ProcessorProbe>> probes;
  for (int processor = 0; processor < processors; ++processor) {
    probes.push_back(std::make_unique<ProcessorProbe>(processor));
  }
  usleep(static_cast<useconds_t>(1e6 * kSeconds));
  double used = 0.0;
  for (const auto& probe : probes) {
    for (const Interval& hole : probe->stop()) {
      used += hole.length();
    }
  }
  return used / kSeconds / processors;
}

void measure(benchmark::State& state, const Waveform& waveform) {
  const auto processors = static_cast<int>(std::thread::hardware_concurrency());
  for ([[maybe_unused]] auto once : state) {
    const std::vector<double> floor = floor_latencies(processors);
    std::vector<double> errors;
    Measured mean{};
    for (const auto& holes : watch_run(waveform, processors)) {
      const Measured measured = analyse(holes, wanted(waveform));
      errors.insert(errors.end(), measured.on_errors.begin(), measured.on_errors.end());
      mean.duty += measured.duty / processors;
      mean.frequency_error += measured.frequency_error / processors;
      mean.on_load += measured.on_load / processors;
      mean.off_load += measured.off_load / processors;
      mean.disturbed += measured.disturbed / processors;
    }
    if (errors.empty()) {
      state.SkipWithError("no waveform was seen");
      return;
    }
    const double floor99 = percentile_of_absolute(floor, 0.99);
    const double error99 = percentile_of_absolute(errors, 0.99);
    state.counters["duty_%"] = 100.0 * mean.duty;
    state.counters["freq_err_%"] = 100.0 * mean.frequency_error;
    state.counters["on_err_p50_us"] = 1e6 * percentile_of_absolute(errors, 0.5);
    state.counters["on_err_p99_us"] = 1e6 * error99;
    state.counters["floor_p50_us"] = 1e6 * percentile_of_absolute(floor, 0.5);
    state.counters["floor_p99_us"] = 1e6 * floor99;
    state.counters["p99_over_floor"] = error99 / floor99;
    state.counters["on_load_%"] = 100.0 * mean.on_load;
    state.counters["disturbed_%"] = 100.0 * mean.disturbed;
    state.counters["idle_noise_%"] = 100.0 * idle_noise(processors);
    state.counters["off_load_%"] = 100.0 * mean.off_load;
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (std::string why; !program::may_run(As::kUserWithFixedPriority, why)) {
    std::fprintf(stderr, "waveform_bench %s\n", why.c_str());
    return 1;
  }
  for (const Waveform& waveform : kWaveforms) {
    benchmark::RegisterBenchmark(waveform.name, measure, waveform)->Iterations(1);
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
