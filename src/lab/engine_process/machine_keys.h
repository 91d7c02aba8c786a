#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

/// A key of the machine's controller, as the companion lists it.
struct MachineKey {
  std::string name;
  std::string unit;  ///< "W", "degC", "RPM", "V", "A"; empty: none
  std::string source;
  std::optional<double> value = std::nullopt;  ///< as it is now; nothing: not a number
  bool readable = true;
  bool sampled = true;  ///< whether a run can monitor it
};

/// One line of what a run can do on this machine, or cannot.
struct Finding {
  bool well = true;
  std::string text;
  std::string remedy;  ///< may be empty
};

/// The keys in the companion's listing. Pure.
std::vector<MachineKey> parse_listing(std::string_view text);

/// The findings of the companion's check. Pure.
std::vector<Finding> parse_check(std::string_view text);

/// How many P-states a run can force, as the companion's check says; 0: it does not. Pure.
std::size_t pstates_in(const std::vector<Finding>& findings);

/// Why there are no keys, and what helps, of a companion that listed none and said `errors`. Pure.
std::string no_keys(std::string_view errors);

/// The machine's keys, read now, with the rights that the engine is started with. Throws
/// EngineError if the machine shows none.
std::vector<MachineKey> machine_keys();

/// What a run can do here. Throws EngineError.
std::vector<Finding> machine_check();

/// Whether a key is worth sampling when nobody names keys: a temperature, a power, a speed that a
/// fan really has. Targets and bounds of fans do not change by themselves.
bool worth_sampling(const MachineKey& key);

}  // namespace lab
