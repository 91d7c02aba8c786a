#include "lab/analysis/dropouts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace lab {
namespace {

TEST(Dropouts, OfATemperatureAreZeroAndWhatIsFarBeyondAnyBetweenOthers) {
  std::vector<double> values{40, 0, 0, 41, 42, -127, 43, 65535, 44};
  EXPECT_EQ(take_out_temperature_dropouts(values), 4U);
  for (const std::size_t at : {1U, 2U, 5U, 7U}) {
    EXPECT_TRUE(std::isnan(values[at])) << at;
  }
  EXPECT_EQ(values[3], 41);
  EXPECT_EQ(take_out_temperature_dropouts(values), 0U);
}

TEST(Dropouts, ATemperatureThatReallyIsZeroStays) {
  const std::vector<double> through{3, 1, 0, -1, -2};
  const std::vector<double> rise{0, 0, 8, 12, 14, 3, 0, 0};  // above that of the air
  for (const std::vector<double>& real : {through, rise}) {
    std::vector<double> values = real;
    EXPECT_EQ(take_out_temperature_dropouts(values), 0U);
    EXPECT_EQ(values, real);
  }
}

TEST(Dropouts, OfAPowerAreRareZeroesBetweenTheSame) {
  std::vector<double> values(200, 20);
  values[50] = values[51] = 0;
  EXPECT_EQ(take_out_power_dropouts(values), 2U);
  EXPECT_TRUE(std::isnan(values[50]));
}

TEST(Dropouts, APowerThatIsSwitchedStays) {
  std::vector<double> waveform;
  for (int at = 0; at < 200; ++at) {
    waveform.push_back(at % 4 < 2 ? 20 : 0);
  }
  std::vector<double> step(200, 0);
  for (std::size_t at = 50; at < 150; ++at) {
    step[at] = 20;
  }
  for (const std::vector<double>& real : {waveform, step}) {
    std::vector<double> values = real;
    EXPECT_EQ(take_out_power_dropouts(values), 0U);
    EXPECT_EQ(values, real);
  }
}

}  // namespace
}  // namespace lab
