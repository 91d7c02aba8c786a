#include "lab/live/frame.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "lab/data/characters.h"
#include "lab/fakes/fake_run.h"
#include "lab/live/fitting.h"

namespace lab {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// Two keys, 25 of 125 seconds.
void make_some_of_a_run(FakeRun& run) {
  run.add_key("TC0P", "degC");
  run.add_key("PCPC", "W");
  for (int second = 0; second <= 25; ++second) {
    run.sample({40.0 + second, second < 5 ? 10.0 : 70.0});
  }
}

TEST(Frame, OfAnOrdinaryTerminal) {
  FakeRun run;
  make_some_of_a_run(run);
  run.warnings = {"2 processors were slowed down for heat."};
  EXPECT_THAT(run.frame({.columns = 60, .rows = 20}),
              ElementsAre("step on simulated machine",  //
                          "",                           //
                          "load, 2 of 3                         0:25, at most 1:40 left",
                          "▕██████████▍                                         ▏  20 %",
                          "next: idle for 60 s",  //
                          "",                     //
                          "asked     ▕██████████████████████████████████████████▏ 100 %",
                          "delivered ▕█████████████████████████████████████▊    ▏  90 %",
                          "others    ▕▉                                         ▏   2 %",
                          "",  //
                          "key    now      min   max                          last 1:08",
                          "TC0P  65.0 °C  40.0  65.0                      ▁▁▂▃▃▄▅▅▆▆▇██",
                          "PCPC 70.00 W  10.00 70.00                      ▁▁▅██████████",
                          "",                                                           //
                          "! 2 processors were slowed down for heat.", "", "", "", "",  //
                          "Ctrl-C ends the run and analyses it"));
}

TEST(Frame, OfASmallTerminal) {
  FakeRun run;
  make_some_of_a_run(run);
  for (const char* fan : {"F0Ac", "F1Ac", "F2Ac"}) {
    run.add_key(fan, "RPM");
    run.samples.columns.back().values.assign(26, 2400);
  }
  EXPECT_THAT(run.frame({.columns = 40, .rows = 10}),
              ElementsAre("step on simulated machine",                 //
                          "load, 2 of 3     0:25, at most 1:40 left",  //
                          "next: idle for 60 s",                       //
                          "asked     ▕██████████████████████▏ 100 %",
                          "delivered ▕███████████████████▊  ▏  90 %",
                          "TC0P  65.0 °C   40.0  65.0 ▁▁▂▃▃▄▅▅▆▆▇██",
                          "PCPC 70.00 W   10.00 70.00 ▁▁▅██████████",
                          "F0Ac  2400 RPM  2400  2400 ▅▅▅▅▅▅▅▅▅▅▅▅▅",  //
                          "+ 2 more",                                  //
                          "Ctrl-C ends the run and analyses it"));
}

TEST(Frame, InAsciiHasNoOtherByte) {
  FakeRun run;
  make_some_of_a_run(run);
  run.state.title = "step on Rechner im Büro";
  const auto lines = run.frame({.columns = 60, .rows = 20}, kBareAscii);
  EXPECT_THAT(lines, Contains(HasSubstr("step on Rechner")));
  for (const std::string& line : lines) {
    EXPECT_TRUE(std::all_of(line.begin(), line.end(), [](char byte) { return byte >= ' '; }))
        << line;
  }
}

TEST(Frame, EscapesWhatTitlesAndPhasesHoldForTheTerminal) {
  FakeRun run;
  run.state.title = "\x1b]0;gotcha\a";
  run.state.phase = "load\r";
  run.state.next = "\x9b";
  const auto lines = run.frame({.columns = 60, .rows = 20});
  EXPECT_EQ(lines[0], "\\x1b]0;gotcha\\x07");
  EXPECT_THAT(lines, Contains(HasSubstr("load\\x0d")));
  EXPECT_THAT(lines, Contains("next: \\x9b"));
}

TEST(Frame, SaysThatThereIsNoSampleSoFar) {
  FakeRun run;
  run.add_key("TC0P", "degC");
  EXPECT_THAT(run.frame({.columns = 60, .rows = 20}), Contains("No sample was taken so far."));
  run.state.samples = nullptr;
  EXPECT_THAT(run.frame({.columns = 60, .rows = 20}), Contains("No sample was taken so far."));
}

TEST(Frame, SaysThatNoEndIsSet) {
  FakeRun run;
  run.state.left_s.reset();
  run.state.elapsed_s = 3700;
  EXPECT_EQ(run.frame({.columns = 40, .rows = 20})[2], "load, 2 of 3      1:01:40, no end is set");
}

TEST(Frame, TellsThatTheRunEnds) {
  FakeRun run;
  run.state.ending = true;
  EXPECT_EQ(run.frame({.columns = 60, .rows = 20}).back(),
            "The run ends, and what there is will be analysed");
}

TEST(Frame, IsPaintedWhereColoursAreWanted) {
  FakeRun run;
  run.warnings = {"hot"};
  const auto lines = run.frame({.columns = 60, .rows = 20}, {.utf8 = true, .colour = true});
  EXPECT_EQ(lines.front(), "\x1b[1mstep on simulated machine\x1b[0m");
  EXPECT_THAT(lines, Contains("\x1b[33m! hot\x1b[0m"));
  EXPECT_THAT(run.frame({.columns = 60, .rows = 20}), Each(Not(HasSubstr("\x1b"))));
}

TEST(Frame, FitsTerminalsOfEverySize) {
  FakeRun run;
  for (const char* name : {"TC0P", "TC1P", "温度", "PCPC", "F0Ac"}) {
    run.add_key(name, "degC", "a source with a long name");
  }
  for (int second = 0; second < 200; ++second) {
    run.sample({40.0 + second, 1, 2, 3, kNotMeasured});
  }
  run.warnings = {"a warning that says quite a lot", "温度温度温度温度", "word"};
  for (int columns = 1; columns < 160; ++columns) {
    for (int rows = 1; rows < 30; ++rows) {
      const auto lines = run.frame({.columns = columns, .rows = rows});
      ASSERT_EQ(lines.size(), static_cast<std::size_t>(rows));
      for (const std::string& line : lines) {
        ASSERT_LE(display_width(line), columns) << columns << " x " << rows << ": " << line;
      }
    }
  }
}

TEST(Frame, LoadsAreMeansOfTheLastSecond) {
  Table samples{.time_s = {0, 0.5, 1, 1.5},
                .columns = {{.name = "asked", .unit = "", .source = "", .values = {0, 9, 1, 0}}}};
  EXPECT_EQ(recent_mean(samples, kAskedColumn), 0.5);
  samples.columns[0].values.back() = kNotMeasured;
  EXPECT_EQ(recent_mean(samples, kAskedColumn), 1);
  EXPECT_TRUE(std::isnan(recent_mean(samples, kDeliveredColumn)));
}

}  // namespace
}  // namespace lab
