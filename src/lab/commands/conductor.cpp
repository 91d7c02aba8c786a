#include "lab/commands/conductor.h"

#include <time.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

#include "lab/commands/run_end.h"
#include "lab/commands/settling.h"
#include "lab/commands/stop_request.h"
#include "lab/data/instants.h"
#include "lab/engine_process/engine_options.h"
#include "lab/engine_process/engine_run.h"
#include "lab/engine_process/held.h"
#include "lab/engine_process/machine.h"
#include "lab/folder/whole_file.h"
#include "lab/plan/duration.h"

namespace lab {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLook{100};
constexpr double kShow_s = 0.25;

double now_s() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / kSecond_ns;
}

}  // namespace

Conductor::Conductor(const Plan& plan, const RunFolder& folder, RunInfo& info, Means means,
                     View& view)
    : plan_(plan),
      folder_(folder),
      info_(info),
      means_(std::move(means)),
      view_(view),
      samples_(folder.samples(), sample_columns(info.keys)),
      begun_s_(now_s()),
      live_(info.keys) {}

Conductor::~Conductor() = default;

void Conductor::play(std::size_t first) {
  if (plan_.phases.empty()) {
    play_options();
  }
  for (const Segment& segment : segments_of(plan_, first)) {
    play_segment(segment);
    if (info_.end != RunEnd::complete) {
      break;
    }
  }
}

void Conductor::play_options() {
  const EngineOptions options = read_engine_options(plan_.engine_options);
  const std::vector<std::string> arguments =
      arguments_with(plan_.engine_options, plan_.rate_hz, means_.keys);
  std::vector<NamedFile> files = options.files;
  for (NamedFile& file : files) {  // the options are the last of the arguments
    file.word += arguments.size() - plan_.engine_options.size();
  }
  start_engine(arguments, files, Steered::no);
  if (options.time_s) {
    phase_end_s_ = begun_s_ + *options.time_s;
  }
  while (follow()) {
  }
  wait_for_end(Played::whole);
}

/// Has the engine play a phase's profile, from a file beside its record, to the end.
void Conductor::play_profile(const Segment& segment) {
  const Phase& phase = plan_.phases[segment.first];
  const std::filesystem::path file = folder_.profile(starts_);
  write_whole(file, profile_text(phase.drive));
  std::vector<std::string> arguments = engine_arguments(plan_, segment, means_);
  arguments.insert(arguments.end(), {"--profile", file.string()});
  start_engine(arguments, {{.word = arguments.size() - 1, .begin = 0}}, Steered::no);
  phase_end_s_ = now_s() + phase.duration_s;
  while (follow()) {
  }
  wait_for_end(stop_requests() == 0 ? Played::whole : Played::part);
}

void Conductor::play_segment(const Segment& segment) {
  phase_ = segment.first;
  note_phase();
  if (plays_profile(plan_, segment)) {
    play_profile(segment);
    return;
  }
  start_engine(engine_arguments(plan_, segment, means_), {}, Steered::yes);
  Played played = Played::whole;
  for (; phase_ <= segment.last; ++phase_) {
    if (phase_ != segment.first) {
      note_phase();
    }
    engine_->steer(plan_.phases[phase_].drive, forcing(plan_, segment, phase_, means_));
    if (!play_phase(plan_.phases[phase_], phase_ - segment.first)) {
      played = Played::part;
      break;
    }
  }
  phase_ = std::min(phase_, segment.last);
  wait_for_end(played);
}

/// Notes that the present phase begins, and how the machine is held in it.
void Conductor::note_phase() {
  const Phase& phase = plan_.phases[phase_];
  info_.phases.push_back(
      {.name = phase.name,
       .engine_start = static_cast<int>(engine_ ? starts_ - 1 : starts_),
       .fans = (phase.fan.empty() ? "" : phase.fan + " ") +
               fans_held(fans_of(plan_, phase), means_) +
               (phase.fan.empty() ? "" : ", the others " + fans_held(plan_.fans, means_)),
       .pstate = pstate_held(pstate_of(plan_, phase), means_)});
}

void Conductor::start_engine(const std::vector<std::string>& arguments,
                             const std::vector<NamedFile>& files, Steered steered) {
  const EngineRun::Start start{.arguments = arguments,
                               .samples = folder_.engine_samples(starts_),
                               .record = folder_.stimulus(starts_),
                               .as_root = means_.root,
                               .steered = steered == Steered::yes,
                               .origin = {.zero_ns = zero_ns_,
                                          .first_phase = static_cast<int>(phase_),
                                          .processors = info_.processors},
                               .read = files};
  info_.engine_commands.push_back(EngineRun::command(start));
  info_.end = RunEnd::cut_short;  // until this start has ended, too
  folder_.write_info(info_);      // before the start: a disk that is full ends no run that goes on
  engine_ = std::make_unique<EngineRun>(start);
  ++starts_;
}

/// When a duty that was asked for at `asked_s` took effect, in seconds of the monotonic clock. The
/// record says it; a record that cannot be written never does, and then it is taken to have been at
/// once. The first duty of an engine waits until its loads are made.
std::optional<double> Conductor::begin_of(std::size_t steering, double asked_s) const {
  constexpr double kFirst_s = 60;
  constexpr double kLater_s = 5;
  if (const std::optional<std::int64_t> begun_ns = engine_->asked_ns(steering)) {
    return static_cast<double>(*begun_ns) / kSecond_ns;
  }
  const bool late = now_s() - asked_s > (steering == 0 ? kFirst_s : kLater_s);
  return late ? std::optional(asked_s) : std::nullopt;
}

