#include "engine/waveforms/profile.h"

#include <cmath>
#include <sstream>

#include "support/edges_of.h"
#include "support/test_file.h"

namespace {

using Edges = std::vector<std::int64_t>;

Edges play(const std::string& text, double carrier_hz, Playing playing, std::size_t count) {
  const TestFile file(text);
  return edges_of(*profile_duty(carrier_hz, file.path(), playing), count);
}

std::string complaint_about_profile(const std::string& text) {
  return complaint(TestFile(text), [](const std::string& path) { read_profile(path); });
}

TEST(Profile, OfStepsHoldsEachDutyUntilTheNextPoint) {
  EXPECT_EQ(play("steps\n0 0.2\n1 0.8\n2 0\n", 1, Playing::once, 9),
            (Edges{kSecond / 5, kSecond, kSecond * 9 / 5, 2 * kSecond}));
}

TEST(Profile, OfLinesGoesStraightFromPointToPoint) {
  const Edges edges = play("lines\n0 0\n10 1\n", 10, Playing::once, 999);
  for (std::int64_t slot = 0; slot < 100; ++slot) {
    const double middle = (static_cast<double>(slot) + 0.5) / 100;
    EXPECT_NEAR(static_cast<double>(on_time(edges, slot * kSecond / 10, (slot + 1) * kSecond / 10)),
                middle * 1e8, 1.0);
  }
}

TEST(Profile, EndsWithItsLastPointInMidSlotToo) {
  const Edges edges = play("steps\n0 0.5\n2.3 0.5\n", 1, Playing::once, 99);
  EXPECT_EQ(edges.back(), 2300000000);
  EXPECT_EQ(on_time(edges, 0, edges.back()), 1150000000);
}

TEST(Profile, LosesNothingOfAPeakBetweenTwoSlots) {
  const Edges edges = play("steps\n0 0\n0.30 1\n0.31 0\n1 0\n", 10, Playing::once, 99);
  EXPECT_EQ(on_time(edges, 3 * kSecond / 10, 4 * kSecond / 10), 10000000);
}

TEST(Profile, SwitchesNothingWhereTheDutyIsZeroOrOne) {
  EXPECT_EQ(play("steps\n0 0\n86000 1\n86400 1\n", 2000, Playing::once, 99),
            (Edges{0, 86000 * kSecond, 86400 * kSecond}));
  EXPECT_EQ(play("lines\n0 1\n100 1\n101 0\n86400 0\n", 1, Playing::once, 99),
            (Edges{100500000000, 86400 * kSecond}));
}

TEST(Profile, InALoopGoesOnAsOneWaveThatTheCarrierDoesNotDivide) {
  const Edges edges = play("steps\n0 0.25\n0.15 0.75\n0.25 0\n", 10, Playing::looped, 4000);
  const std::int64_t round = kSecond / 4;
  EXPECT_EQ(on_time(edges, 0, 400 * round), 400 * std::int64_t{112500000});
}

TEST(Profile, LoopedForADayIsExactAtItsEnd) {
  const auto source = [] {
    const TestFile file("lines\n0 0.1\n0.7 0.9\n3.3 0.1\n");
    return profile_duty(20, file.path(), Playing::looped);
  }();
  std::int64_t at = 0;
  long double on = 0;
  for (int slot = 1; slot <= 20 * 86400; ++slot) {
    const std::int64_t on_ns = *source->next_ns();
    on += static_cast<long double>(on_ns);
    at += on_ns + *source->next_ns();
    ASSERT_EQ(at, slot * (kSecond / 20));
  }
  // 26181 rounds of 1.65 s, and 2.7 s of another. What is left is the rounding of each slot.
  const double last = 0.35 + 2 * 0.9 - 2 * 2 * 0.4 / 2.6;
  EXPECT_NEAR(static_cast<double>(on / 1e9L), 26181 * 1.65 + last, 1e-4);
}

TEST(Profile, OfADayWithAPointEachSecondIsExactAtItsEnd) {
  std::ostringstream text;
  text << "steps\n";
  for (int second = 0; second <= 86400; ++second) {
    text << second << " " << (second % 7 + 1) * 0.125 << "\n";
  }
  const Edges edges = play(text.str(), 1, Playing::once, 999999);
  ASSERT_EQ(edges.size(), 2U * 86400);
  for (std::int64_t second = 0; second < 86400; ++second) {
    const auto pair = static_cast<std::size_t>(2 * second);
    ASSERT_NEAR(static_cast<double>(edges[pair] - second * kSecond),
                static_cast<double>(second % 7 + 1) * 0.125e9, 1.0);
    ASSERT_EQ(edges[pair + 1], (second + 1) * kSecond);
  }
}

TEST(ProfileFile, TakesCommentsBlanksCommasAndTheLineEndsOfOtherSystems) {
  const Edges plain = play("steps\n0 0.2\n1 0.8\n2 0\n", 1, Playing::once, 9);
  EXPECT_EQ(play("\xEF\xBB\xBF# warm up\r\n\r\n steps \r\n0,\t0.2 # low\r\n1;0.8\r\n\t2 0", 1,
                 Playing::once, 9),
            plain);
}

TEST(ProfileFile, IsNotNeededAnyMoreOnceItIsRead) {
  const TestFile file("steps\n0 0.5\n2 0\n");
  const auto source = profile_duty(1, file.path(), Playing::once);
  std::ofstream(file.path()) << "nonsense";
  EXPECT_EQ(edges_of(*source, 9), (Edges{kSecond / 2, kSecond, kSecond * 3 / 2, 2 * kSecond}));
}

TEST(ProfileFile, ComplainsWithTheLineAndWhatIsWrong) {
  EXPECT_EQ(complaint_about_profile(""), ": the file says nothing");
  EXPECT_EQ(complaint_about_profile("# only this\n\n"), ": the file says nothing");
  EXPECT_EQ(complaint_about_profile("0 0.5\n1 0.5\n"),
            ":1: the first line must be \"steps\" or \"lines\", and is \"0 0.5\"");
  EXPECT_EQ(complaint_about_profile("steps\n"),
            ": there must be two points at least: the last one says when the profile ends");
  EXPECT_EQ(complaint_about_profile("steps\n\n0 0.5\n1 1.2\n"),
            ":4: duty 1.2 is not between 0 and 1");
  EXPECT_EQ(complaint_about_profile("steps\n0 -0.5\n"), ":2: duty -0.5 is not between 0 and 1");
  EXPECT_EQ(complaint_about_profile("steps\n1 0.5\n"), ":2: the first time must be 0, and is 1");
  EXPECT_EQ(complaint_about_profile("steps\n-1 0.5\n"),
            ":2: time -1 is not between 0 and 3.16224e+07 s");
  EXPECT_EQ(complaint_about_profile("steps\n0 0\n1 0\n1 1\n"), ":4: time 1 does not come after 1");
  EXPECT_EQ(complaint_about_profile("steps\n0 0\n1700000000 0\n"),
            ":3: time 1.7e+09 is not between 0 and 3.16224e+07 s");
  EXPECT_EQ(complaint_about_profile("lines\n0 0\n1 x\n"), ":3: \"x\" is not a number");
  EXPECT_EQ(complaint_about_profile("lines\n0 0\n1 0.5x\n"), ":3: \"0.5x\" is not a number");
  EXPECT_EQ(complaint_about_profile("lines\n0 0\nnan 0\n"), ":3: \"nan\" is not a number");
  EXPECT_EQ(complaint_about_profile("lines\n0 0\ninf 0\n"), ":3: \"inf\" is not a number");
  EXPECT_EQ(complaint_about_profile("lines\n0 0\n1e999 0\n"), ":3: \"1e999\" is not a number");
  EXPECT_EQ(complaint_about_profile("lines\n0 0\n1\n"),
            ":3: a time and a duty belong here, and there is \"1\"");
  EXPECT_EQ(complaint_about_profile("lines\n0 0\n1 0.5 7\n"),
            ":3: a time and a duty belong here, and there is \"1 0.5 7\"");
  EXPECT_EQ(complaint_about_profile("lines\n0 0\n1,,0.5\n"),
            ":3: a time and a duty belong here, and there is \"1,,0.5\"");
  EXPECT_EQ(complaint_about_profile("lines\n0 0\n1 0,5\n"),
            ":3: a time and a duty belong here, and there is \"1 0,5\"");
  EXPECT_EQ(complaint_about_profile(std::string("lines\n0 0\n1 0\0\n", 14)),
            ":3: \"0?\" is not a number");
  EXPECT_EQ(complaint_about_profile("lines\n" + std::string(2000, '7')),
            ":2: the line is longer than 1000 bytes");
}

TEST(ProfileFile, ThatCannotBeReadIsNamedWithTheReason) {
  const auto read = [](const std::string& path) {
    try {
      read_profile(path);
    } catch (const WaveformError& error) {
      return std::string(error.what());
    }
    return std::string("none");
  };
  EXPECT_EQ(read("/nowhere/at.all"), "/nowhere/at.all: No such file or directory");
  EXPECT_EQ(read("/"), "/: Is a directory");
  EXPECT_EQ(read("/dev/null"), "/dev/null: the file says nothing");
  EXPECT_EQ(read("/dev/zero"), "/dev/zero:1: the line is longer than 1000 bytes");
}

TEST(ProfileFile, OfMoreThanAMillionPointsIsRefused) {
  std::ostringstream text;
  text << "steps\n";
  for (int point = 0; point <= 1000000; ++point) {
    text << point << "e-3 1\n";
  }
  EXPECT_EQ(complaint_about_profile(text.str()), ":1000002: there are more than 1000000 points");
}

TEST(ProfileFile, OfCommentsWithoutEndIsRefused) {
  std::string text;
  while (text.size() <= (std::size_t{64} << 20)) {
    text.append(999, '#').append("\n");
  }
  EXPECT_EQ(complaint_about_profile(text), ": the file is larger than 64 MiB");
}

}  // namespace
