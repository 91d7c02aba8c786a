#include "engine/session.h"

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstring>
#include <iostream>
#include <sstream>
#include <utility>

#include "Inspection/inspection.h"
#include "engine/complaint.h"
#include "engine/limit_thread.h"
#include "engine/loads/load_factories.h"
#include "engine/loads/vector_target.h"
#include "engine/processors.h"
#include "engine/record/record.h"
#include "engine/record/record_file.h"
#include "engine/record_plan.h"
#include "engine/run_length.h"
#include "engine/sample_header.h"
#include "engine/waveforms/waveform_error.h"
#include "vorn/fan_thread.h"
#include "vorn/monitor_thread.h"
#include "vorn/notes.h"
#include "vorn/privilege.h"
#include "vorn/sample_file.h"
#include "vorn/settings.h"
#include "vorn/signals.h"
#include "vorn/thread_notes.h"
#include "vorn/timing_thread.h"
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

Session::Session(const Request& request, WorkloadHost& host)
    : request_(request), host_(host), length_ns_(run_length(request.length_ns)) {}

Session::~Session() = default;

std::optional<Refusal> Session::prepare() {
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
  threads_beside = !request_.limits.empty();
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
    waveform.source = &phase_.emplace(*source_);
    waveform.description = choice_.description.c_str();
  }
  if (request_.at_ns) {
    waveform.start = &start_.emplace(*request_.at_ns);
  } else if (source_) {
    waveform.start = &start_when_ready_.emplace(host_.readiness());
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
  if (auto refusal = refuse_start(request_, read_clocks().wall_ns, monitor)) {
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
  set_run_length(request_.length_ns, source_ ? Counted::kFromTheWaveform : Counted::kFromTheStart);
}

int Session::start_beside(const std::vector<std::string>& arguments) {
  const auto threads = static_cast<unsigned>(num_workload_threads());
  if (request_.record) {
    try {
      record_ = std::make_unique<Record>(plan_record(request_, arguments), std::move(record_file_));
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
  if (!request_.limits.empty() && spawn_limits(request_.limits) < 0) {
    complain("the thread that watches the limits cannot be started");
    say({note_on_refused_thread(limit_thread.start_error())});
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
    phase_->tell(observer);
    waveform.observer = &*phase_;
  }
}

void Session::sample_taken(double elapsed_s) noexcept {
  record_->sample_taken(elapsed_s);
}

void Session::judge_start() const {
  if (!start_watch_ || !start_watch_->late_ns()) {
    return;
  }
  const std::int64_t late_ns = start_watch_->late_ns().value();
  if (std::abs(late_ns) > kMissed) {
    verdict.add(ExitStatus::kStartMissed);
    std::ostringstream text;
    text << "the waveform began " << static_cast<double>(late_ns) * 1e-9
         << " s after the agreed start";
    complain(text.str());
  }
  if (const unsigned missed = begin_->loads_missed(); missed > 0) {
    verdict.add(ExitStatus::kStartMissed);
    complain(std::to_string(missed) + " of " + std::to_string(num_workload_threads()) +
             " loads were not ready at the agreed start: start the program earlier");
  }
}

void Session::judge_samples() const {
  if (!using_monitor_thread()) {
    return;
  }
  const SamplingReport& report = sampling_report();
  // A fixed priority leaves the kernel a twentieth of the time: what falls in there is no failure.
  constexpr std::uint64_t kOneIn = 20;
  const std::uint64_t asked = report.written + report.lost + report.left_out;
  const bool too_few = report.left_out * kOneIn > asked;
  if (report.failed || report.lost > 0 || report.file_error != 0 || too_few) {
    verdict.add(ExitStatus::kSamplingFailed);
  }
}

void Session::judge_results() const {
  if (noisy) {
    for (const std::string& text : host_.work_texts()) {
      std::cerr << '\t' + text + '\n';
    }
  }
  if (const std::uint64_t wrong = host_.wrong_results(); wrong > 0) {
    complain("hardware error: " + std::to_string(wrong) + " wrong results in all");
  }
}

std::string Session::reason() const {
  if (limit_ended_run()) {
    return "limit reached";
  }
  if (source_ && source_->over()) {
    return "waveform over";
  }
  return ending_signal() == SIGALRM ? "run time over" : "interrupted";
}

void Session::end_record() {
  if (!record_) {
    return;
  }
  const RecordLosses losses = record_->finish(reason(), static_cast<int>(verdict.status()));
  if (losses.none()) {
    return;
  }
  std::ostringstream text;
  text << "--record " << quoted(*request_.record) << " is not whole: " << losses.events
       << " events and " << losses.lines << " lines are missing";
  if (!losses.reason.empty()) {
    text << ": " << losses.reason;
  }
  complain(text.str());
  if (losses.lines > 0 || !losses.complete) {
    verdict.add(ExitStatus::kRecordFailed);
  }
}

void Session::record_failed_start() {
  if (!record_) {
    return;
  }
  const struct {
    const char* what;
    const ServiceThread& thread;
    int priority;
  } service[] = {{"limits", limit_thread, monitor_thread_priority()},
                 {"fans", fan_thread, fan_thread_priority()},
                 {"samples", monitor_thread, monitor_thread_priority()},
                 {"waveform", timing_thread, timing_thread_priority()}};
  for (const auto& [what, thread, priority] : service) {
    if (const int error = thread.start_error(); error != 0) {
      record_->refused(
          std::string("thread of the ") + what + " at priority " + std::to_string(priority),
          std::strerror(error));
    }
  }
  // Threads that run already may go on until the program ends; what they see is not read any more.
  record_->finish("not started", static_cast<int>(ExitStatus::kNotStarted));
}

ExitStatus Session::conclude(int result) {
  if (result < 0) {
    record_failed_start();
    return ExitStatus::kNotStarted;
  }
  limit_thread.join();
  wrong_results_.reset();
  judge_start();
  judge_samples();
  judge_results();
  end_record();
  return verdict.status();
}

}  // namespace engine
