#include "processor_probe.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <utility>

namespace {

constexpr double kShortestHole = 2e-6;
constexpr double kShortestExplained = 50e-6;
constexpr double kLongestAsking = 30e-6;
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
    last = t - last >= kShortestHole ? note_hole(last, t) : t;
  }
}

// Asking the witness takes some microseconds, in which others may come again.
double ProcessorProbe::note_hole(double start, double end) {
  while (holes_.size() < kMostHoles) {
    holes_.push_back({start, end, explain(end - start)});
    const double asked = monotonic_seconds();
    if (asked - end < kLongestAsking) {
      return asked;
    }
    start = end;
    end = asked;
  }
  return end;
}

// Of the threads, one ran here and the others ran elsewhere: the one whose time fits best. Short
// holes are not worth asking for each; their time is asked for together with the next one's.
double ProcessorProbe::explain(double hole) {
  const Witness* witness = witness_.load();
  if (witness == nullptr || not_asked_ + hole < kShortestExplained) {
    not_asked_ += hole;
    return hole;
  }
  const std::vector<double> used = witness->used();
  const double wanted = not_asked_ + hole;
  double best = 0.0;
  for (std::size_t i = 0; i < std::min(used.size(), used_before_.size()); ++i) {
    const double ran = used[i] - used_before_[i];
    if (std::abs(wanted - ran) < std::abs(wanted - best)) {
      best = ran;
    }
  }
  used_before_ = used;
  return best - std::exchange(not_asked_, 0.0);
}
