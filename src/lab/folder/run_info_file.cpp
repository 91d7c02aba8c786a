#include "lab/folder/run_info_file.h"

#include <nlohmann/json.hpp>

#include "lab/folder/folder_error.h"

namespace lab {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kVersion = 1;

RunEnd end_of(const std::string& word) {
  for (const RunEnd end : {RunEnd::complete, RunEnd::interrupted, RunEnd::limit, RunEnd::failed}) {
    if (word == text(end)) {
      return end;
    }
  }
  return RunEnd::cut_short;
}

}  // namespace

std::string run_info_text(const RunInfo& info) {
  Json keys = Json::array();
  for (const KeyInfo& key : info.keys) {
    keys.push_back({{"name", key.name}, {"unit", key.unit}, {"source", key.source}});
  }
  Json phases = Json::array();
  for (const PhaseInfo& phase : info.phases) {
    phases.push_back({{"name", phase.name},
                      {"engine_start", phase.engine_start},
                      {"fans", phase.fans},
                      {"pstate", phase.pstate}});
  }
  const Json json = {
      {"version", kVersion},
      {"question", info.question},
      {"subject", info.subject},
      // What a killed run leaves: nobody comes back to say so.
      {"end", text(info.end)},
      {"end_reason", info.end_reason},
      {"engine_status", info.engine_status},
      {"begun", info.begun},
      {"ended", info.ended},
      {"machine",
       {{"host", info.host},
        {"system", info.system},
        {"processor", info.processor},
        {"processors", info.processors},
        {"simulated", info.simulated}}},
      {"versions", {{"lab", info.lab_version}, {"engine", info.engine_version}}},
      {"command", info.command},
      {"engine_commands", info.engine_commands},
      {"keys", keys},
      {"fans", info.fans},
      {"pstate", info.pstate},
      {"phases", phases},
      {"warnings", info.warnings},
      {"notes", info.notes},
  };
  // A label of some hardware need not be UTF-8.
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

RunInfo parse_run_info(const std::string& text, const std::string& name) {
  try {
    const Json json = Json::parse(text);
    if (json.value("version", 0) != kVersion) {
      throw FolderError(name + ": its version is not " + std::to_string(kVersion) +
                        ": another vorn-lab wrote it; read it with that one");
    }
    const Json machine = json.value("machine", Json::object());
    const Json versions = json.value("versions", Json::object());
    RunInfo info{
        .question = json.value("question", ""),
        .subject = json.value("subject", ""),
        .end = end_of(json.value("end", "")),
        .end_reason = json.value("end_reason", ""),
        .engine_status = json.value("engine_status", -1),
        .host = machine.value("host", ""),
        .system = machine.value("system", ""),
        .processor = machine.value("processor", ""),
        .processors = machine.value("processors", 0),
        .simulated = machine.value("simulated", false),
        .lab_version = versions.value("lab", ""),
        .engine_version = versions.value("engine", ""),
        .command = json.value("command", std::vector<std::string>()),
        .engine_commands = json.value("engine_commands", std::vector<std::vector<std::string>>()),
        .keys = {},
        .begun = json.value("begun", ""),
        .ended = json.value("ended", ""),
        .fans = json.value("fans", ""),
        .pstate = json.value("pstate", ""),
        .phases = {},
        .warnings = json.value("warnings", std::vector<std::string>()),
        .notes = json.value("notes", std::vector<std::string>()),
    };
    for (const Json& key : json.value("keys", Json::array())) {
      info.keys.push_back({.name = key.value("name", ""),
                           .unit = key.value("unit", ""),
                           .source = key.value("source", "")});
    }
    for (const Json& phase : json.value("phases", Json::array())) {
      info.phases.push_back({.name = phase.value("name", ""),
                             .engine_start = phase.value("engine_start", 0),
                             .fans = phase.value("fans", ""),
                             .pstate = phase.value("pstate", "")});
    }
    return info;
  } catch (const Json::exception& error) {
    throw FolderError(name + ": not a run.json: " + error.what());
  }
}

}  // namespace lab
