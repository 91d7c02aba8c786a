#include "engine/session.h"

#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <sstream>

#include "engine/complaint.h"
#include "engine/forcing_thread.h"
#include "engine/input_thread.h"
#include "engine/limit_thread.h"
#include "engine/nanoseconds.h"
#include "engine/record/record.h"
#include "vorn/fan_thread.h"
#include "vorn/monitor_thread.h"
#include "vorn/notes.h"
#include "vorn/settings.h"
#include "vorn/signals.h"
#include "vorn/timing_thread.h"
#include "vorn/workload_threads.h"

// What comes of a run: what is said of it, its record's end and its status.

namespace engine {

namespace {

// A first edge that is further from the agreed instant than this was not late by a wake-up: the
// start was missed, or the clock was set in the last moments.
constexpr std::int64_t kMissed = 10000000;  // ns

bool is_whole(const SamplingReport& report) {
  // A fixed priority leaves the kernel a twentieth of the time: what falls in there is no failure.
  constexpr std::uint64_t kOneIn = 20;
  const std::uint64_t asked = report.written + report.lost + report.left_out;
  const bool too_few = report.left_out * kOneIn > asked;
  return !report.failed && report.lost == 0 && report.file_error == 0 && !too_few;
}

}  // namespace

bool Session::began_late() const {
  return start_watch_ && std::abs(start_watch_->late_ns().value_or(0)) > kMissed;
}

unsigned Session::loads_missed() const {
  return start_watch_ ? begin_->loads_missed() : 0;
}

void Session::judge_start() const {
  if (began_late()) {
    verdict.add(ExitStatus::kStartMissed);
    std::ostringstream text;
    text << "the waveform began " << static_cast<double>(start_watch_->late_ns().value()) * 1e-9
         << " s after the agreed start";
    complain(text.str());
  }
  if (const unsigned missed = loads_missed(); missed > 0) {
    verdict.add(ExitStatus::kStartMissed);
    complain(std::to_string(missed) + " of " + std::to_string(num_workload_threads()) +
             " loads were not ready at the agreed start: start the program earlier");
  }
}

void Session::loads_took_too_long() {
  if (loads_too_late_.exchange(true)) {
    return;
  }
  verdict.add(ExitStatus::kStartMissed);
  end_run();
  complain("not all loads were ready after " + std::to_string(longest_making_ns_ / kNsPerSecond) +
           " s, which ends the run: another program of fixed priority may hold their cores");
}

void Session::judge_samples() const {
  if (using_monitor_thread() && !is_whole(sampling_report())) {
    verdict.add(ExitStatus::kSamplingFailed);
  }
}

ExitStatus Session::status_at_once() const {
  if (!started_beside_) {
    return verdict.status();
  }
  if (began_late() || loads_missed() > 0) {
    verdict.add(ExitStatus::kStartMissed);
  }
  if (using_monitor_thread() && !(sampling_ended() && is_whole(sampling_report()))) {
    verdict.add(ExitStatus::kSamplingFailed);
  }
  if (request_.record && !record_ended_) {
    verdict.add(ExitStatus::kRecordFailed);
  }
  return verdict.status();
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
  if (loads_too_late_) {
    return "loads not ready";
  }
  if (source_ && source_->over()) {
    return "waveform over";
  }
  if (input_ended_run() && ending_signal() != SIGALRM) {
    return "input over";
  }
  return ending_signal() == SIGALRM ? "run time over" : "interrupted";
}

void Session::end_record() {
  if (!record_) {
    return;
  }
  const RecordLosses losses = record_->finish(reason(), static_cast<int>(verdict.status()));
  if (losses.lines > 0 || !losses.complete) {
    verdict.add(ExitStatus::kRecordFailed);
  }
  record_ended_ = true;
  if (losses.none()) {
    return;
  }
  std::ostringstream text;
  text << "--record " << quoted(*request_.record) << " is not whole: " << losses.events
       << " events and " << losses.lines << " lines are missing";
  if (!losses.reason.empty()) {
    text << ": " << losses.reason;
  } else if (losses.events > 0) {
    text << ": the disk was too slow, or a load left its writer no time; write it to another disk, "
            "or sample less often";
  }
  complain(text.str());
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
                 {"standard input", input_thread, input_thread_priority()},
                 {"forcing", forcing_thread, fan_thread_priority()},
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
  end_input();
  end_forcing();
  if (result < 0) {
    record_failed_start();
    return ExitStatus::kNotStarted;
  }
  limit_thread.join();
  wrong_results_.reset();
  if (length_ns_ && !source_ && !loads_timed_ && ending_signal() == SIGALRM) {
    loads_took_too_long();  // what the timer was set to until they would be ready
  }
  judge_start();
  judge_samples();
  judge_results();
  end_record();
  return verdict.status();
}

}  // namespace engine
