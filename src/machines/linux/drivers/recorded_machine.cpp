#include "machines/linux/drivers/recorded_machine.h"

#include <list>
#include <utility>

#include "machines/linux/cpufreq/pstates.h"
#include "machines/linux/drivers/machine.h"
#include "machines/linux/record/noting_tree.h"
#include "machines/linux/record/recorder.h"

namespace linux_machine {
namespace {

constexpr const char* kNowhere = "/nonexistent";
constexpr uid_t kNobody = 65534;

/// What the drivers look at to list the machine's keys and P-states.
std::set<std::string> looked_at(const Surroundings& surroundings) {
  // Kept for good: an access that was given up may be in it for ever.
  static std::list<NotingTree>& kept = *new std::list<NotingTree>;
  NotingTree& noting = kept.emplace_back(surroundings.sys);
  Surroundings noted{.sys = noting,
                     .proc = surroundings.proc,
                     .curves_folder = kNowhere,
                     .state_folder = kNowhere,
                     .guarded = false,
                     .now_ns = surroundings.now_ns,
                     .sleep_for = surroundings.sleep_for,
                     .effective_user = [] { return kNobody; },
                     .report = [](const std::string&) {}};
  {
    const Machine machine(noted);
    for (const Key& key : machine.keys()) {
      if (key.connect && !key.moves_fan_when_read) {
        static_cast<void>(key.connect()->read());
      }
    }
  }
  static_cast<void>(read_cpufreq(noting));
  return noting.noted();
}

}  // namespace

RecordedMachine::RecordedMachine(std::vector<MachineEntry> entries,
                                 std::function<void(const std::string&)> report)
    : sys_(std::move(entries), [this] { return now_ns_.load(); }),
      proc_({}, [] { return std::int64_t{0}; }),
      surroundings_{.sys = sys_,
                    .proc = proc_,
                    .curves_folder = kNowhere,
                    .state_folder = kNowhere,
                    .guarded = false,
                    .now_ns = [this] { return now_ns_.load(); },
                    .sleep_for = [this](std::int64_t ns) { now_ns_ += ns; },
                    .effective_user = [] { return kNobody; },
                    .report = std::move(report)} {}

std::string record_machine(const Surroundings& surroundings, int readings) {
  Recorder recorder(surroundings.sys, surroundings.now_ns);
  recorder.find(looked_at(surroundings));
  for (int reading = 0; reading < readings; ++reading) {
    if (reading != 0) {
      surroundings.sleep_for(kNsPerS);
    }
    recorder.read();
  }
  std::string text;
  for (const MachineEntry& entry : recorder.entries()) {
    text += machine_text(entry);
  }
  return text;
}

}  // namespace linux_machine
