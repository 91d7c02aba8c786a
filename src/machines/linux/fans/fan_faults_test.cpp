#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "machines/linux/fans/calibration.h"
#include "support/machine/fan_fixture.h"

namespace linux_machine {
namespace {

using Operation = std::function<sysfs::Result<sysfs::Done>(FanFixture&)>;

struct Case {
  const char* name;
  Operation before;  ///< without faults
  Operation faulty;
};

sysfs::Result<sysfs::Done> nothing(FanFixture&) {
  return sysfs::Done{};
}

sysfs::Result<sysfs::Done> force(FanFixture& bench) {
  return bench.control->set_force_bits(3);
}

const Case kCases[] = {
    {"find the fans", nothing,
     [](FanFixture& bench) {
       bench.new_run();
       return sysfs::Done{};
     }},
    {"force", nothing, force},
    {"target", force, [](FanFixture& bench) { return bench.control->set_target_rpm(1, 1200); }},
    {"maximum", nothing,
     [](FanFixture& bench) {
       const auto maximum = bench.control->maximum_rpm(0);
       return maximum ? sysfs::Result<sysfs::Done>(sysfs::Done{}) : maximum.failure();
     }},
    {"maximum of a forced fan", force,
     [](FanFixture& bench) {
       const auto maximum = bench.control->maximum_rpm(0);
       return maximum ? sysfs::Result<sysfs::Done>(sysfs::Done{}) : maximum.failure();
     }},
    {"watch", force,
     [](FanFixture& bench) {
       bench.pass(5);
       return sysfs::Done{};
     }},
    {"give back", force, [](FanFixture& bench) { return bench.control->set_force_bits(0); }},
};

// Not ENODEV: a device that has gone is not put back.
constexpr int kErrors[] = {EIO, EBUSY, EINVAL, ENODATA, EACCES, ENXIO, EAGAIN};

/// Runs a case with the n-th access failing. Returns whether there were so many accesses.
bool run_with_fault(const Case& one, int n, int error, FaultyTree::For how_long) {
  FanFixture bench;
  bench.new_run();
  const auto before = bench.state();
  EXPECT_TRUE(one.before(bench));
  bench.faulty.fail(n, error, how_long);
  const auto result = one.faulty(bench);
  const bool reached = bench.faulty.accesses() >= n;
  bench.faulty.heal();
  if (!result) {
    EXPECT_NE(result.failure().message.find("devices/"), std::string::npos)
        << result.failure().message;
  }
  if (how_long == FaultyTree::For::once && bench.control->force_bits() == 0) {
    EXPECT_EQ(bench.state(), before);
  }
  // What a run does at its end.
  EXPECT_TRUE(bench.control->set_force_bits(0));
  EXPECT_EQ(bench.control->force_bits(), 0);
  EXPECT_EQ(bench.state(), before);
  return reached;
}

TEST(FanFaults, NothingCrashesAndEverythingIsPutBack) {
  for (const Case& one : kCases) {
    for (const int error : kErrors) {
      for (const auto how_long : {FaultyTree::For::once, FaultyTree::For::ever}) {
        int n = 1;
        while (run_with_fault(one, n, error, how_long)) {
          ASSERT_FALSE(testing::Test::HasFailure())
              << one.name << ", access " << n << ", error " << error
              << (how_long == FaultyTree::For::once ? " once" : " for ever");
          ++n;
        }
        EXPECT_GT(n, 2) << one.name;
      }
    }
  }
}

TEST(FanFaults, AFailedForcingForcesNothing) {
  for (int n = 1;; ++n) {
    FanFixture bench;
    bench.new_run();
    const auto before = bench.state();
    bench.faulty.fail(n, EIO, FaultyTree::For::once);
    const auto result = force(bench);
    if (bench.faulty.accesses() < n) {
      break;
    }
    bench.faulty.heal();
    EXPECT_EQ(bench.control->force_bits(), result ? 3 : 0);
    if (!result) {
      EXPECT_EQ(bench.state(), before) << n;
    }
  }
}

TEST(FanFaults, ACalibrationPutsTheFanBack) {
  for (int n = 1; n < 40; ++n) {
    for (const auto how_long : {FaultyTree::For::once, FaultyTree::For::ever}) {
      FanFixture bench;
      bench.new_run();
      const auto before = bench.state();
      bench.faulty.fail(n, EIO, how_long);
      const auto curve =
          measure_curve(bench.surroundings.surroundings, *bench.ledger,
                        bench.control->channels()[0], {}, [](double, const auto&) {});
      bench.faulty.heal();
      if (!curve) {
        EXPECT_NE(curve.failure().message.find("devices/"), std::string::npos);
      }
      bench.ledger->give_back_all();
      EXPECT_EQ(bench.state(), before) << n;
    }
  }
}

}  // namespace
}  // namespace linux_machine
