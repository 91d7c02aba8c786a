#include "Inspection/unit.h"

namespace inspection {

std::string unit_of(const std::string& key) {
  if (key.starts_with("P")) {
    return "W";
  }
  if (key.starts_with("T")) {
    return "degrees C";
  }
  const bool fan = key.size() == 4 && key[0] == 'F' && key[1] >= '0' && key[1] <= '9';
  return fan ? "RPM" : "-";
}

}  // namespace inspection
