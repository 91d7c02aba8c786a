#include "lab/commands/doctor_command.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "lab/engine_process/caller.h"
#include "lab/engine_process/engine_error.h"
#include "lab/engine_process/machine.h"
#include "lab/engine_process/machine_keys.h"
#include "lab/engine_process/programs.h"
#include "lab/questions/question.h"

namespace lab {

namespace {

using Json = nlohmann::ordered_json;

Offer offer_of(const std::vector<MachineKey>& keys) {
  const auto any = [&](auto fits) { return std::any_of(keys.begin(), keys.end(), fits); };
  const auto of_unit = [&](const char* unit) {
    return any(
        [unit](const MachineKey& key) { return key.unit == unit && key.readable && key.sampled; });
  };
  return {.temperatures = of_unit("degC"),
          .power = of_unit("W"),
          .fans = may_start_as_root() && any([](const MachineKey& key) {
                    return key.unit == "RPM" && key.name.ends_with("Tg");
                  }),
          .pstates = may_start_as_root()};
}

std::vector<MachineKey> keys_or_none() {
  try {
    return machine_keys();
  } catch (const EngineError&) {
    return {};  // that there are none is among the findings
  }
}

void print(const Finding& finding) {
  std::cout << (finding.well ? "ok     " : "lacks  ") << finding.text << '\n';
  if (!finding.remedy.empty()) {
    std::cout << "       -> " << finding.remedy << '\n';
  }
}

}  // namespace

ExitStatus doctor(bool json) {
  const std::string engine = find_program(machine().engine).string();
  const std::vector<Finding> findings = machine_check();
  const Offer offer = offer_of(keys_or_none());
  const auto questions = all_questions();
  Json lacking = Json::object();
  bool well = std::all_of(findings.begin(), findings.end(),
                          [](const Finding& finding) { return finding.well; });
  if (!json) {
    std::for_each(findings.begin(), findings.end(), print);
    std::cout << "ok     the engine is " << engine << '\n';
  }
  for (const auto& question : questions) {
    const std::vector<std::string> lacks = question->lacks(offer);
    lacking[question->name()] = lacks;
    if (json) {
      continue;
    }
    if (lacks.empty()) {
      std::cout << "ok     " << question->name() << ": all that it needs is here\n";
    }
    for (const std::string& what : lacks) {
      std::cout << "lacks  " << question->name() << ": " << what << '\n';
    }
  }
  if (json) {
    Json found = Json::array();
    for (const Finding& finding : findings) {
      found.push_back({{"well", finding.well}, {"text", finding.text}, {"remedy", finding.remedy}});
    }
    const Json all{{"version", 1},
                   {"well", well},
                   {"engine", engine},
                   {"findings", found},
                   {"lacks", lacking}};
    std::cout << all.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
  }
  return well ? kAnswered : kNotDecided;
}

}  // namespace lab
