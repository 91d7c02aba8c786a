#include "processor_probe.h"

#include <sched.h>

#include <ctime>

namespace {

constexpr double kShortestHole = 2e-6;
constexpr std::size_t kMostHoles = 4000000;  // allocated before the watch begins

void pin_with_lowest_policy(int processor) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(static_cast<std::size_t>(processor), &set);
  sched_setaffinity(0, sizeof set, &set);
  const sched_param param{};
  sched_setscheduler(0, SCHED_IDLE, &param);
}

}  // namespace

double monotonic_seconds() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

ProcessorProbe::ProcessorProbe(int processor) : thread_([this, processor] { watch(processor); }) {}

ProcessorProbe::~ProcessorProbe() {
  stop();
}

std::vector<Interval> ProcessorProbe::stop() {
  stopping_.store(true, std::memory_order_relaxed);  // the join is the order
  if (thread_.joinable()) {
    thread_.join();
  }
  return holes_;
}

void ProcessorProbe::watch(int processor) {
  pin_with_lowest_policy(processor);
  holes_.reserve(kMostHoles);
  double last = monotonic_seconds();
  while (!stopping_.load(std::memory_order_relaxed)) {
    const double t = monotonic_seconds();
    if (t - last >= kShortestHole && holes_.size() < kMostHoles) {
      holes_.push_back({last, t});
    }
    last = t;
  }
}