bool Conductor::play_phase(const Phase& phase, std::size_t steering) {
  const double asked_s = now_s();
  const double carrier_half_s = 0.5 / plan_.carrier_hz;
  phase_end_s_.reset();
  const std::size_t first_sample = live_.added();
  double next_look_s = now_s();
  while (follow()) {
    const std::optional<double> begun_s = begin_of(steering, asked_s);
    if (!begun_s) {
      continue;
    }
    phase_end_s_ = *begun_s + phase.duration_s;
    const double left_s = *phase_end_s_ - carrier_half_s - now_s();
    if (left_s < std::chrono::duration<double>(kLook).count()) {
      std::this_thread::sleep_for(std::chrono::duration<double>(std::max(0.0, left_s)));
      return true;
    }
    if (phase.until_settled && now_s() > next_look_s) {
      next_look_s += 1;
      if (all_settled(live_.table(), live_.row_of(first_sample), phase.drift)) {
        return true;
      }
    }
  }
  return false;
}

bool Conductor::follow() {
  std::this_thread::sleep_for(kLook);
  take_in();
  show();
  return !engine_->status() && stop_requests() == 0;
}

void Conductor::wait_for_end(Played played) {
  engine_->end();
  const int before = stop_requests();
  while (!engine_->status()) {
    std::this_thread::sleep_for(kLook);
    take_in();
    show();
    if (stop_requests() > std::max(1, before)) {
      engine_->interrupt();  // somebody does not want to wait for the end in order
    }
  }
  take_in();
  note_end(played);
  engine_.reset();
  if (samples_.lost() == 0) {
    std::error_code error;
    std::filesystem::remove(folder_.engine_samples(starts_ - 1), error);
  }
}

void Conductor::take_in() {
  engine_->poll();
  others_.look(now_s(), engine_->process());
  zero_ns_ = engine_->zero_ns();
  for (const SampleRow& row : engine_->take_rows()) {
    const double instant_s = static_cast<double>(*zero_ns_) / kSecond_ns + row.time_s;
    std::vector<double> values{static_cast<double>(row.phase), row.asked, row.delivered,
                               others_.at(instant_s)};
    values.insert(values.end(), row.keys.begin(), row.keys.end());
    samples_.add(row.time_s, values);
    live_.set_load(row.time_s, row.asked, row.delivered);
  }
  if (engine_->newest()) {
    live_.add(*engine_->newest(), others_.at(now_s() - 1));
  }
  // Of an engine that refuses to start, its words are the error that the run ends with.
  const std::optional<int> status = engine_->status();
  const bool begun = engine_->newest() || (status && !refused_start(*status));
  for (const std::string& note : begun ? engine_->take_notes() : std::vector<std::string>()) {
    if (std::find(info_.warnings.begin(), info_.warnings.end(), note) == info_.warnings.end()) {
      info_.warnings.push_back(note);
    }
  }
  info_.engine_version = engine_->version();
}

void Conductor::show() {
  const double now = now_s();
  if (now - shown_s_ < kShow_s) {
    return;
  }
  shown_s_ = now;
  LiveState state{.title = plan_.question + " on " + machine_name(info_),
                  .phase = {},
                  .next = {},
                  .elapsed_s = now - begun_s_,
                  .left_s = std::nullopt,
                  .samples = &live_.table(),
                  .warnings = &info_.warnings,
                  .load_age_s = live_.load_age_s(),
                  .ending = stop_requests() > 0};
  if (!plan_.phases.empty()) {
    const Phase& phase = plan_.phases[phase_];
    state.phase = phase.name + ", " + std::to_string(phase_ + 1) + " of " +
                  std::to_string(plan_.phases.size());
    double left_s = phase_end_s_ ? std::max(0.0, *phase_end_s_ - now) : phase.duration_s;
    const std::string when = phase.until_stopped
                                 ? "as soon as it is stopped (Ctrl-C)"
                                 : (phase.until_settled ? "as soon as it is settled, in " : "in ") +
                                       spoken(left_s) + (phase.until_settled ? " at most" : "");
    const bool last = phase_ + 1 == plan_.phases.size();
    state.next = (last ? "the analysis " : plan_.phases[phase_ + 1].name + " ") + when;
    for (std::size_t index = phase_ + 1; index < plan_.phases.size(); ++index) {
      left_s += plan_.phases[index].duration_s;
    }
    if (!phase.until_stopped) {
      state.left_s = left_s;
    }
  } else if (phase_end_s_) {
    state.left_s = std::max(0.0, *phase_end_s_ - now);
  }
  view_.show(state);
}

void Conductor::note_end(Played played) {
  const int status = engine_->status().value_or(-1);
  info_.engine_status = status;
  const bool stop_is_the_end = !plan_.phases.empty() && plan_.phases[phase_].until_stopped;
  info_.end = stop_is_the_end && stop_requests() == 1
                  ? end_of(status, false, true)
                  : end_of(status, stop_requests() > 0, played == Played::whole);
  info_.end_reason = engine_->end_reason();
  if (info_.end == RunEnd::interrupted) {
    info_.end_reason.clear();  // that the engine's waveform was over then is no reason
  }
  for (const std::string& complaint : engine_->complaints()) {
    const std::string reason = info_.end == RunEnd::limit ? limit_reason(complaint) : "";
    if (!reason.empty()) {
      info_.end_reason = reason;
      std::erase(info_.warnings, complaint);
    }
  }
  if (const char* text = shortcoming(status)) {
    info_.warnings.emplace_back(text);
  }
}

}  // namespace lab
