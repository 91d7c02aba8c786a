#include "engine/waveform_begin.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/passed_edges.h"

namespace engine {
namespace {

std::vector<std::int64_t> armed;  // lengths that the tests' timer was armed with

void arm(std::int64_t length_ns) {
  armed.push_back(length_ns);
}

class WaveformBeginTest : public testing::Test {
 protected:
  WaveformBeginTest() { armed.clear(); }

  Readiness readiness_;
};

TEST_F(WaveformBeginTest, StartsTheRunsTimeWithTheFirstEdgeAlone) {
  WaveformBegin begin(readiness_, 1500, nullptr, arm);
  EXPECT_TRUE(armed.empty());
  begin.switched(10, 11, true);
  begin.switched(20, 21, false);
  EXPECT_EQ(armed, (std::vector<std::int64_t>{1500}));
}

TEST_F(WaveformBeginTest, ARunWithoutALengthHasNoTimer) {
  WaveformBegin begin(readiness_, std::nullopt, nullptr, arm);
  begin.switched(10, 11, true);
  EXPECT_TRUE(armed.empty());
}

TEST_F(WaveformBeginTest, KeepsHowManyLoadsWereMissingAtTheFirstEdge) {
  readiness_.expect(3);
  readiness_.made();
  WaveformBegin begin(readiness_, std::nullopt, nullptr, arm);
  EXPECT_EQ(begin.loads_missed(), 0U);
  begin.switched(10, 11, true);
  readiness_.made();
  begin.switched(20, 21, false);
  EXPECT_EQ(begin.loads_missed(), 2U);
}

TEST_F(WaveformBeginTest, PassesEveryEdgeOn) {
  PassedEdges edges;
  WaveformBegin begin(readiness_, std::nullopt, &edges, arm);
  begin.switched(10, 11, true);
  begin.switched(20, 21, false);
  EXPECT_EQ(edges.seen, (std::vector<std::int64_t>{10, -21}));
}

}  // namespace
}  // namespace engine
