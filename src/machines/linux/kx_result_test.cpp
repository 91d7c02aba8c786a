#include "machines/linux/kx_result.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace linux_machine {
namespace {

using sysfs::Trouble;

TEST(KxResult, OfWhatAnotherHoldsIsExclusiveAccess) {
  EXPECT_EQ(kx_result({Trouble::refused, EBUSY, ""}), kKxReturnExclusiveAccess);
}

TEST(KxResult, OfWhatTheHardwareCannotIsUnsupported) {
  EXPECT_EQ(kx_result({Trouble::refused, EOPNOTSUPP, ""}), kKxReturnUnsupported);
}

TEST(KxResult, OfEveryOtherRefusalIsNotPermitted) {
  for (const int error : {0, EACCES, EPERM, EROFS, ECANCELED, EINVAL, EIO}) {
    EXPECT_EQ(kx_result({Trouble::refused, error, ""}), kKxReturnNotPermitted) << error;
  }
}

TEST(KxResult, OfAValueOfTheCallersThatCannotBeIsBadArgument) {
  EXPECT_EQ(kx_result({Trouble::nonsense, EINVAL, ""}), kKxReturnBadArgument);
}

TEST(KxResult, OfNonsenseFromTheMachineIsAnError) {
  EXPECT_EQ(kx_result(sysfs::nonsense("class/x", "it reads -44000")), kKxReturnError);
}

TEST(KxResult, OfSilenceAndOfWhatWentAwayIsAnIOError) {
  for (const int error : {0, EIO, EBUSY, EINVAL, EOPNOTSUPP}) {
    EXPECT_EQ(kx_result({Trouble::silent, error, ""}), kKxReturnIOError) << error;
    EXPECT_EQ(kx_result({Trouble::absent, error, ""}), kKxReturnIOError) << error;
  }
}

// EBUSY and EOPNOTSUPP of an attribute are the chip's, not another program's.
TEST(KxResult, OfAnAttributesErrorFollowsWhatKindOfTroubleItIs) {
  const auto of = [](int error) { return kx_result(sysfs::failure("writing", "class/x", error)); };
  EXPECT_EQ(of(EACCES), kKxReturnNotPermitted);
  EXPECT_EQ(of(EPERM), kKxReturnNotPermitted);
  EXPECT_EQ(of(ENOENT), kKxReturnIOError);
  EXPECT_EQ(of(ENODEV), kKxReturnIOError);
  EXPECT_EQ(of(EBUSY), kKxReturnIOError);
  EXPECT_EQ(of(EINVAL), kKxReturnIOError);
  EXPECT_EQ(of(EOPNOTSUPP), kKxReturnIOError);
}

}  // namespace
}  // namespace linux_machine
