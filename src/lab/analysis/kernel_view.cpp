#include "lab/analysis/kernel_view.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace lab {

namespace {

using Follows = std::vector<Stimulus::Follow>;

/// The trace in the terms of the record: whom its threads are.
Follows follows_of(const SchedulerTrace& trace, const std::vector<Stimulus::Thread>& threads) {
  std::map<std::int64_t, int> numbers;
  for (const Stimulus::Thread& thread : threads) {
    if (thread.task != 0) {
      numbers[thread.task] = thread.number;
    }
  }
  Follows follows;
  for (const SchedulerTrace::Switch& one : trace.switches) {
    if (const auto found = numbers.find(one.task); found != numbers.end()) {
      follows.push_back({.instant_ns = one.instant_ns, .thread = found->second, .on = one.on});
    }
  }
  return follows;
}

/// How far each begin of the record lies behind the switch that gave the thread its processor.
Spread read_behind(const Follows& record, const Follows& kernel, const Stretch& stretch) {
  constexpr std::int64_t kTick_ns = 1000;  // of the trace
  constexpr double kMicrosecond = 1e3;     // ns
  std::vector<double> behind_us;
  std::size_t missed = 0;
  std::map<int, Stimulus::Follow> last;
  auto next = kernel.begin();
  for (const Stimulus::Follow& begin : record) {
    if (!begin.on || begin.instant_ns < stretch.from_ns || begin.instant_ns > stretch.to_ns) {
      continue;
    }
    for (; next != kernel.end() && next->instant_ns <= begin.instant_ns + kTick_ns; ++next) {
      last[next->thread] = *next;
    }
    const auto found = last.find(begin.thread);
    if (found == last.end() || !found->second.on) {
      ++missed;  // it runs, and the trace does not have it there
    } else {
      const std::int64_t behind_ns = begin.instant_ns - found->second.instant_ns;
      behind_us.push_back(static_cast<double>(std::max<std::int64_t>(0, behind_ns)) / kMicrosecond);
    }
  }
  return Spread(std::move(behind_us), missed);
}

}  // namespace

Spread seen(const Spread& spread) {
  return Spread(spread.sorted());
}

std::optional<KernelView> kernel_view(const Stimulus& stimulus, const SchedulerTrace& trace,
                                      const Stretch& stretch, double carrier_hz) {
  Stimulus seen;
  seen.follows = follows_of(trace, stimulus.threads);
  if (!trace.taken || seen.follows.empty()) {
    return std::nullopt;
  }
  seen.edges = stimulus.edges;
  seen.threads = stimulus.threads;
  return KernelView{.wave = waveform_truth(seen, stretch, carrier_hz),
                    .read_behind = read_behind(stimulus.follows, seen.follows, stretch),
                    .lost = trace.lost};
}

}  // namespace lab
