#include "lab/questions/heat.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(FullLoad, IsLessWithFewerThreadsThanProcessors) {
  lab::Run run;
  run.info.processors = 4;
  EXPECT_EQ(full_load(run), 1);  // it is not known how many there were
  run.delivery.threads = 1;
  EXPECT_EQ(full_load(run), 0.25);
  EXPECT_EQ(heat_and_temperatures(run).full_load, 0.25);
  run.delivery.threads = 8;
  EXPECT_EQ(full_load(run), 1);
}

}  // namespace
}  // namespace lab
