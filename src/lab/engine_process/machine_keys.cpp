#include "lab/engine_process/machine_keys.h"

#include <charconv>

#include "lab/engine_process/caller.h"
#include "lab/engine_process/child.h"
#include "lab/engine_process/engine_error.h"
#include "lab/engine_process/machine.h"
#include "lab/engine_process/programs.h"

namespace lab {

namespace {

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t at = text.find(separator);
    parts.push_back(text.substr(0, at));
    if (at == std::string_view::npos) {
      return parts;
    }
    text.remove_prefix(at + 1);
  }
}

std::string short_unit(std::string_view unit) {
  if (unit == "degrees C") {
    return "degC";
  }
  return unit == "-" ? "" : std::string(unit);
}

/// What the companion prints for one of its options; what it says of errors is added to `errors`.
std::string ask_companion(const std::string& option, std::string& errors) {
  Child child({.program = find_program(machine().keys),
               .arguments = {option},
               .as_root = may_start_as_root(),
               .kept = {}});
  std::string output;
  child.wait(output, errors);
  return output;
}

}  // namespace

std::vector<MachineKey> parse_listing(std::string_view text) {
  std::vector<MachineKey> keys;
  for (const std::string_view line : split(text, '\n')) {
    const std::vector<std::string_view> cells = split(line, '\t');
    if (cells.size() != 6 || line.starts_with('#')) {
      continue;
    }
    double value = 0;
    const std::string_view shown = cells[3];
    const bool number =
        std::from_chars(shown.data(), shown.data() + shown.size(), value).ec == std::errc();
    keys.push_back({.name = std::string(cells[0]),
                    .unit = short_unit(cells[4]),
                    .source = std::string(cells[5]),
                    .value = number ? std::optional(value) : std::nullopt,
                    .readable = number,
                    // The engine's sampler takes fixed-point numbers of two bytes.
                    .sampled = cells[1].starts_with("fp") || cells[1].starts_with("sp")});
  }
  return keys;
}

std::vector<Finding> parse_check(std::string_view text) {
  std::vector<Finding> findings;
  for (const std::string_view line : split(text, '\n')) {
    if (line.starts_with("ok     ") || line.starts_with("lacks  ")) {
      findings.push_back(
          {.well = line.starts_with("ok"), .text = std::string(line.substr(7)), .remedy = {}});
    } else if (line.starts_with("       -> ") && !findings.empty()) {
      findings.back().remedy = line.substr(10);
    }
  }
  return findings;
}

std::size_t pstates_in(const std::vector<Finding>& findings) {
  constexpr std::string_view kRange = "P-states: 0 to ";
  for (const Finding& finding : findings) {
    if (finding.well && finding.text.starts_with(kRange)) {
      const char* const number = finding.text.data() + kRange.size();
      std::size_t last = 0;
      const auto read = std::from_chars(number, finding.text.data() + finding.text.size(), last);
      return read.ec == std::errc() ? last + 1 : 0;
    }
  }
  return 0;
}

std::string no_keys(std::string_view errors) {
  std::string why = std::string("this machine shows no keys: \"") + machine().program +
                    " doctor\" says what it lacks, and the remedy";
  if (!machine().simulated) {
    why.append("; \"").append(machine().program).append("-sim\" has a simulated one");
  }
  // The companion's own hint, to its --check, is what the doctor says.
  while (errors.ends_with('\n')) {
    errors.remove_suffix(1);
  }
  const std::string_view last = errors.substr(errors.rfind('\n') + 1);
  if (!last.empty() && last.find("--check") == std::string_view::npos) {
    why.append("; ").append(last);
  }
  return why;
}

std::vector<MachineKey> machine_keys() {
  std::string errors;
  std::vector<MachineKey> keys = parse_listing(ask_companion("--list", errors));
  if (keys.empty()) {
    throw EngineError(no_keys(errors));
  }
  return keys;
}

std::vector<Finding> machine_check() {
  std::string errors;
  return parse_check(ask_companion("--check", errors));
}

bool worth_sampling(const MachineKey& key) {
  if (!key.readable || !key.sampled) {
    return false;
  }
  return key.unit == "W" || key.unit == "degC" || (key.unit == "RPM" && key.name.ends_with("Ac"));
}

}  // namespace lab
