#include "lab/commands/common_options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <sstream>

#include "lab/plan/plan_error.h"
#include "lab/questions/number_range.h"

namespace lab {

namespace {

template <class Number>
std::optional<Number> parse(const std::string& text) {
  Number value{};
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

Fans parse_fans(const std::string& text) {
  if (text == "automatic") {
    return {.hold = Fans::Hold::automatic, .rpm = 0};
  }
  if (text == "maximum") {
    return {.hold = Fans::Hold::maximum, .rpm = 0};
  }
  const std::optional<int> rpm = parse<int>(text);
  if (!rpm || *rpm < 1 || *rpm > 100000) {
    throw PlanError("--fans takes \"automatic\", \"maximum\" or a speed in RPM, and not \"" + text +
                    "\"");
  }
  return {.hold = Fans::Hold::speed, .rpm = *rpm};
}

std::optional<int> parse_pstate(const std::string& text) {
  if (text == "automatic") {
    return std::nullopt;
  }
  const std::optional<int> number = parse<int>(text);
  if (!number || *number < 0 || *number > kLastPState) {
    throw PlanError("--pstate takes \"automatic\" or a number from 0 to 255, and not \"" + text +
                    "\"");
  }
  return number;
}

void add_limit(const std::string& text, Plan& plan) {
  const std::size_t sign = text.find('=');
  const std::optional<double> value =
      sign == std::string::npos ? std::nullopt : parse<double>(text.substr(sign + 1));
  if (!value || !std::isfinite(*value)) {
    throw PlanError("--limit takes KEY=VALUE, such as TC0D=95, and not \"" + text + "\"");
  }
  plan.limits[text.substr(0, sign)] = *value;
}

}  // namespace

void add_output_options(CLI::App& app, OutputOptions& options) {
  app.add_option("--out", options.out, "folder for the run (default: QUESTION-DATE-TIME)")
      ->option_text("<folder>");
  app.add_flag("--json", options.json, "print the result as JSON");
  app.add_flag("--quiet", options.quiet, "show nothing while it runs");
  app.add_flag("--lines", options.lines, "show lines while it runs, and no full screen");
}

void add_plan_options(CLI::App& app, PlanOptions& options, const Plan& defaults) {
  const auto hertz = [](double value) {
    std::ostringstream text;
    text << value;
    return text.str();
  };
  app.add_option("--plan", options.plan_file, "run the plan in this file")->option_text("<file>");
  app.add_option(
         "--load", options.load,
         "one of vorn-engine's loads that follow a waveform (default: " + defaults.load + ")")
      ->option_text("<load>");
  app.add_option("--threads", options.threads, "threads of load (default: 0, one a processor)")
      ->check(CLI::Range(0, 4096))
      ->option_text("<n>");
  app.add_option("--rate", options.rate_hz,
                 "samples per second (default: " + hertz(defaults.rate_hz) + ")")
      ->check(number_from(0.001, 1000.0))
      ->option_text("<hz>");
  app.add_option(
         "--carrier", options.carrier_hz,
         "frequency of a duty between 0 and 1 (default: " + hertz(defaults.carrier_hz) + ")")
      ->check(number_from(0.001, 10000.0))
      ->option_text("<hz>");
  app.add_option("--key", options.keys,
                 "sample this key; may be repeated (default: every temperature, power and fan "
                 "speed)")
      ->expected(1)
      ->take_all()
      ->option_text("<key>");
  app.add_option("--power", options.power,
                 "the key of the power that heats (default: PC0C, or the first power)")
      ->option_text("<key>");
  app.add_option("--fans", options.fans,
                 "\"automatic\", \"maximum\", or a speed in RPM (superuser)")
      ->option_text("<fans>");
  app.add_option("--pstate", options.pstate, "\"automatic\", or a P-state to force (superuser)")
      ->option_text("<p>");
  app.add_option("--limit", options.limits,
                 "end the run when key <k> shows more than <v>; may be repeated")
      ->expected(1)
      ->take_all()
      ->option_text("<k>=<v>");
}

void apply(const PlanOptions& options, Plan& plan) {
  if (!options.load.empty()) {
    plan.load = options.load;
  }
  plan.threads = options.threads.value_or(plan.threads);
  plan.rate_hz = options.rate_hz.value_or(plan.rate_hz);
  plan.carrier_hz = options.carrier_hz.value_or(plan.carrier_hz);
  if (!options.keys.empty()) {
    plan.keys = options.keys;
  }
  if (!options.power.empty()) {
    plan.power = options.power;
  }
  if (!options.fans.empty()) {
    plan.fans = parse_fans(options.fans);
  }
  if (!options.pstate.empty()) {
    plan.pstate = parse_pstate(options.pstate);
  }
  for (const std::string& limit : options.limits) {
    add_limit(limit, plan);
  }
}

}  // namespace lab
