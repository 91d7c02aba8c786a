#include "engine/waveforms/edge_list.h"

#include <cmath>

#include "support/edges_of.h"
#include "support/test_file.h"

namespace {

using Edges = std::vector<std::int64_t>;

Edges play(const std::string& text, Playing playing, std::size_t count) {
  const TestFile file(text);
  return edges_of(*raw_edges(file.path(), playing), count);
}

std::string complaint_about_edges(const std::string& text, Playing playing = Playing::once) {
  return complaint(TestFile(text),
                   [playing](const std::string& path) { read_edges(path, playing); });
}

TEST(EdgeList, IsPlayedOnceAndIsOver) {
  EXPECT_EQ(play("100\n20.5\n1e3\n", Playing::once, 9), (Edges{100000, 120500, 1120500}));
}

TEST(EdgeList, MayBeginOff) {
  EXPECT_EQ(play("0\n20\n30\n", Playing::once, 9), (Edges{0, 20000, 50000}));
}

TEST(EdgeList, OfAnEvenNumberIsLoopedAsItIs) {
  EXPECT_EQ(play("1\n2\n", Playing::looped, 5), (Edges{1000, 3000, 4000, 6000, 7000}));
}

TEST(EdgeList, OfAnOddNumberBeginsEachRoundOn) {
  EXPECT_EQ(play("1\n2\n3\n", Playing::looped, 5), (Edges{1000, 3000, 7000, 9000, 13000}));
}

TEST(EdgeList, ThatBeginsAndEndsOffIsJoinedWhereItIsLooped) {
  EXPECT_EQ(play("0\n1\n2\n4\n", Playing::looped, 6), (Edges{0, 1000, 3000, 8000, 10000, 15000}));
}

TEST(EdgeList, ThatBeginsOffAndEndsOnIsLoopedAsItIs) {
  EXPECT_EQ(play("0\n1\n2\n", Playing::looped, 6), (Edges{0, 1000, 3000, 3000 + 1000, 6000, 7000}));
}

TEST(EdgeList, CarriesWhatIsLessThanANanosecond) {
  const TestFile file("1.0003\n2.0004\n3.0004\n4.00015\n");
  const auto source = raw_edges(file.path(), Playing::looped);
  const long double ends[] = {1000.3L, 3000.7L, 6001.1L, 10001.25L};
  std::int64_t at = 0;
  for (int edge = 0; edge < 4000000; ++edge) {
    at += *source->next_ns();
    const long double ideal = static_cast<long double>(edge / 4) * 10001.25L + ends[edge % 4];
    ASSERT_LE(std::fabs(static_cast<long double>(at) - ideal), 1.0L) << edge;
  }
}

TEST(EdgeListFile, ComplainsWithTheLineAndWhatIsWrong) {
  EXPECT_EQ(complaint_about_edges(""), ": the file says nothing");
  EXPECT_EQ(complaint_about_edges("0\n"), ": an interval of 0 must be followed by another");
  EXPECT_EQ(complaint_about_edges("1\n-2\n"), ":2: interval \"-2\" is negative");
  EXPECT_EQ(complaint_about_edges("1\n0\n"), ":2: interval \"0\" is shorter than 1 us");
  EXPECT_EQ(complaint_about_edges("0.5\n"), ":1: interval \"0.5\" is shorter than 1 us");
  EXPECT_EQ(complaint_about_edges("1\n1e15\n"), ":2: interval \"1e15\" is longer than a year");
  EXPECT_EQ(complaint_about_edges("3e13\n3e13\n"),
            ":2: the intervals up to here are longer than a year");
  EXPECT_EQ(complaint_about_edges("1\n2 3\n"),
            ":2: one interval belongs here, and there is \"2 3\"");
  EXPECT_EQ(complaint_about_edges("1\n2,\n"), ":2: one interval belongs here, and there is \"2,\"");
  EXPECT_EQ(complaint_about_edges("1\n# on\ntwo\n"), ":3: \"two\" is not a number");
}

TEST(EdgeListFile, ThatWouldNeverSwitchTheLoadIsNotLooped) {
  const char* const text = ": a single interval cannot be looped: the load would never be switched";
  EXPECT_EQ(complaint_about_edges("5\n", Playing::looped), text);
  EXPECT_EQ(complaint_about_edges("0\n5\n", Playing::looped), text);
  EXPECT_EQ(complaint_about_edges("5\n", Playing::once), "nothing thrown");
}

TEST(EdgeListFile, OfMoreThanAMillionIntervalsIsRefused) {
  std::string text;
  for (int interval = 0; interval <= 1000000; ++interval) {
    text += "7\n";
  }
  EXPECT_EQ(complaint_about_edges(text), ":1000001: there are more than 1000000 intervals");
}

}  // namespace
