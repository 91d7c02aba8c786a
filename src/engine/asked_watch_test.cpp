#include "engine/asked_watch.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "engine/record/record.h"
#include "engine/waveforms/steered.h"
#include "support/passed_edges.h"
#include "support/record_reader.h"

namespace engine {
namespace {

TEST(AskedWatch, SaysWhatTookEffectWhereThePeriodBeginsWithAnEdgeOrWithout) {
  const std::string path = testing::TempDir() + "asked_watch_record." + std::to_string(getpid());
  RecordPlan plan;
  plan.path = path;
  plan.sys = "/nowhere";
  Record record(plan);
  SteeredSource source(10);
  PassedEdges next;
  AskedWatch watch(source, record, next);

  watch.switched(1000, 1000, false);  // the begin
  source.next_ns();
  watch.stayed(1000);
  source.next_ns();
  source.say({.what = Steering::What::duty, .hz = 0.0, .offset = 1.0, .depth = 0.0});
  source.ends_in_edge();
  source.next_ns();
  watch.switched(1000, 1001, true);
  source.next_ns();
  watch.stayed(2000);
  source.say({.what = Steering::What::sinusoid, .hz = 1.0, .offset = 1.0, .depth = 0.0});
  source.next_ns();
  watch.stayed(3000);
  record.finish("", 0);

  EXPECT_EQ(RecordReader(path).of("asked"),
            (std::vector<RecordLine>{{"asked", "1000", "duty", "0", "1", "0"},
                                     {"asked", "3000", "sinusoid", "1", "1", "0"}}));
  EXPECT_EQ(next.seen, (std::vector<std::int64_t>{-1000, 1000}));
  unlink(path.c_str());
}

}  // namespace
}  // namespace engine
