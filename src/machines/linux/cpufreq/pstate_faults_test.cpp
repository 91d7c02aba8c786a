#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <tuple>

#include "support/machine/cpufreq_fixture.h"
#include "support/machine/turns.h"

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Result;

struct Processors {
  const char* name;
  std::string text;
};

std::ostream& operator<<(std::ostream& out, const Processors& processors) {
  return out << processors.name;
}

/// Every access of forcing and giving back fails, one after the other.
class PStateFaults : public testing::TestWithParam<std::tuple<Processors, int, FaultyTree::For>> {};

/// How many accesses there are if none fails.
int accesses_of(const std::string& text, std::uint32_t n) {
  CpufreqMachine machine(text);
  EXPECT_TRUE(machine.control.force(n));
  EXPECT_TRUE(machine.control.give_back());
  return machine.faulty.accesses();
}

TEST_P(PStateFaults, LeaveTheMachineAsItWas) {
  const auto& [processors, error, how_long] = GetParam();
  const std::string& text = processors.text;
  constexpr std::uint32_t kSlow = 43;
  const int accesses = accesses_of(text, kSlow);
  const auto [first, step] = turns(how_long == FaultyTree::For::once ? 0 : 1, 2);
  int failures = 0;
  for (int access = first; access <= accesses; access += step) {
    SCOPED_TRACE("access " + std::to_string(access));
    CpufreqMachine machine(text);
    const auto before = machine.kernel.snapshot();
    machine.faulty.fail(access, error, how_long);

    const Result<Done> forced = machine.control.force(kSlow);
    if (!forced) {
      ++failures;
      EXPECT_NE(forced.failure().message.find("devices/system/cpu/"), std::string::npos)
          << forced.failure().message;
    } else if (error != EBUSY) {  // which says that a policy is offline, and may stay as it is
      EXPECT_EQ(machine.limits(0), "400000 400000");
    }
    const Result<Done> given_back = machine.control.give_back();
    if (how_long == FaultyTree::For::ever) {
      machine.faulty.heal();
      EXPECT_TRUE(machine.control.give_back());
    } else {
      EXPECT_TRUE(given_back) << given_back.failure().message;
    }
    machine.test.now_ns += kNsPerS;  // nothing may be on its way still
    EXPECT_EQ(machine.kernel.snapshot(), before);
    EXPECT_EQ(machine.tree.open_handles(), 0);
  }
  EXPECT_GT(failures, accesses / step / 4);
}

INSTANTIATE_TEST_SUITE_P(
    Every, PStateFaults,
    testing::Combine(testing::Values(Processors{"Turbo", turbo_machine()},
                                     Processors{"Performance", performance_machine()}),
                     testing::Values(EIO, EINVAL, EBUSY, EACCES, ENODATA),
                     testing::Values(FaultyTree::For::once, FaultyTree::For::ever)),
    [](const auto& one) {
      return std::string(std::get<0>(one.param).name) + strerrorname_np(std::get<1>(one.param)) +
             (std::get<2>(one.param) == FaultyTree::For::once ? "Once" : "Ever");
    });

}  // namespace
}  // namespace linux_machine
