#include "lab/commands/doctor_command.h"

#include <algorithm>
#include <cctype>
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

/// `text` with `to` in place of each `from` that is a whole word: no letter and no dash behind it.
std::string with_word(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos;) {
    const std::size_t behind = at + from.size();
    const bool whole = behind == text.size() ||
                       (std::isalnum(static_cast<unsigned char>(text[behind])) == 0 &&
                        text[behind] != '-' && text[behind] != '_' && text[behind] != '/');
    if (whole) {
      text.replace(at, from.size(), to);
    }
    at = text.find(from, at + (whole ? to.size() : from.size()));
  }
  return text;
}

/// What the machine lacks. An error is a finding.
std::vector<Finding> findings_of(const std::string& engine) {
  std::vector<Finding> findings;
  try {
    const std::string folder = find_program(machine().keys).parent_path().string() + "/";
    for (const Finding& finding : machine_check()) {
      findings.push_back(for_the_lab(finding, folder, engine.empty() ? "vorn-engine" : engine));
    }
  } catch (const EngineError& error) {
    findings.push_back({.well = false, .text = error.what(), .remedy = {}});
  }
  return findings;
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

Finding for_the_lab(const Finding& finding, const std::string& folder, const std::string& engine) {
  const auto translated = [&](std::string text) {
    // The lab itself is called through sudo; rights of a file are the engine's.
    text = with_word(std::move(text), "sudo " + folder + "vorn", "sudo " + folder + "vorn-lab");
    text = with_word(std::move(text), folder + "vorn", engine);
    text = with_word(std::move(text), folder + "vorn-sim", folder + "vorn-lab-sim");
    text = with_word(std::move(text), "run with -s 0; or load", "load");
    text = with_word(std::move(text), "-s 0", "--fans automatic");
    text = with_word(std::move(text), "-s, -a and -p change nothing",
                     "fans and P-states are left to the machine");
    return with_word(std::move(text), "; a run as root fails", "");
  };
  return {
      .well = finding.well, .text = translated(finding.text), .remedy = translated(finding.remedy)};
}

ExitStatus doctor(bool json) {
  std::string engine;
  std::string no_engine;
  try {
    engine = find_program(machine().engine).string();
  } catch (const EngineError& error) {
    no_engine = error.what();
  }
  std::vector<Finding> findings = findings_of(engine);
  if (!no_engine.empty()) {
    findings.push_back({.well = false, .text = "the engine: " + no_engine, .remedy = {}});
  }
  const Offer offer = offer_of(keys_or_none());
  const auto questions = all_questions();
  Json lacking = Json::object();
  bool well = std::all_of(findings.begin(), findings.end(),
                          [](const Finding& finding) { return finding.well; });
  if (!json) {
    std::for_each(findings.begin(), findings.end(), print);
    if (!engine.empty()) {
      std::cout << "ok     the engine is " << engine << '\n';
    }
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
