#include "lab/commands/run_command.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>

#include "lab/commands/answering.h"
#include "lab/commands/chosen_keys.h"
#include "lab/commands/conductor.h"
#include "lab/commands/machine_parts.h"
#include "lab/commands/stop_request.h"
#include "lab/commands/this_machine.h"
#include "lab/engine_process/caller.h"
#include "lab/engine_process/engine_error.h"
#include "lab/engine_process/engine_loads.h"
#include "lab/engine_process/engine_run.h"
#include "lab/engine_process/held.h"
#include "lab/engine_process/machine.h"
#include "lab/engine_process/machine_keys.h"
#include "lab/folder/folder_error.h"
#include "lab/kernel_trace/scheduler_tracer.h"
#include "lab/live/views.h"

namespace lab {

namespace {

/// Says what the plan asks for and this run may not do.
void note_what_is_not_done(const Plan& plan, const Means& means, RunInfo& info) {
  info.fans = fans_held(plan, means);
  info.pstate = pstate_held(plan, means);
  if (plan.phases.empty()) {
    return;
  }
  const bool any_fans = std::any_of(
      plan.phases.begin(), plan.phases.end(),
      [&](const Phase& phase) { return fans_of(plan, phase).hold != Fans::Hold::automatic; });
  const bool any_pstate =
      std::any_of(plan.phases.begin(), plan.phases.end(),
                  [&](const Phase& phase) { return pstate_of(plan, phase).has_value(); });
  if (any_fans && (!means.root || means.fan_keys.empty())) {
    info.warnings.push_back(
        means.fan_keys.empty()
            ? "the fans are left to the machine: it has none that can be held"
            : "the fans are left to the machine, since only root may hold them: call this with "
              "sudo; it keeps root for starting the engine alone");
  }
  if (any_pstate && !means.root) {
    info.warnings.emplace_back(
        "the P-state is left to the machine, since only root may force it: call this with sudo");
  }
}

/// Adds the phases that the question wants after what was measured so far. Returns whether there
/// are any.
bool add_further(const Question& question, const RunFolder& folder, Plan& plan) {
  const std::vector<Phase> further = question.further(folder.read());
  if (!further.empty()) {
    plan.phases.insert(plan.phases.end(), further.begin(), further.end());
    folder.write_plan(plan, machine().program);
  }
  return !further.empty();
}

/// Keeps what the kernel's trace has. Without room for it, the engine's own record is the answer.
void write_trace(SchedulerTracer& tracer, const RunFolder& folder, RunInfo& info) {
  const SchedulerTrace trace = tracer.end();
  if (!trace.taken) {
    return;
  }
  try {
    folder.write_scheduler(trace);
  } catch (const FolderError& error) {
    info.warnings.push_back(std::string("the kernel's trace was not kept: ") + error.what());
  }
}

/// Has the engine play the plan into the folder, and what the question adds to it. Returns how many
/// lines of samples.csv were lost.
std::size_t conduct(const Question& question, Plan& plan, const RunFolder& folder, RunInfo& info,
                    const Means& means, const OutputOptions& output) {
  const ViewKind kind = output.quiet   ? ViewKind::quiet
                        : output.lines ? ViewKind::lines
                                       : fitting_kind(STDERR_FILENO);
  const std::unique_ptr<View> view = make_view(kind, STDERR_FILENO);
  const std::unique_ptr<SchedulerTracer> tracer =
      question.looks_at_scheduler() ? SchedulerTracer::begin("vorn-engine*") : nullptr;
  Conductor conductor(plan, folder, info, means, *view);
  try {
    conductor.play();
    for (std::size_t first = plan.phases.size();
         info.end == RunEnd::complete && plan.error && add_further(question, folder, plan);
         first = plan.phases.size()) {
      conductor.play(first);
    }
  } catch (const EngineError&) {
    if (info.engine_commands.size() <= 1 && !conductor.started()) {
      folder.discard();  // nothing has been run
    }
    throw;
  }
  if (tracer != nullptr) {
    write_trace(*tracer, folder, info);
  }
  if (conductor.lost() > 0) {
    info.warnings.push_back(folder.samples().string() + ": " + conductor.refusal() + ": " +
                            std::to_string(conductor.lost()) +
                            " lines are missing there: make room on that disk");
  }
  return conductor.lost();
}

/// Writes run.json. Returns why it could not be; empty if it was.
std::string write_info(const RunFolder& folder, const RunInfo& info) {
  try {
    folder.write_info(info);
  } catch (const FolderError& error) {
    return error.what();
  }
  return "";
}

ExitStatus status_of(const RunInfo& info, std::size_t lost, ExitStatus answered) {
  if (lost > 0) {
    return kNotWritten;
  }
  switch (info.end) {
    case RunEnd::interrupted:
      return kInterrupted;
    case RunEnd::complete:
      return answered;
    case RunEnd::cut_short:
    case RunEnd::limit:
    case RunEnd::failed:
      return kCutShort;
  }
  return kCutShort;
}

}  // namespace

std::string default_folder(const std::string& question) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "-%Y%m%d-%H%M%S", &local);
  return question + text.data();
}

ExitStatus run_plan(const Question& question, const Plan& asked, const OutputOptions& output,
                    const std::vector<std::string>& command) {
  Plan plan = asked;
  check(plan);
  refuse_unfit_loads(plan, engine_loads());
  const std::vector<MachineKey> keys = machine_keys();
  refuse_missing_parts(plan, keys);
  refuse_missing_pstates(plan, [] { return pstates_in(machine_check()); });
  RunInfo info;
  info.question = question.name();
  info.keys = chosen_keys(plan, keys);
  info.command = command;
  note_machine(info);
  Means means{.keys = {}, .fan_keys = fan_targets(keys), .root = may_start_as_root()};
  for (const KeyInfo& key : info.keys) {
    means.keys.push_back(key.name);
  }
  note_what_is_not_done(plan, means, info);

  const RunFolder folder =
      RunFolder::create(output.out.empty() ? default_folder(question.name()) : output.out);
  try {
    folder.write_plan(plan, machine().program);
    folder.write_info(info);
  } catch (const FolderError&) {
    folder.discard();  // nothing has been run
    throw;
  }
  listen_for_stop_requests();
  const std::size_t lost = conduct(question, plan, folder, info, means, output);
  if (refused_start(info.engine_status) && info.engine_commands.size() == 1) {
    folder.discard();
    throw EngineError(std::string(machine().engine) + " did not start (status " +
                      std::to_string(info.engine_status) + "): " + info.end_reason);
  }
  info.ended = wall_clock();
  const std::string not_written = write_info(folder, info);
  Run run = folder.read();
  run.info = info;  // the folder's own may be that of the beginning
  const ExitStatus answered =
      answer(folder, question, run, output.json ? Printed::json : Printed::words);
  if (!not_written.empty()) {
    throw AfterAnswer(not_written);
  }
  return status_of(info, lost, answered);
}

}  // namespace lab
