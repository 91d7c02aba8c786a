#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

#include "Inspection/unit.h"
#include "machines/linux/cpufreq/pstates.h"
#include "machines/linux/drivers/machine.h"
#include "support/golden.h"
#include "support/machine/energy_flow.h"
#include "support/machine/machine_file.h"

// What each machine of tests/machines shows, its counters at 40 W each, as root sees it: reviewed
// by eye, and held here word for word.

namespace linux_machine {
namespace {

/// The number that a client decodes, or what kind of trouble there is.
std::string value_text(const Key& key) {
  if (key.moves_fan_when_read) {
    return "not measured";
  }
  const auto value = key.connect ? key.connect()->read() : key.read();
  if (!value) {
    const char* const kTroubles[] = {"absent", "refused",     "silent",     "nonsense",
                                     "held",   "unsupported", "given_back", "bad_value"};
    return kTroubles[static_cast<int>(value.failure().trouble)];
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", key.type.decode(key.type.encode(*value)));
  return text;
}

void list_pstates(std::ostream& out, sysfs::Tree& sys) {
  if (!has_pstates(sys)) {
    return;
  }
  const sysfs::Result<Cpufreq> cpufreq = read_cpufreq(sys);
  if (!cpufreq) {
    out << "\nP-states: " << cpufreq.failure().message << '\n';
    return;
  }
  const auto last = static_cast<std::uint32_t>(count_pstates(cpufreq->policies) - 1);
  out << "\nP-states 0, 1 and " << last << ", kHz\n";
  for (const Policy& policy : cpufreq->policies) {
    out << policy.folder << " (" << policy.driver << "): " << pstate_khz(policy, 0) << ", "
        << pstate_khz(policy, 1) << ", " << pstate_khz(policy, last) << '\n';
  }
}

std::string listing_of(const std::string& name) {
  MemoryTree tree(read_machine(name));
  const TestSurroundings world(tree);
  let_energy_flow(tree, world, 40);
  const Machine machine(world.surroundings);
  std::ostringstream out;
  for (const Key& key : machine.keys()) {
    out << key.name() << '\t' << controller::characters_of(key.type.code) << '\t' << value_text(key)
        << '\t' << inspection::unit_of(key.name()) << '\t' << key.source << '\n';
  }
  if (!machine.temperatures().empty()) {
    out << "\nwatched, and critical from\n";
  }
  for (const WatchedTemperature& one : machine.temperatures()) {
    out << one.attribute << ": " << one.critical_c << '\n';
  }
  list_pstates(out, tree);
  return out.str();
}

class ListingTest : public testing::TestWithParam<std::string> {};

TEST_P(ListingTest, IsAsItWasReviewed) {
  expect_golden(VORN_MACHINES "/" + GetParam() + ".listing", listing_of(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Machines, ListingTest, testing::ValuesIn(all_machines()),
                         [](const auto& one) { return one.param; });

}  // namespace
}  // namespace linux_machine
