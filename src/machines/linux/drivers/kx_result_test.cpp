#include "machines/linux/drivers/kx_result.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace linux_machine {
namespace {

using sysfs::Trouble;

TEST(KxResult, FollowsWhatHappened) {
  EXPECT_EQ(kx_result({Trouble::held, ""}), kKxReturnExclusiveAccess);
  EXPECT_EQ(kx_result({Trouble::unsupported, ""}), kKxReturnUnsupported);
  EXPECT_EQ(kx_result({Trouble::refused, ""}), kKxReturnNotPermitted);
  EXPECT_EQ(kx_result({Trouble::given_back, ""}), kKxReturnNotPermitted);
  EXPECT_EQ(kx_result({Trouble::bad_value, ""}), kKxReturnBadArgument);
  EXPECT_EQ(kx_result({Trouble::nonsense, ""}), kKxReturnError);
  EXPECT_EQ(kx_result({Trouble::absent, ""}), kKxReturnIOError);
  EXPECT_EQ(kx_result({Trouble::silent, ""}), kKxReturnIOError);
}

TEST(KxResult, DoesNotFollowAnErrno) {
  for (const int error : {0, EIO, EBUSY, EINVAL, EOPNOTSUPP}) {
    EXPECT_EQ(kx_result({Trouble::silent, "", error}), kKxReturnIOError) << error;
    EXPECT_EQ(kx_result({Trouble::refused, "", error}), kKxReturnNotPermitted) << error;
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
