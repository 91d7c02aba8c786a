#include "engine/loads/load.h"

#include <sched.h>

#include <chrono>

#include "Assertion/assertion.h"
#include "Workload/gate.h"
#include "engine/burst_observer.h"
#include "engine/loads/calibration.h"
#include "engine/loads/load_host.h"
#include "engine/loads/load_report.h"

namespace loads {
namespace {

// The clock costs some 25 ns: nothing beside so many bursts, even of the spin loop's.
constexpr unsigned kBurstsPerLook = 16;
constexpr std::int64_t kGapNs = 1'000'000;  // what BurstObserver calls held up

std::int64_t now_ns() {
  return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

}  // namespace

Load::Load(const LoadPlan& plan, unsigned core, unsigned priority, LoadHost& host)
    : Workload(core, priority),
      activity_(plan.activity),
      follows_(plan.follows),
      kernel_(plan.kernel()),
      host_(host) {
  calibrate(*kernel_);
  report_ = std::make_shared<LoadReport>(plan.name, core, kernel_->rounds());
  host.ready(report_);
  observer_ = host.burst_observer();
}

void Load::run(workload_params* params) {
  assertion(params != nullptr, "params", "src/engine/loads", 43);
  bool on = false;
  unsigned bursts = 0;
  while (!params->terminate) {
    if (follows_ == Follows::kTheWaveform && !params->active) {
      if (on && observer_ != nullptr) {
        observer_->left(now_ns());
      }
      on = false;
      wait_until_active(params);
      continue;  // the end of the run opens the gate too
    }
    if (!on) {
      on = true;
      looked_ns_ = now_ns();
      if (observer_ != nullptr) {
        observer_->entered(looked_ns_, sched_getcpu());
      }
    }
    burst();
    if (++bursts % kBurstsPerLook == 0) {
      look_at_clock();
    }
  }
}

void Load::burst() noexcept {
  if (report_->take_fault()) {
    kernel_->flip_bit();
  }
  const Burst done = kernel_->burst();
  report_->add(done.work);
  if (!done.correct) {
    report_->add_wrong_result();
    host_.wrong_result({.report = *report_, .processor = sched_getcpu(), .at_ns = now_ns()});
  }
}

void Load::look_at_clock() noexcept {
  if (observer_ == nullptr) {
    return;
  }
  const std::int64_t now = now_ns();
  if (now - looked_ns_ >= kGapNs) {
    observer_->held_up(looked_ns_, now);
  }
  looked_ns_ = now;
}

}  // namespace loads
