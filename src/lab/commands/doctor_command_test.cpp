#include "lab/commands/doctor_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace lab {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

std::string remedy(const std::string& text) {
  return for_the_lab({.well = false, .text = "", .remedy = text}, "/opt/bin/",
                     "/opt/libexec/vorn/vorn-engine")
      .remedy;
}

TEST(Doctor, NamesTheProgramThatNeedsTheRight) {
  EXPECT_EQ(remedy("sudo setcap cap_sys_nice+ep /opt/bin/vorn; or a line"),
            "sudo setcap cap_sys_nice+ep /opt/libexec/vorn/vorn-engine; or a line");
  EXPECT_EQ(remedy("sudo /opt/bin/vorn, where they are wanted"),
            "sudo /opt/bin/vorn-lab, where they are wanted");
  EXPECT_EQ(remedy("virtual machines have none: use /opt/bin/vorn-sim"),
            "virtual machines have none: use /opt/bin/vorn-lab-sim");
  EXPECT_EQ(remedy("see /opt/bin/vorn-keys"), "see /opt/bin/vorn-keys");
}

TEST(Doctor, NamesItsOwnOptions) {
  EXPECT_EQ(remedy("run with -s 0; or load the driver"), "load the driver");
  EXPECT_EQ(remedy("or leave the fans alone: -s 0"), "or leave the fans alone: --fans automatic");
}

// This test is in a folder of its own, without any other program.
TEST(Doctor, SaysWhichProgramIsMissing) {
  testing::internal::CaptureStdout();
  const ExitStatus status = doctor(false);
  const std::string said = testing::internal::GetCapturedStdout();
  EXPECT_EQ(status, kNotDecided);
  EXPECT_THAT(said, AllOf(HasSubstr("lacks  the engine: vorn-engine-sim is neither in "),
                          HasSubstr("lacks  vorn-keys-sim is neither in "),
                          Not(HasSubstr("the engine is "))));
}

}  // namespace
}  // namespace lab
