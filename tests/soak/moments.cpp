#include "soak/moments.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

int runs_of_each_shape() {
  const char* const said = std::getenv("VORN_SOAK_RUNS");
  return said == nullptr ? 12 : std::atoi(said);
}

std::string go_on(const program::Running& running, bool while_starting, std::mt19937& random,
                  useconds_t latest) {
  if (!while_starting) {
    EXPECT_TRUE(running.wait_until_catching());
  }
  const useconds_t moment =
      std::uniform_int_distribution<useconds_t>(0, while_starting ? 4000 : latest)(random);
  usleep(moment);
  return std::to_string(moment) + " us after its " + (while_starting ? "start" : "handler");
}
