#include "engine/session.h"

#include <cerrno>
#include <cstring>
#include <iostream>
#include <utility>

#include "Inspection/inspection.h"
#include "engine/complaint.h"
#include "engine/forcing.h"
#include "engine/forcing_thread.h"
#include "engine/input_thread.h"
#include "engine/limit_thread.h"
#include "engine/loads/load_factories.h"
#include "engine/loads/vector_target.h"
#include "engine/processors.h"
#include "engine/record/clock_reading.h"
#include "engine/record/record.h"
#include "engine/record/record_file.h"
#include "engine/record_plan.h"
#include "engine/run_length.h"
#include "engine/sample_header.h"
#include "engine/waveforms/waveform_error.h"
#include "vorn/monitor_thread.h"
#include "vorn/notes.h"
#include "vorn/privilege.h"
#include "vorn/sample_file.h"
#include "vorn/settings.h"
#include "vorn/thread_notes.h"
#include "vorn/waveform.h"
#include "vorn/workload_threads.h"

namespace engine {

namespace {

std::optional<unsigned> given_binding() {
  return binding == kNotGiven ? std::nullopt : std::optional<unsigned>(binding);
}

}  // namespace

Session::Session(const Request& request, WorkloadHost& host)
    : request_(request), host_(host), length_ns_(run_length(request.length_ns)) {}

Session::~Session() = default;

std::optional<Refusal> Session::prepare() {
  longest_making_ns_ = longest_making_ns(static_cast<std::size_t>(num_workload_threads()),
                                         allowed_processors().size());
  if (auto refusal = take_waveform()) {
    return refusal;
  }
  if (auto refusal = refuse()) {
    return refusal;
  }
  if (auto refusal = refuse_priority()) {
    return refusal;
  }
  if (auto refusal = open_samples()) {
    return refusal;
  }
  if (auto refusal = open_record()) {
    return refusal;
  }
  std::vector<unsigned> allowed = allowed_processors();
  if (allowed.empty()) {  // refused already if it matters
    allowed.push_back(0);
  }
  placement_.emplace(std::move(allowed), given_binding(),
                     request_.pin ? Placement::Binding::kBound : Placement::Binding::kLabels);
  workload_placement = &*placement_;
  threads_beside = !request_.limits.empty() || request_.attached;
  return std::nullopt;
}

std::optional<Refusal> Session::take_waveform() {
  try {
    choice_ = choose_waveform(request_);
  } catch (const WaveformError& error) {
    return Refusal{ExitStatus::kNotStarted, error.what()};
  }
  if (choice_.source) {
    if (source_.emplace(*choice_.source).leaves_out_first()) {
      params.active = !params.active;
    }
    if (choice_.steered != nullptr) {
      params.active = false;  // until something else is said
    }
    waveform.source = &phase_.emplace(*source_);
    waveform.description = choice_.description.c_str();
  }
  if (request_.at_ns) {
    waveform.start = &start_.emplace(*request_.at_ns);
  } else if (source_) {
    waveform.start = &start_when_ready_.emplace(host_.readiness(), longest_making_ns_,
                                                [this] { loads_took_too_long(); });
  }
  return std::nullopt;
}

std::optional<Refusal> Session::refuse() const {
  if (auto refusal = refuse_rights(uid.privileged())) {
    return refusal;
  }
  if (auto refusal = refuse_binding(request_, given_binding(), allowed_processors())) {
    return refusal;
  }
  if (auto refusal = refuse_crowding(request_, given_binding(),
                                     static_cast<std::size_t>(num_workload_threads()),
                                     allowed_processors().size())) {
    return refusal;
  }
  if (auto refusal = refuse_deaf_loads(request_, is_switched(request_), deaf_loads())) {
    return refusal;
  }
  if (auto refusal = refuse_keys(request_)) {
    return refusal;
  }
  if (uid.privileged()) {
    if (auto refusal = refuse_fans()) {
      return refusal;
    }
    if (auto refusal = refuse_pstate(setting_pstate() ? inspection::pstates() : 0)) {
      return refusal;
    }
  }
  if (auto refusal = refuse_start(request_, clock_reading().wall_ns, monitor)) {
    return refusal;
  }
  if (request_.record) {
    if (auto refusal = refuse_file("--record", *request_.record)) {
      return refusal;
    }
  }
  if (monitor && output != "-") {
    if (auto refusal = refuse_file("--output", output)) {
      return refusal;
    }
  }
  return refuse_shared_file(named_files(request_));
}

std::optional<Refusal> Session::open_samples() {
  if (!using_monitor_thread()) {
    return std::nullopt;
  }
  // The opening of a pipe would wait for its reader, and the run for the opening.
  auto file = std::make_unique<SampleFile>(output, SampleFile::Unread::fails);
  if (const int error = file->open_error(); error != 0) {
    return file_not_opened("--output", output, error);
  }
  if (!request_.header) {
    use_sample_file(std::move(file));
    return std::nullopt;
  }
  for (const std::string& line : sample_header(keys, inspection::keys())) {
    if (!file->write_line(line)) {
      return Refusal{ExitStatus::kFileRefused,
                     "--output " + quoted(output) +
                         " does not take the header: " + std::strerror(file->error())};
    }
  }
  use_sample_file(std::move(file));
  return std::nullopt;
}

std::optional<Refusal> Session::open_record() {
  if (!request_.record) {
    return std::nullopt;
  }
  try {
    record_file_ = std::make_unique<RecordFile>(*request_.record);
  } catch (const RecordFileError& failure) {
    return file_not_opened("--record", *request_.record, failure.error());
  }
  return std::nullopt;
}

void Session::announce() const {
  if (noisy) {
    std::cerr << "\tvectors of the loads: " + loads::vector_target() + "\n";
  }
  if (const std::string note = note_on_memory(); !note.empty()) {
    complain(note);
  }
  if (request_.pin) {
    const int threads = num_workload_threads();
    complain(placement_->text(static_cast<unsigned>(threads)));
    if (given_binding() && threads > 1) {
      complain(std::to_string(threads) +
               " threads share one core: while one is busy, the others have no turn");
    }
  }
}

void Session::set_length() const {
  set_run_length(request_.length_ns);
}

int Session::start_beside(const std::vector<std::string>& arguments) {
  const auto threads = static_cast<unsigned>(num_workload_threads());
  if (request_.record) {
    try {
      record_ = std::make_unique<Record>(plan_record(request_, length_ns_, arguments),
                                         std::move(record_file_));
    } catch (const RecordError& error) {
      complain(error.what());
      return -1;
    }
    use_sample_observer(*this);
  }
  observe_edges();
  wrong_results_ = std::make_unique<WrongResults>(threads);
  if (!wrong_results_->start()) {
    complain("the thread that says wrong results cannot be started");
    return -1;
  }
  host_.use(*placement_, *wrong_results_, record_.get(), request_.pin, threads);
  workload_placement = &host_;
  if (length_ns_ && !source_) {
    const auto time_the_making = [this] { start_run_time(longest_making_ns_); };
    const auto time_the_run = [this] {
      if (params.terminate) {
        return;
      }
      loads_timed_ = true;
      start_run_time(*length_ns_);
    };
    host_.readiness().tell(time_the_making, time_the_run);
  }
  if (start_threads_beside() < 0) {
    return -1;
  }
  started_beside_ = true;
  return 0;
}

int Session::start_threads_beside() {
  if (!request_.limits.empty() && spawn_limits(request_.limits) < 0) {
    complain("the thread that watches the limits cannot be started");
    say({note_on_refused_thread(limit_thread.start_error())});
    return -1;
  }
  Forced forced;
  if (choice_.steered != nullptr && uid.privileged()) {
    forced = {.fans = setting_fans() ? fans : std::list<std::string>(), .pstate = setting_pstate()};
  }
  if ((!forced.fans.empty() || forced.pstate) && spawn_forcing(record_.get()) < 0) {
    complain("the thread that forces fans and P-state cannot be started");
    say({note_on_refused_thread(forcing_thread.start_error())});
    return -1;
  }
  if (request_.attached && spawn_input(choice_.steered, frequency, forced) < 0) {
    complain("the thread that listens to standard input cannot be started");
    say({note_on_refused_thread(input_thread.start_error())});
    return -1;
  }
  return 0;
}

void Session::observe_edges() {
  EdgeObserver* observer = record_ ? &record_->edge_observer() : nullptr;
  if (start_) {
    if (record_) {
      start_->tell(*record_);
    }
    observer = &start_watch_.emplace(*start_, observer);
  }
  if (phase_) {
    observer = &begin_.emplace(host_.readiness(), length_ns_, observer, start_run_time);
    if (record_ && choice_.steered != nullptr) {
      observer = &asked_watch_.emplace(*choice_.steered, *record_, *observer);
    }
    phase_->tell(observer);
    waveform.observer = &*phase_;
  }
}

void Session::sample_taken(double elapsed_s) noexcept {
  record_->sample_taken(elapsed_s);
}

}  // namespace engine
