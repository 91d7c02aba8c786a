#pragma once

#include <string>

namespace inspection {

/// The unit of a key's value, by the key's own letters: "W" of powers, "degrees C" of temperatures,
/// "RPM" of what fans do, "-" of others. Pure. Thread: any.
std::string unit_of(const std::string& key);

}  // namespace inspection
