#pragma once

#include <iosfwd>

namespace vorn_keys {

/// Writes a line for each key of the machine's controller, behind a line of headings: key, type,
/// size (bytes), value, unit, source, separated by tabs. A key whose value cannot be read shows
/// why in its place. Returns whether every value could be read; an empty machine has none that
/// could not. Throws SMCException if there is no controller.
bool list_keys(std::ostream& out);

}  // namespace vorn_keys
