#include "vorn/timing_thread.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "Assertion/assertion.h"
#include "Process/capabilities.h"
#include "Workload/gate.h"
#include "vorn/clock.h"
#include "vorn/edge_observer.h"
#include "vorn/edge_plan.h"
#include "vorn/interval_source.h"
#include "vorn/module.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"
#include "vorn/signals.h"
#include "vorn/toggle_source.h"
#include "vorn/waveform.h"

ServiceThread timing_thread;

namespace {

bool starting_state = true;  // written by spawn_timing() before the thread exists

// Those who wait for the waveform sleep until it is on by timers of their own. To wake, switch and
// sleep again takes this thread up to 50 us on a virtual processor, in which it would stand in the
// way of the one that waits on the same processor: so it switches that much earlier, and is asleep
// again when they wake. Before the end of a short interval not as early as that, or those who are
// on their way to their wait would find the waveform on again.
constexpr std::int64_t kLead = 60'000;

std::int64_t lead(std::int64_t interval_ns) {
  return std::min(kLead, interval_ns / 8);
}

/// Sleeps until a planned instant. Returns whether the run goes on.
bool sleep_until(std::int64_t planned_ns) {
  if (run_sleep_until(planned_ns) != 0) {
    assertion(errno == EINTR, "errno == EINTR", kDriverModule, 1051, "timing_thread_function");
    assertion(params.terminate, "params.terminate", kDriverModule, 1052, "timing_thread_function");
  }
  return !params.terminate;
}

// Looks at `terminate` once more under the lock: the shutdown path, which makes `active` true and
// wakes everybody, may have come in between, and must have the last word.
void switch_to(bool active) {
  pthread_mutex_lock(&params.mutex);
  if (!params.terminate) {
    params.active = active;
    pthread_cond_broadcast(&params.cond);
  }
  pthread_mutex_unlock(&params.mutex);
}

// An interval of no length is over at once: no sleep, no lock, and nobody is woken for it. The
// waiters see it at their next test. The same holds for an interval that was over before this
// thread woke: of several edges that are overdue, the loads are woken for the last one alone.
void switch_in_passing(bool active) {
  params.active = active;
}

void tell_observer(std::int64_t planned_ns) {
  if (waveform.observer != nullptr) {
    waveform.observer->switched(planned_ns, std::max(planned_ns, monotonic_ns()), params.active);
  }
}

void tell_observer_of_no_edge(std::int64_t planned_ns) {
  if (waveform.observer != nullptr) {
    waveform.observer->stayed(planned_ns);
  }
}

/// Waits for the instant at which the waveform begins, or until shortly before if it begins on:
/// those who wait for it are told of it as of every later edge. Returns the instant, or nothing if
/// the run ends first.
std::optional<std::int64_t> wait_for(WaveformStart& start) {
  constexpr std::int64_t kNear = 20000000;    // ns; time enough to sleep exactly
  constexpr std::int64_t kLook = 1000000000;  // ns between two looks at where the instant is
  for (;;) {
    const std::int64_t start_ns = start.instant_ns();
    const std::int64_t now_ns = monotonic_ns();
    const bool near = start_ns - now_ns <= kNear;
    if (near && starting_state) {
      announce_on_to_waiters(&params, start_ns);
    }
    const std::int64_t lead_ns = starting_state ? kLead : 0;
    if (!sleep_until(near ? start_ns - lead_ns : std::min(start_ns - kNear, now_ns + kLook))) {
      return std::nullopt;
    }
    if (near) {
      return start_ns;
    }
  }
}

/// Begins the waveform. Returns when it was to begin, or nothing if the run ends before that.
std::optional<std::int64_t> begin() {
  std::optional<std::int64_t> start_ns = monotonic_ns();
  if (waveform.start != nullptr) {
    start_ns = wait_for(*waveform.start);
    if (!start_ns) {
      return std::nullopt;
    }
    if (starting_state) {
      switch_to(true);
    }
  }
  tell_observer(*start_ns);
  return start_ns;
}

/// What those who wait for the waveform know of it.
struct Waiters {
  bool expect_on = false;      ///< they sleep until the end of the present interval
  bool slept_through = false;  ///< an edge for which nobody was woken, or an interval without one
};

/// The interval that begins, as things stand.
struct Coming {
  std::int64_t length_ns;
  std::int64_t end_ns;
  bool edge;     ///< whether it ends in one
  bool overdue;  ///< whether it is over already
};

Coming coming_interval(std::int64_t length_ns, EdgePlan plan, bool edge) {
  const std::int64_t now_ns = monotonic_ns();
  const std::int64_t end_ns = plan.next(length_ns, now_ns);
  return {.length_ns = length_ns, .end_ns = end_ns, .edge = edge, .overdue = end_ns <= now_ns};
}

/// Goes on in the same state where an interval has ended without an edge. Those who wait learn what
/// is to be expected instead.
void stay(Waiters& waiters, const Coming& next) {
  if (params.active) {
    if (waiters.slept_through) {  // switched on in passing, for the sake of an edge here
      switch_to(true);
      waiters.slept_through = false;
    }
    return;
  }
  if (next.edge) {
    announce_on_to_waiters(&params, next.end_ns);
  } else if (waiters.expect_on) {
    withdraw_from_waiters(&params);
  }
  waiters.expect_on = next.edge;
  waiters.slept_through = true;
}

/// Switches at `planned_ns`, where an interval of `length_ns` has ended.
void change(Waiters& waiters, std::int64_t length_ns, std::int64_t planned_ns, const Coming& next) {
  const bool on = !params.active;
  if (!on && next.edge) {
    announce_on(&params, next.end_ns);
  } else if (!on) {
    announce_nothing();
  } else if (!waiters.expect_on) {  // woken ahead of the instant, they wait for the rest
    announce_on(&params, planned_ns);
  }
  waiters.expect_on = !on && next.edge;
  if (length_ns != 0 && next.length_ns != 0 && next.overdue) {
    switch_in_passing(on);
    waiters.slept_through = true;
  } else if (length_ns == 0 && !waiters.slept_through) {
    switch_in_passing(on);
  } else {
    switch_to(on);
    waiters.slept_through = waiters.slept_through && !on;
  }
}

/// Plays the intervals of `source`. Returns whether it came to their end: the run may end first.
bool play(IntervalSource& source, std::int64_t begin_ns) {
  EdgePlan plan(begin_ns);
  Waiters waiters;
  std::optional<std::int64_t> interval = source.next_ns();
  if (interval && !params.active && source.ends_in_edge()) {
    announce_on_to_waiters(&params, coming_interval(*interval, plan, true).end_ns);
    waiters.expect_on = true;
  }
  while (interval && !params.terminate) {  // millions of intervals of no length may follow
    if (*interval != 0) {
      const std::int64_t planned_ns = plan.next(*interval, monotonic_ns());
      if (!sleep_until(params.active ? planned_ns : planned_ns - lead(*interval))) {
        return false;
      }
    }
    const bool edge = source.ends_in_edge();
    const std::optional<std::int64_t> next = source.next_ns();
    if (!next) {
      break;
    }
    const Coming coming = coming_interval(*next, plan, source.ends_in_edge());
    if (edge) {
      change(waiters, *interval, plan.planned_ns(), coming);
      tell_observer(plan.planned_ns());
    } else {
      stay(waiters, coming);
      tell_observer_of_no_edge(plan.planned_ns());
    }
    interval = next;
  }
  return !params.terminate;
}

}  // namespace

int spawn_timing() {
  assertion(using_timing_thread(), "using_timing_thread()", kDriverModule);
  starting_state = params.active;
  if (waveform.start != nullptr) {
    params.active = false;  // here, so that no workload that starts after this sees it on
  }
  return timing_thread.start(timing_thread_function, timing_thread_priority());
}

void* timing_thread_function(void* /*arg*/) {
  process::keep_capabilities(process::kNoCapabilities);
  std::optional<ToggleSource> toggles;
  IntervalSource& source = waveform.source != nullptr ? *waveform.source : toggles.emplace();
  const std::optional<std::int64_t> begin_ns = begin();
  if (begin_ns && play(source, *begin_ns)) {
    end_run();
  }
  return nullptr;
}
