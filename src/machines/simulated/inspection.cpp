#include "Inspection/inspection.h"

#include "Host/host.h"
#include "machines/linux_kernel/linux_kernel.h"
#include "machines/simulated/keys.h"
#include "machines/simulated/power.h"

std::vector<inspection::Key> inspection::keys() {
  std::vector<Key> keys;
  for (const simulated::Key& key : simulated::all_keys()) {
    keys.push_back({controller::characters_of(key.code), "simulated", false});
  }
  return keys;
}

std::size_t inspection::pstates() {
  return simulated::kPStates.size();
}

std::vector<inspection::Finding> inspection::check() {
  std::vector<Finding> findings;
  findings.push_back({true, "keys and fans: simulated, nothing is needed for them", ""});
  findings.push_back(
      {true, "P-states: 0 to " + std::to_string(pstates() - 1) + " (simulated)", ""});
  if (linux_kernel::may_have_fixed_priority(host::kControlPriority)) {
    findings.push_back({true, "fixed priority: this user may have it", ""});
  } else {
    findings.push_back({true,
                        "fixed priority: this user may not have it; vorn-sim runs with the "
                        "ordinary one, and its load shares the processors",
                        ""});
  }
  return findings;
}

bool inspection::calibrate(const Console& console) {
  console.print("the simulated fans hold their speed without a curve: nothing to measure");
  return true;
}

bool inspection::assign(const std::string& /*wish*/, const Console& console) {
  console.complain("the simulated fans have their numbers");
  return false;
}

bool inspection::restore(const Console& console) {
  console.print("a simulated machine ends with its run: nothing is left changed");
  return true;
}

std::optional<std::string> inspection::record(const Console& console) {
  console.complain("the simulated machine is the same everywhere: there is nothing to record");
  return std::nullopt;
}

std::string inspection::use_record(const std::string& /*text*/) {
  return "the simulated machine plays no record; vorn-keys does";
}
