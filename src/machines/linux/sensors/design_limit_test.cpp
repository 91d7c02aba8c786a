#include "machines/linux/sensors/design_limit.h"

#include <gtest/gtest.h>

namespace linux_machine {
namespace {

TEST(DesignLimit, GoesByFamilyAndModel) {
  EXPECT_EQ(design_limit_c("cpu:type:x86,ven0002fam0019mod0061:feature:,0000"), 95);
  EXPECT_EQ(design_limit_c("cpu:type:x86,ven0002fam0019mod0021:feature:,0000"), 90);
  EXPECT_EQ(design_limit_c("cpu:type:x86,ven0002fam0019mod0050:feature:,0000"), 105);
  EXPECT_EQ(design_limit_c("cpu:type:x86,ven0002fam0019mod0074:feature:,0000"), 100);
  EXPECT_EQ(design_limit_c("cpu:type:x86,ven0002fam001Amod0044:feature:,0000"), 95);
  EXPECT_EQ(design_limit_c("cpu:type:x86,ven0002fam001Amod0024:feature:,0000"), 100);
  EXPECT_EQ(design_limit_c("cpu:type:x86,ven0002fam0017mod0008:feature:,0000"), 85);
}

TEST(DesignLimit, OfAnyOtherProcessorIsTheUsualOne) {
  for (const char* modalias :
       {"", "cpu:type:x86,ven0000fam0019mod0021:", "cpu:type:aarch64:feature:,0001", "ven0002fam00",
        "cpu:type:x86,ven0002fam0019"}) {
    EXPECT_EQ(design_limit_c(modalias), 95) << modalias;
  }
}

}  // namespace
}  // namespace linux_machine
