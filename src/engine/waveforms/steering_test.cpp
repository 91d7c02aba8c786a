#include "engine/waveforms/steering.h"

#include <gtest/gtest.h>

#include <vector>

namespace engine {
namespace {

using What = Steering::What;

Steering asked(std::string_view line) {
  const auto steering = parse_steering(line, 50.0);
  EXPECT_TRUE(steering.value) << line << ": " << steering.refused;
  return steering.value.value_or(Steering{});
}

std::string refusal(std::string_view line) {
  const auto steering = parse_steering(line, 50.0);
  return steering.value ? "none" : steering.refused;
}

TEST(SteeringLine, IsADuty) {
  for (const char* line : {"duty 0.25", "  duty\t.25 \r", "duty 25e-2"}) {
    const Steering steering = asked(line);
    EXPECT_EQ(steering.what, What::duty);
    EXPECT_EQ(steering.offset, 0.25);
    EXPECT_EQ(steering.hz, 0.0);
    EXPECT_EQ(steering.depth, 0.0);
  }
  EXPECT_EQ(asked("duty 0").offset, 0.0);
  EXPECT_EQ(asked("duty 1").offset, 1.0);
}

TEST(SteeringLine, IsASwing) {
  const Steering steering = asked("sinusoid 0.5 0.2 0.7");
  EXPECT_EQ(steering.what, What::sinusoid);
  EXPECT_EQ(steering.hz, 0.5);
  EXPECT_EQ(steering.offset, 0.2);
  EXPECT_EQ(steering.depth, 0.7);
  EXPECT_EQ(asked("triangle 25 0 1").what, What::triangle);
}

TEST(SteeringLine, IsASumOfSinusoids) {
  const Steering steering = asked("sines 0.45 0.2 0.1 90 0.05 0.2 -30");
  EXPECT_EQ(steering.what, What::sines);
  EXPECT_EQ(steering.offset, 0.45);
  EXPECT_EQ(steering.hz, 0.05);
  EXPECT_DOUBLE_EQ(steering.depth, 0.6);
  ASSERT_EQ(steering.sine_count, 2U);
  EXPECT_EQ(steering.sines[1].hz, 0.05);
  EXPECT_EQ(steering.sines[1].amplitude, 0.2);
  EXPECT_EQ(steering.sines[1].degrees, -30);
}

TEST(SteeringLine, OfSinusoidsIsRefusedForWhatIsWrongInAnyOfThem) {
  EXPECT_EQ(refusal("sines 2 1 0.1 0"), "\"2\" is not a mean from 0 to 1");
  EXPECT_EQ(refusal("sines 0.5 1 0.1 0 26 0.1 0"),
            "\"26\" Hz is above half of --frequency, which cannot show it");
  EXPECT_EQ(refusal("sines 0.5 1 0.1 0 2 -1 0"), "\"-1\" is not an amplitude from 0 to 1");
  EXPECT_EQ(refusal("sines 0.5 1 0.1 inf"), "\"inf\" is not an angle in degrees");
  std::string line = "sines 0.5";
  for (std::size_t at = 0; at < Steering::kMostSines; ++at) {
    line += " 1 0.01 0";
  }
  EXPECT_EQ(refusal(line), "none");
  EXPECT_EQ(refusal(line + " 1 0.01 0"), "there are more than 16 sinusoids");
}

TEST(SteeringLine, IsTheEnd) {
  EXPECT_EQ(asked("end").what, What::end);
}

TEST(SteeringLine, ThatSaysSomethingElseIsRefusedWithTheReason) {
  const std::string unknown = "it is none of the lines that are known";
  for (const char* line :
       {"", "half", "duty", "duty 0.5 0.5", "end 1", "sinusoid 1 0.5", "triangle 1 0 1 0",
        "Duty 0.5", "duty0.5", "sines 0.5", "sines 0.5 1 0.1"}) {
    EXPECT_EQ(refusal(line), unknown) << line;
  }
  EXPECT_EQ(refusal("duty 1.5"), "\"1.5\" is not a duty from 0 to 1");
  EXPECT_EQ(refusal("duty -0.1"), "\"-0.1\" is not a duty from 0 to 1");
  EXPECT_EQ(refusal("duty nan"), "\"nan\" is not a duty from 0 to 1");
  EXPECT_EQ(refusal("duty 1e999"), "\"1e999\" is not a duty from 0 to 1");
  EXPECT_EQ(refusal("duty half"), "\"half\" is not a duty from 0 to 1");
  EXPECT_EQ(refusal("duty 0.5x"), "\"0.5x\" is not a duty from 0 to 1");
  EXPECT_EQ(refusal("sinusoid 0 0 1"), "\"0\" is not a frequency from 1e-06 Hz on");
  EXPECT_EQ(refusal("sinusoid nan 0 1"), "\"nan\" is not a frequency from 1e-06 Hz on");
  EXPECT_EQ(refusal("triangle 26 0 1"),
            "\"26\" Hz is above half of --frequency, which cannot show it");
  EXPECT_EQ(refusal("triangle inf 0 1"),
            "\"inf\" Hz is above half of --frequency, which cannot show it");
  EXPECT_EQ(refusal("triangle 1 2 1"), "\"2\" is not an offset from 0 to 1");
  EXPECT_EQ(refusal("triangle 1 0 x"), "\"x\" is not a depth from 0 to 1");
  EXPECT_EQ(refusal("triangle 1 0.5 0.6"), "offset and depth add up to a duty above 1");
}

TEST(SteeringLine, ThatIsTooLongIsRefused) {
  EXPECT_EQ(refusal("duty 0.5" + std::string(SteeringLines::kLongest, ' ')),
            "the line is too long");
}

std::vector<std::string> lines_of(const std::vector<std::string>& pieces) {
  SteeringLines lines;
  std::vector<std::string> taken;
  for (const std::string& piece : pieces) {
    lines.add(piece, [&taken](std::string_view line) { taken.emplace_back(line); });
  }
  return taken;
}

TEST(SteeringLines, ComeWholeHoweverTheyArrive) {
  const std::vector<std::string> expected = {"duty 0.5", "", "end"};
  EXPECT_EQ(lines_of({"duty 0.5\n\nend\n"}), expected);
  EXPECT_EQ(lines_of({"du", "ty 0.", "5\n", "\nen", "d", "\n", "more"}), expected);
}

TEST(SteeringLines, OfAnyLengthTakeNoMoreMemoryThanTheLongest) {
  const auto taken = lines_of({std::string(100000, 'x'), std::string(100000, 'y') + "\nend\n"});
  ASSERT_EQ(taken.size(), 2U);
  EXPECT_EQ(taken[0].size(), SteeringLines::kLongest + 1);
  EXPECT_EQ(taken[1], "end");
}

}  // namespace
}  // namespace engine
