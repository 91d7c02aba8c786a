#include "lab/commands/run_command.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>

#include "lab/commands/answering.h"
#include "lab/commands/conductor.h"
#include "lab/commands/stop_request.h"
#include "lab/commands/this_machine.h"
#include "lab/engine_process/caller.h"
#include "lab/engine_process/engine_error.h"
#include "lab/engine_process/machine.h"
#include "lab/engine_process/machine_keys.h"
#include "lab/live/views.h"

namespace lab {

namespace {

/// Whether the engine's exit status says that it has not begun.
bool refused(int status) {
  constexpr int kFirst = 10;
  constexpr int kLast = 14;
  constexpr int kWrongOptions = 255;
  constexpr int kNoProgram = 127;
  return (status >= kFirst && status <= kLast) || status == kWrongOptions || status == kNoProgram;
}

/// The keys that the plan wants sampled, as the machine has them.
std::vector<KeyInfo> chosen_keys(const Plan& plan, const std::vector<MachineKey>& machine_keys) {
  std::vector<KeyInfo> chosen;
  const auto choose = [&](const MachineKey& key) {
    chosen.push_back({.name = key.name, .unit = key.unit, .source = key.source});
  };
  if (plan.keys.empty()) {
    for (const MachineKey& key : machine_keys) {
      if (worth_sampling(key)) {
        choose(key);
      }
    }
  }
  std::vector<std::string> wanted = plan.keys;
  if (!plan.keys.empty() && !plan.power.empty() &&
      std::find(wanted.begin(), wanted.end(), plan.power) == wanted.end()) {
    wanted.push_back(plan.power);
  }
  for (const std::string& name : wanted) {
    const auto found = std::find_if(machine_keys.begin(), machine_keys.end(),
                                    [&](const MachineKey& key) { return key.name == name; });
    if (found == machine_keys.end()) {
      throw EngineError("this machine has no key \"" + name + "\": \"" + machine().keys +
                        "\" lists those that it has");
    }
    choose(*found);
  }
  if (!plan.power.empty()) {
    const auto heat = std::find_if(chosen.begin(), chosen.end(),
                                   [&](const KeyInfo& key) { return key.name == plan.power; });
    if (heat == chosen.end() || heat->unit != "W") {
      throw EngineError("\"" + plan.power + "\" is no power that this machine has: \"" +
                        machine().keys + "\" lists its keys and their units");
    }
  }
  if (chosen.empty()) {
    throw EngineError(std::string("no temperature, power or fan speed can be read here: \"") +
                      machine().program + " doctor\" says what is missing");
  }
  return chosen;
}

std::vector<std::string> fan_targets(const std::vector<MachineKey>& keys) {
  std::vector<std::string> targets;
  for (const MachineKey& key : keys) {
    if (key.unit == "RPM" && key.name.size() == 4 && key.name.ends_with("Tg")) {
      targets.push_back(key.name);
    }
  }
  return targets;
}

std::string held(const Plan& plan, const Means& means) {
  if (!plan.phases.empty() && means.root && !means.fan_keys.empty()) {
    switch (plan.fans.hold) {
      case Fans::Hold::automatic:
        return "left to the machine";
      case Fans::Hold::maximum:
        return "held at their maximum";
      case Fans::Hold::speed:
        return "held at " + std::to_string(plan.fans.rpm) + " RPM";
    }
  }
  return plan.phases.empty() ? "as the engine's options have it" : "left to the machine";
}

/// Says what the plan asks for and this run may not do.
void note_what_is_not_done(const Plan& plan, const Means& means, RunInfo& info) {
  info.fans = held(plan, means);
  info.pstate = plan.phases.empty()         ? "as the engine's options have it"
                : plan.pstate && means.root ? "P-state " + std::to_string(*plan.pstate) + " forced"
                                            : "left to the machine";
  if (plan.phases.empty()) {
    return;
  }
  if (plan.fans.hold != Fans::Hold::automatic && (!means.root || means.fan_keys.empty())) {
    info.warnings.push_back(
        means.fan_keys.empty()
            ? "the fans are left to the machine: it has none that can be held"
            : "the fans are left to the machine, since only root may hold them: call this with "
              "sudo; it keeps root for starting the engine alone");
  }
  if (plan.pstate && !means.root) {
    info.warnings.emplace_back(
        "the P-state is left to the machine, since only root may force it: call this with sudo");
  }
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

ExitStatus run_plan(const Question& question, const Plan& plan, const OutputOptions& output,
                    const std::vector<std::string>& command) {
  check(plan);
  const std::vector<MachineKey> keys = machine_keys();
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
  folder.write_plan(plan);
  folder.write_info(info);
  listen_for_stop_requests();
  std::size_t lost = 0;
  {
    const ViewKind kind = output.quiet   ? ViewKind::quiet
                          : output.lines ? ViewKind::lines
                                         : fitting_kind(STDERR_FILENO);
    const std::unique_ptr<View> view = make_view(kind, STDERR_FILENO);
    Conductor conductor(plan, folder, info, means, *view);
    conductor.play();
    lost = conductor.lost();
  }
  if (lost > 0) {
    info.warnings.push_back(std::to_string(lost) +
                            " lines of samples.csv were lost, since the "
                            "disk did not take them: make room on it");
  }
  if (refused(info.engine_status) && info.engine_commands.size() == 1) {
    folder.discard();
    throw EngineError(std::string(machine().engine) + " did not start (status " +
                      std::to_string(info.engine_status) + "): " + info.end_reason);
  }
  info.ended = wall_clock();
  folder.write_info(info);
  const ExitStatus answered =
      answer(folder, question, output.json ? Printed::json : Printed::words);
  return status_of(info, lost, answered);
}

}  // namespace lab
