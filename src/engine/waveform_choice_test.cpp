#include "engine/waveform_choice.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "engine/waveforms/steered.h"
#include "engine/waveforms/waveform_error.h"
#include "support/settings_fixture.h"
#include "vorn/interval_source.h"
#include "vorn/settings.h"

namespace engine {
namespace {

using Intervals = std::vector<std::int64_t>;

class WaveformChoiceTest : public SettingsFixture {
 protected:
  ~WaveformChoiceTest() override { std::filesystem::remove(file_); }

  /// The first intervals of the chosen waveform, at most `count`.
  Intervals first(std::size_t count) {
    choice_ = choose_waveform(request_);
    Intervals intervals;
    while (choice_.source && intervals.size() < count) {
      const auto next = choice_.source->next_ns();
      if (!next) {
        break;
      }
      intervals.push_back(*next);
    }
    return intervals;
  }

  std::string file_ =
      (std::filesystem::temp_directory_path() / ("vorn-choice-" + std::to_string(getpid())))
          .string();
  Request request_;
  WaveformChoice choice_;
};

TEST_F(WaveformChoiceTest, IsNoneUnlessOneIsAskedFor) {
  EXPECT_EQ(first(1), Intervals{});
  EXPECT_EQ(choice_.source, nullptr);
}

TEST_F(WaveformChoiceTest, IsASquareWaveOfTheFrequency) {
  frequency = 20.0;
  EXPECT_EQ(first(2), (Intervals{25000000, 25000000}));
  EXPECT_EQ(choice_.description, "");
}

TEST_F(WaveformChoiceTest, IsADuty) {
  frequency = 10.0;
  request_.duty = 0.3;
  EXPECT_EQ(first(3), (Intervals{30000000, 70000000, 30000000}));
  EXPECT_EQ(choice_.description, "duty 0.3");
}

TEST_F(WaveformChoiceTest, IsAListOfIntervalsOnceOrInALoop) {
  std::ofstream(file_) << "100\n250\n";
  request_.edges = file_;
  EXPECT_EQ(first(4), (Intervals{100000, 250000}));
  request_.loop = true;
  EXPECT_EQ(first(4), (Intervals{100000, 250000, 100000, 250000}));
  EXPECT_EQ(choice_.description, "edges \"" + file_ + "\" in a loop");
}

TEST_F(WaveformChoiceTest, IsSteered) {
  frequency = 10.0;
  request_.steer = true;
  EXPECT_EQ(first(3), (Intervals{0, 0, 100000000}));
  EXPECT_EQ(choice_.description, "steered by standard input");
  EXPECT_EQ(choice_.steered, choice_.source.get());
  request_.steer = false;
  first(1);
  EXPECT_EQ(choice_.steered, nullptr);
}

TEST_F(WaveformChoiceTest, IsASwing) {
  frequency = 100.0;
  sinusoid = 1.0;
  request_.offset = 0.2;
  request_.depth = 0.3;
  EXPECT_EQ(first(2), (Intervals{2000000, 8000000}));
  EXPECT_EQ(choice_.description, "1Hz sinusoid from duty 0.2 to 0.5");
  sinusoid = 0.0;
  triangle = 0.5;
  request_.depth.reset();
  EXPECT_EQ(first(2), (Intervals{2000000, 8000000}));
  EXPECT_EQ(choice_.description, "0.5Hz triangle from duty 0.2 to 1");
}

TEST_F(WaveformChoiceTest, IsSteadyIfOnlyAStartIsAgreed) {
  request_.at_ns = 1;
  EXPECT_EQ(first(5).size(), 1U);
  EXPECT_EQ(choice_.description, "steady load");
}

TEST_F(WaveformChoiceTest, AFileThatIsNotValidIsRefused) {
  std::ofstream(file_) << "100\nsoon\n";
  request_.edges = file_;
  EXPECT_THROW(first(1), WaveformError);
}

}  // namespace
}  // namespace engine
