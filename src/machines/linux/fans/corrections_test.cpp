#include <gtest/gtest.h>

#include <cerrno>
#include <vector>

#include "support/machine/fan_fixture.h"

// How a forced fan is kept at its speed, and what is tried where that fails.

namespace linux_machine {
namespace {

class CorrectionsTest : public testing::Test {
 protected:
  CorrectionsTest() { bench_.new_run(); }

  FanFixture bench_;
};

// A chip that is written to more often may stop answering, and the fan has not followed yet.
TEST_F(CorrectionsTest, ComeNoSoonerThanThreeSecondsAfterEachOther) {
  ASSERT_TRUE(bench_.control->set_force_bits(1));
  ASSERT_TRUE(bench_.control->set_target_rpm(0, 1500));
  bench_.pass(20);
  ASSERT_TRUE(sysfs::write_text(bench_.moving, FanFixture::attribute("pwm1"), "100"));
  std::vector<std::int64_t> written_ns;
  bench_.memory.on_write(FanFixture::attribute("pwm1"), [&](std::string&) {
    written_ns.push_back(bench_.surroundings.now_ns);
    return 0;
  });
  bench_.pass(40);
  ASSERT_GE(written_ns.size(), 3U);
  for (std::size_t i = 1; i < written_ns.size(); ++i) {
    EXPECT_GE(written_ns[i] - written_ns[i - 1], kCorrectionNs);
  }
}

TEST_F(CorrectionsTest, AFanThatDoesNotTurnHasNoMaximum) {
  bench_.moving.block(0, true);
  const auto maximum = bench_.control->maximum_rpm(0);
  ASSERT_FALSE(maximum) << *maximum;
  EXPECT_NE(maximum.failure().message.find("the fan does not turn at full speed"),
            std::string::npos)
      << maximum.failure().message;
}

TEST_F(CorrectionsTest, WhatIsOwedIsTriedAgainForFourRounds) {
  ASSERT_TRUE(bench_.control->set_force_bits(1));
  int tries = 0;
  bench_.memory.on_write(FanFixture::attribute("pwm1_enable"), [&](std::string& text) {
    const bool original = text.starts_with("5");
    tries += original ? 1 : 0;
    return original ? -EIO : 0;
  });
  bench_.memory.put(FanFixture::kTemperature, "104000");
  bench_.pass(0.5);
  const int at_once = tries;
  bench_.pass(10);
  const int in_all = tries;
  EXPECT_GT(in_all, at_once);
  bench_.pass(10);
  EXPECT_EQ(tries, in_all);
}

}  // namespace
}  // namespace linux_machine
