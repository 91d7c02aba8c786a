#include "lab/plan/plan_file.h"

#include <toml++/toml.h>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>

#include "lab/data/file_text.h"
#include "lab/plan/plan_drive.h"
#include "lab/plan/plan_error.h"
#include "lab/plan/plan_members.h"

namespace lab {

namespace {

/// How long a phase lasts that does not end by itself.
std::optional<double> fixed_length(const Phase& phase, PlanMembers& members) {
  if (phase.until_settled) {
    return std::nullopt;
  }
  if (phase.until_stopped) {
    return kLongestPhase_s;
  }
  return phase.drive.shape == Drive::Shape::profile ? phase.drive.profile.back().time_s
                                                    : members.duration("duration");
}

Phase parse_phase(const toml::table& table, const std::string& file) {
  PlanMembers members(table, file, "a phase");
  members.only({"name", "duty", "sinusoid", "triangle", "sines", "mean", "offset", "depth",
                "duration", "at_most", "drift", "fan", "fans", "pstate", "load", "profile"});
  Phase phase;
  phase.name = members.text("name", "phase");
  phase.drive = parse_drive(members);
  const toml::node* duration = table.get("duration");
  const auto until = [&](const char* what) {
    return duration != nullptr && duration->value<std::string>() == what;
  };
  phase.until_settled = until("until settled");
  phase.until_stopped = until("until stopped");
  const std::optional<double> fixed = fixed_length(phase, members);
  const std::optional<double> at_most = members.duration("at_most");
  if (phase.until_settled != at_most.has_value() ||
      (members.has("drift") && !phase.until_settled)) {
    members.refuse("a phase \"until settled\" has at_most, and perhaps a drift; no other has");
  }
  phase.drift = members.number("drift", phase.drift, 0.001, 0.5);
  if (!phase.until_settled && !fixed) {
    members.refuse("a phase has a duration, such as 90, \"2m\" or \"until settled\"");
  }
  phase.duration_s = (phase.until_settled ? at_most : fixed).value_or(0);
  if (members.has("load")) {
    phase.load = members.text("load", "");
  }
  phase.fan = members.text("fan", "");
  phase.fans = members.fans(0);
  if (!phase.fan.empty() && !phase.fans) {
    members.refuse("a phase with a fan has fans, the speed that it is to turn at");
  }
  phase.pstate = members.pstate();
  return phase;
}

void parse_limits(const toml::node* node, const PlanMembers& members, Plan& plan) {
  if (node == nullptr) {
    return;
  }
  if (!node->is_table()) {
    members.refuse(node->source(), "limits is to be a table of keys, such as TC0D = 95");
  }
  for (const auto& [key, value] : *node->as_table()) {
    const auto number = value.value<double>();
    if (!number || !std::isfinite(*number)) {
      members.refuse(value.source(), "the limit of a key is to be a number");
    }
    plan.limits[std::string(key.str())] = *number;
  }
}

void parse_predicted(const toml::node* node, const PlanMembers& members, const std::string& file,
                     Plan& plan) {
  if (node == nullptr) {
    return;
  }
  if (!node->is_table()) {
    members.refuse(node->source(), "predicted is to be a table: [predicted]");
  }
  PlanMembers predicted(*node->as_table(), file, "predicted");
  predicted.only({"from", "stages"});
  plan.predicted_from = predicted.text("from", "another run");
  const toml::node* stages = predicted.take("stages");
  constexpr const char* kForm =
      "the stages of a key are to be a list of [K/W, s], such as TC0D = [[0.2, 0.5], [0.2, 28]]";
  if (stages == nullptr || !stages->is_table()) {
    predicted.refuse(kForm);
  }
  for (const auto& [key, list] : *stages->as_table()) {
    for (const std::vector<double>& row : predicted.rows(list, 2, kForm)) {
      if (!(row[1] > 0)) {
        predicted.refuse(list.source(), kForm);
      }
      plan.predicted[std::string(key.str())].push_back({.resistance = row[0], .tau_s = row[1]});
    }
  }
}

}  // namespace

Plan parse_plan(std::string_view text, const std::string& name) {
  toml::table table;
  try {
    table = toml::parse(text, name);
  } catch (const toml::parse_error& error) {
    std::ostringstream why;
    why << name << ':' << error.source().begin.line << ':' << error.source().begin.column << ": "
        << error.description();
    throw PlanError(why.str());
  }
  PlanMembers members(table, name, "a plan");
  members.only({"question", "load", "threads", "carrier", "rate", "keys", "power", "structure",
                "fans", "pstate", "engine_options", "seed", "error", "limits", "predicted",
                "phase"});
  const Plan defaults;
  Plan plan;
  plan.question = members.text("question", "run");
  plan.load = members.text("load", defaults.load);
  plan.threads = members.whole_number("threads", defaults.threads, 0, 4096);
  plan.carrier_hz = members.number("carrier", defaults.carrier_hz, 0.001, 10000);
  plan.rate_hz = members.number("rate", defaults.rate_hz, 0.001, 1000);
  plan.keys = members.texts("keys");
  plan.power = members.text("power", "");
  plan.structure = members.flag("structure", defaults.structure);
  plan.fans = members.fans(1).value_or(defaults.fans);
  plan.pstate = members.pstate();
  if (plan.pstate == kAutomaticPState) {
    plan.pstate.reset();
  }
  plan.engine_options = members.texts("engine_options");
  const int seed = members.whole_number("seed", -1, 0, std::numeric_limits<int>::max());
  plan.seed = seed < 0 ? std::nullopt : std::optional(seed);
  const double error = members.number("error", 0, 1e-6, 1);
  plan.error = error > 0 ? std::optional(error) : std::nullopt;
  parse_limits(members.take("limits"), members, plan);
  parse_predicted(members.take("predicted"), members, name, plan);
  if (const toml::node* phases = members.take("phase")) {
    if (!phases->is_array_of_tables()) {
      members.refuse(phases->source(), "phases are written [[phase]]");
    }
    for (const toml::node& phase : *phases->as_array()) {
      plan.phases.push_back(parse_phase(*phase.as_table(), name));
    }
  }
  if (plan.phases.empty() && plan.question != "run" && plan.question != "fit") {
    throw PlanError(name + ": a plan for \"" + plan.question + "\" has phases: [[phase]]");
  }
  if (!plan.engine_options.empty()) {
    for (const char* word : {"load", "threads", "carrier", "fans", "pstate", "limits"}) {
      if (members.has(word)) {
        members.refuse(table.get(word)->source(),
                       std::string(word) + " has no effect beside engine_options: put it there");
      }
    }
  }
  if (!plan.phases.empty() && !plan.engine_options.empty()) {
    throw PlanError(name + ": engine_options belong to a plan without phases");
  }
  return plan;
}

Plan read_plan(const std::string& path) {
  const std::optional<std::string> text = text_of_file(path);
  if (!text) {
    throw PlanError(path + ": " + std::strerror(errno));
  }
  return parse_plan(*text, path);
}

}  // namespace lab
