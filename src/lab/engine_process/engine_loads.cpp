#include "lab/engine_process/engine_loads.h"

#include <algorithm>

#include "lab/engine_process/child.h"
#include "lab/engine_process/engine_error.h"
#include "lab/engine_process/machine.h"
#include "lab/engine_process/programs.h"

namespace lab {

std::vector<std::string> parse_loads(std::string_view help) {
  constexpr std::string_view kBegin = "\t\"";  // a line of the help for each: \t"bmix"\t...
  std::vector<std::string> loads;
  while (!help.empty()) {
    const std::string_view line = help.substr(0, help.find('\n'));
    help.remove_prefix(std::min(line.size() + 1, help.size()));
    const std::size_t end = line.find('"', kBegin.size());
    if (line.starts_with(kBegin) && end != std::string_view::npos) {
      loads.emplace_back(line.substr(kBegin.size(), end - kBegin.size()));
    }
  }
  return loads;
}

std::vector<std::string> engine_loads() {
  Child child({.program = find_program(machine().engine),
               .arguments = {"--help"},
               .as_root = false,
               .kept = {}});
  std::string output;
  std::string errors;
  child.wait(output, errors);
  return parse_loads(output + errors);
}

void refuse_unfit_loads(const Plan& plan, const std::vector<std::string>& loads) {
  const auto has = [&](const std::string& load) {
    return std::find(loads.begin(), loads.end(), load) != loads.end();
  };
  // The one that sleeps while the waveform is off is called as the one that does not, behind a "b".
  const auto deaf = [&](const std::string& load) { return has("b" + load); };
  for (const Phase& phase : plan.phases) {
    const std::string load = phase.load.value_or(plan.load);
    if (loads.empty() || (has(load) && !deaf(load))) {
      continue;
    }
    std::string why = std::string("load \"") + load + "\": ";
    if (deaf(load)) {
      why += "it never pauses, so that it cannot follow the duty of a phase: choose \"b" + load +
             "\", which does the same work and pauses; loads that pause are";
    } else {
      why.append(machine().engine).append(" has none of that name: those that follow a duty are");
    }
    const char* before = " ";
    for (const std::string& name : loads) {
      if (!deaf(name)) {
        why.append(before).append(name);
        before = ", ";
      }
    }
    throw EngineError(why);
  }
}

}  // namespace lab
