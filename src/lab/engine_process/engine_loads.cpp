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

void refuse_unknown_loads(const Plan& plan, const std::vector<std::string>& loads) {
  for (const Phase& phase : plan.phases) {
    const std::string load = phase.load.value_or(plan.load);
    if (loads.empty() || std::find(loads.begin(), loads.end(), load) != loads.end()) {
      continue;
    }
    std::string why = machine().engine;
    why.append(" has no load \"").append(load).append("\": it has");
    for (const std::string& name : loads) {
      why.append(name == loads.front() ? " " : ", ").append(name);
    }
    throw EngineError(why);
  }
}

}  // namespace lab
