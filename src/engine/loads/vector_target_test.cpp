#include "engine/loads/vector_target.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

/// What the kernel says that the first processor can do; empty where it says it in other words.
std::string processor_flags() {
  std::ifstream in("/proc/cpuinfo");
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("flags")) {
      return line + " ";
    }
  }
  return "";
}

TEST(VectorTarget, HasTheWidestVectorsThatTheKernelKnowsOf) {
  const std::string flags = processor_flags();
  const auto has = [&](const char* flag) {
    return flags.find(std::string(" ") + flag + " ") != std::string::npos;
  };
  if (has("avx512dq") && has("avx512bw") && has("avx512vl")) {
    EXPECT_EQ(loads::vector_bytes(), 64U) << loads::vector_target();
  } else if (has("avx2") && has("fma") && has("bmi2")) {
    EXPECT_EQ(loads::vector_bytes(), 32U) << loads::vector_target();
  } else {
    EXPECT_GE(loads::vector_bytes(), 16U) << loads::vector_target();
  }
}

TEST(VectorTarget, HasAName) {
  EXPECT_FALSE(loads::vector_target().empty());
  EXPECT_EQ(loads::vector_target().find_first_of(" \t\n\""), std::string::npos);
}

}  // namespace
