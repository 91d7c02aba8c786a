#include "lab/analysis/replay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace lab {
namespace {

using testing::Contains;
using testing::HasSubstr;

/// Eight samples a second of a load of so many seconds, half of which is delivered `lost` short;
/// power is 10 W + 40 W of the load of 3 seconds before.
Table replayed(int seconds, double lost) {
  const auto load = [](int second) {
    return 0.4 + 0.3 * std::sin(0.7 * second) * std::cos(second);
  };
  Table samples;
  Column asked{.name = "asked", .unit = {}, .source = {}, .values = {}};
  Column delivered{.name = "delivered", .unit = {}, .source = {}, .values = {}};
  Column power{.name = "PC0C", .unit = "W", .source = {}, .values = {}};
  Column air{.name = "TA0P", .unit = "degC", .source = {}, .values = {}};
  for (int row = 0; row < 8 * seconds; ++row) {
    samples.time_s.push_back(0.125 * row + 5);
    asked.values.push_back(0.5 * load(row / 8));
    delivered.values.push_back(0.5 * load(row / 8) - (row / 8 % 2 == 0 ? 2 * lost : 0));
    power.values.push_back(10 + 40 * load(row / 8 - 3));
    air.values.push_back(25);
  }
  samples.columns = {asked, delivered, power, air};
  return samples;
}

TEST(Replay, ComparesWhatWasAskedForWithWhatWasDelivered) {
  Answer answer;
  tell_replay(replayed(200, 0.01), answer);
  const auto& replay = answer.figures["replay"];
  EXPECT_EQ(replay["seconds"], 200);
  EXPECT_NEAR(replay["asked"].get<double>() - replay["delivered"].get<double>(), 0.01, 1e-9);
  EXPECT_NEAR(replay["difference_rms"].get<double>(), 0.02 / std::sqrt(2.0), 1e-9);
  EXPECT_NEAR(replay["difference_most"].get<double>(), 0.02, 1e-9);
  EXPECT_THAT(answer.sentences[0], HasSubstr("second by second they differ by 1.41 % (rms)"));
  EXPECT_TRUE(answer.warnings.empty());
  EXPECT_EQ(answer.charts[0].series[0].x.size(), 200U);
}

TEST(Replay, CountsAPartOfASecondAsAPart) {
  Table samples = replayed(3, 0);
  constexpr std::size_t kRows = 20;  // of 24
  samples.time_s.resize(kRows);
  double sum = 0;
  for (Column& column : samples.columns) {
    column.values.resize(kRows);
  }
  for (const double asked : samples.columns[0].values) {
    sum += asked;
  }
  Answer answer;
  tell_replay(samples, answer);
  EXPECT_NEAR(answer.figures["replay"]["seconds"].get<double>(), 2.5, 1e-9);
  EXPECT_NEAR(answer.figures["replay"]["asked"].get<double>(), sum / kRows, 1e-9);
}

TEST(Replay, FindsHowLongAResponseTakes) {
  Answer answer;
  tell_replay(replayed(200, 0), answer);
  const auto& responses = answer.figures["replay"]["responses"];
  EXPECT_EQ(responses["PC0C"]["lag"], 3);
  EXPECT_NEAR(responses["PC0C"]["correlation"].get<double>(), 1, 1e-6);
  EXPECT_TRUE(responses["TA0P"]["correlation"].is_null()) << "it stands still";
}

TEST(Replay, SaysThatALoadDidNotFollow) {
  Answer answer;
  tell_replay(replayed(100, 0.1), answer);
  EXPECT_THAT(answer.warnings, Contains(HasSubstr("did not follow the utilisation")));
}

TEST(Replay, OfNothingIsNotDecided) {
  Answer answer;
  tell_replay(Table{}, answer);
  EXPECT_FALSE(answer.decided);
}

}  // namespace
}  // namespace lab
