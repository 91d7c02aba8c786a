#include "lab/report/facts.h"
#include "lab/report/number_text.h"

namespace lab {

namespace {

std::string processor_text(const RunInfo& info) {
  if (info.processors <= 0) {
    return info.processor;
  }
  const std::string count =
      std::to_string(info.processors) + (info.processors == 1 ? " processor" : " processors");
  return info.processor.empty() ? count : info.processor + ", " + count;
}

std::string end_text(const RunInfo& info) {
  std::string said = text(info.end);
  const bool unplanned = info.end != RunEnd::complete && info.end != RunEnd::interrupted;
  if (unplanned && !info.end_reason.empty()) {
    said += ": " + info.end_reason;
  }
  if (info.engine_status > 0) {
    said += " (exit status " + std::to_string(info.engine_status) + " of the engine)";
  }
  return said;
}

}  // namespace

std::vector<Fact> machine_facts(const Run& run) {
  const RunInfo& info = run.info;
  std::vector<Fact> facts;
  const auto add = [&facts](const char* name, const std::string& text) {
    if (!text.empty()) {
      facts.push_back({.name = name, .text = text});
    }
  };
  if (info.subject.empty()) {  // else the machine that analysed it says nothing of what it shows
    add("Machine", info.host + (info.simulated ? " (simulated)" : ""));
    add("Processor", processor_text(info));
    add("System", info.system);
  }
  add("Version of the lab", info.lab_version);
  add("Version of the engine", info.engine_version);
  add("Begun", info.begun);
  add("Ended", info.ended);
  add("How it ended", end_text(info));
  add("Fans", info.fans);
  add("Fan speeds, as read", fan_speeds(run.samples, std::nullopt));
  add("P-state", info.pstate);
  return facts;
}

}  // namespace lab
