#include "vorn/sample_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace {

TEST(SampleText, IsTheTimeAndEachValueBehindATab) {
  std::string line = "what was there before";
  format_sample(line, 12.5001, {40.5F, -3.25F});
  EXPECT_EQ(line, "12.5001\t40.5\t-3.25\n");
  format_sample(line, 3.09944e-06, {});
  EXPECT_EQ(line, "3.09944e-06\n");
}

// The file's format is a stream's default one.
TEST(SampleText, WritesNumbersAsAStreamDoes) {
  for (const float value :
       {0.0F, 1e6F, 999999.5F, 1.0F / 3.0F, 65535.99F, 1e-5F, 1e30F, -0.0F,
        std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
    std::ostringstream expected;
    expected << 123456.789 << "\t" << value << "\n";
    std::string line;
    format_sample(line, 123456.789, {value});
    EXPECT_EQ(line, expected.str());
  }
}

}  // namespace
