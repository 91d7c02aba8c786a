#include "engine/session.h"

#include <cmath>
#include <sstream>

#include "engine/complaint.h"
#include "engine/limit_thread.h"
#include "engine/processors.h"
#include "engine/run_length.h"
#include "engine/waveforms/waveform_error.h"
#include "vorn/privilege.h"
#include "vorn/settings.h"
#include "vorn/waveform.h"
#include "vorn/workload_threads.h"

namespace engine {

namespace {

// A first edge that is further from the agreed instant than this was not late by a wake-up: the
// start was missed, or the clock was set in the last moments.
constexpr std::int64_t kMissed = 10000000;  // ns

std::optional<unsigned> given_binding() {
  return binding == kNotGiven ? std::nullopt : std::optional<unsigned>(binding);
}

}  // namespace

std::optional<Refusal> Session::prepare() {
  if (auto refusal = take_waveform()) {
    return refusal;
  }
  if (auto refusal = refuse()) {
    return refusal;
  }
  std::vector<unsigned> allowed = allowed_processors();
  if (allowed.empty()) {  // refused already if it matters
    allowed.push_back(0);
  }
  placement_.emplace(std::move(allowed), given_binding(),
                     request_.pin ? Placement::Binding::kBound : Placement::Binding::kLabels);
  workload_placement = &*placement_;
  threads_beside = !request_.limits.empty();
  return std::nullopt;
}

std::optional<Refusal> Session::take_waveform() {
  try {
    choice_ = choose_waveform(request_);
  } catch (const WaveformError& error) {
    return Refusal{ExitStatus::kNotStarted, error.what()};
  }
  if (!choice_.source) {
    return std::nullopt;
  }
  waveform.source = &source_.emplace(*choice_.source);
  waveform.description = choice_.description.c_str();
  if (request_.at_ns) {
    waveform.start = &start_.emplace(*request_.at_ns);
    waveform.observer = &start_watch_.emplace(*start_, waveform.observer);
  }
  return std::nullopt;
}

std::optional<Refusal> Session::refuse() const {
  if (auto refusal = refuse_rights(request_, uid.privileged())) {
    return refusal;
  }
  if (auto refusal = refuse_binding(request_, given_binding(), allowed_processors())) {
    return refusal;
  }
  if (auto refusal = refuse_deaf_loads(request_, is_switched(request_), deaf_loads())) {
    return refusal;
  }
  if (auto refusal = refuse_keys(request_)) {
    return refusal;
  }
  if (auto refusal = refuse_start(request_, read_clocks().wall_ns, monitor)) {
    return refusal;
  }
  if (monitor && output != "-") {
    return refuse_file("--output", output);
  }
  return std::nullopt;
}

void Session::announce() const {
  if (request_.pin) {
    complain(placement_->text(static_cast<unsigned>(num_workload_threads())));
  }
}

void Session::set_length() const {
  set_run_length(request_.length_ns, start_ ? start_->wall_ns() - read_clocks().wall_ns : 0);
}

int Session::start_beside() {
  if (!request_.limits.empty() && spawn_limits(request_.limits) < 0) {
    complain("the thread that watches the limits cannot be started");
    return -1;
  }
  return 0;
}

void Session::judge_start() const {
  if (!start_watch_) {
    return;
  }
  const std::optional<std::int64_t> late_ns = start_watch_->late_ns();
  if (late_ns && std::abs(*late_ns) > kMissed) {
    verdict.add(ExitStatus::kStartMissed);
    std::ostringstream text;
    text << "the waveform began " << static_cast<double>(*late_ns) * 1e-9
         << " s after the agreed start";
    complain(text.str());
  }
}

ExitStatus Session::conclude(int result) {
  if (result < 0) {
    return ExitStatus::kNotStarted;
  }
  limit_thread.join();
  judge_start();
  return verdict.status();
}

}  // namespace engine
