#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "lab/browser.h"
#include "lab/example_run.h"
#include "lab/report/report.h"

// Reports as a browser shows them.

namespace lab {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;

std::string report(const lab::Run& run, const Answer& answer) {
  std::ostringstream out;
  write_report(out, run, answer, installed_assets());
  return out.str();
}

/// The page with more at its end, and the script that looks at it.
std::string inspected(std::string page, const std::string& more = "") {
  std::ifstream in(VORN_INSPECT_PAGE);
  const std::string script{std::istreambuf_iterator<char>(in), {}};
  static const std::regex kNonce("'nonce-([0-9a-f]+)'");
  std::smatch nonce;
  std::regex_search(page, nonce, kNonce);
  const std::string added =
      more + "<script nonce=\"" + nonce[1].str() + "\">" + script + "</script>";
  return page.insert(page.rfind("</body>"), added);
}

std::vector<std::string> parts(const std::string& text) {
  std::vector<std::string> all;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, '|');) {
    all.push_back(part);
  }
  return all;
}

class ReportPage : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string problem = installed_assets().problem; !problem.empty()) {
      GTEST_SKIP() << "the package libjs-dygraphs is not installed";
    }
    if (std::system("command -v chromium >/dev/null") != 0) {
      GTEST_SKIP() << "the package chromium is not installed";
    }
  }

  ~ReportPage() override { std::filesystem::remove(path_); }

  /// What becomes of the example's report; it is opened once for all tests.
  OpenedPage example() {
    static const OpenedPage page = open(inspected(report(example_run(), example_answer())));
    return page;
  }

  /// What becomes of the page in a browser.
  OpenedPage open(const std::string& page, const std::vector<std::string>& options = {}) {
    std::ofstream(path_) << page;
    return open_in_browser(path_, options).value();
  }

  const std::string path_ = testing::TempDir() + "report." + std::to_string(getpid()) + ".html";
};

TEST_F(ReportPage, DrawsAllItsCharts) {
  OpenedPage page = example();
  EXPECT_EQ(page.data["plots"], "5");
  EXPECT_EQ(page.data["drawn"], "5");
  EXPECT_EQ(page.data["colourful"], "5");
}

TEST_F(ReportPage, AsksForNothingAndComplainsOfNothing) {
  OpenedPage page = example();
  EXPECT_EQ(page.data["requests"], "0");
  EXPECT_EQ(page.data["refused"], "0");
  EXPECT_THAT(page.console, IsEmpty());
}

TEST_F(ReportPage, IsRefusedARequest) {
  OpenedPage page = open(inspected(report(example_run(), example_answer()),
                                   "<img src=\"https://example.invalid/a.png\">"));
  EXPECT_EQ(page.data["refused"], "1");
  EXPECT_THAT(page.console, Contains(HasSubstr("Content Security Policy")));
}

TEST_F(ReportPage, RunsNothingThatAnElementBringsWithIt) {
  OpenedPage page = open(inspected(report(example_run(), example_answer()),
                                   "<script>document.body.dataset.taken = 1</script>"
                                   "<p onclick=\"document.body.dataset.taken = 1\" id=\"a\">"
                                   "</p>"));
  EXPECT_THAT(page.data, Not(Contains(Key("taken"))));
  EXPECT_EQ(page.data["drawn"], "5");
}

TEST_F(ReportPage, ShowsLabelsAsTheyAre) {
  const std::string label = "<img src=x onerror=\"document.body.dataset.taken=1\">";
  lab::Run run = example_run();
  run.plan.phases[1].name = label;
  for (Column& column : run.samples.columns) {
    column.source = label;
  }
  Answer answer = example_answer();
  answer.sentences[0] = label;
  OpenedPage page = open(inspected(report(run, answer)));
  EXPECT_THAT(page.data, Not(Contains(Key("taken"))));
  EXPECT_EQ(page.data["refused"], "0");
  EXPECT_THAT(page.data["selected"], HasSubstr("onerror="));
}

TEST_F(ReportPage, ZoomsItsChartsOverTimeTogether) {
  OpenedPage page = example();
  const std::vector<std::string> before = parts(page.data["axes-before"]);
  const std::vector<std::string> zoomed = parts(page.data["axes-zoomed"]);
  ASSERT_EQ(before.size(), 5U);
  ASSERT_EQ(zoomed.size(), 5U);
  EXPECT_EQ(zoomed[0], before[0]) << "the answer's chart is not one over time";
  EXPECT_NE(zoomed[1], before[1]);
  for (std::size_t i = 2; i < zoomed.size(); ++i) {
    EXPECT_EQ(zoomed[i], zoomed[1]);
  }
  EXPECT_EQ(page.data["drawn-zoomed"], "5");
  EXPECT_EQ(page.data["axes-after"], page.data["axes-before"]) << "a double click shows all again";
}

TEST_F(ReportPage, HidesACurveWhoseNameIsClicked) {
  OpenedPage page = example();
  EXPECT_EQ(page.data["hidden"], "true");
  EXPECT_EQ(page.data["shown"], "true");
}

TEST_F(ReportPage, NamesTheValuesBelowThePointer) {
  OpenedPage page = example();
  EXPECT_EQ(page.data["values"], "8") << "of all series over time";
}

TEST_F(ReportPage, LetsItsTextBeSelected) {
  OpenedPage page = example();
  EXPECT_THAT(page.data["selected"], HasSubstr("TC0D warms by 0.83 K for each watt"));
}

TEST_F(ReportPage, DrawsPointsWithOneXBandsWithoutBoundsAndLoops) {
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  const auto series = [](const std::string& name, Series::Style style, std::vector<double> x) {
    return Series{
        .name = name, .style = style, .x = std::move(x), .y = {1, 2, 3}, .low = {}, .high = {}};
  };
  Chart unsure;
  unsure.series = {series("a", Series::Style::line, {1, 2, 3}),
                   series("b", Series::Style::points, {2, 2, 2})};
  unsure.series[0].low = {-kInfinite, 1, 2};
  unsure.series[0].high = {2, 3, kInfinite};
  Chart loop;
  loop.series = {series("c", Series::Style::line, {1, 2, 1})};
  Answer answer;
  answer.charts = {unsure, loop};
  OpenedPage page = open(inspected(report(example_run(), answer)));
  EXPECT_EQ(page.data["plots"], "6");
  EXPECT_EQ(page.data["drawn"], "5") << "the loop stays a drawing";
  EXPECT_EQ(page.data["colourful"], "5");
  EXPECT_THAT(page.console, IsEmpty());
}

TEST_F(ReportPage, FollowsTheColoursOfTheReader) {
  EXPECT_EQ(example().data["paper"], "rgb(255, 255, 255)");
  OpenedPage dark = open(inspected(report(example_run(), example_answer())),
                         {"--blink-settings=preferredColorScheme=0"});
  EXPECT_EQ(dark.data["paper"], "rgb(20, 23, 26)");
  EXPECT_EQ(dark.data["colourful"], "5");
}

TEST_F(ReportPage, IsNotWiderThanANarrowWindow) {
  OpenedPage page =
      open(inspected(report(example_run(), example_answer())), {"--window-size=500,900"});
  EXPECT_EQ(page.data["wider"], "false");
  EXPECT_EQ(page.data["colourful"], "5");
}

/// The seconds on a clock.
double seconds_on(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// How many times as long as alone an ordinary thread takes for a calculation at this moment, since
/// other programs take their part of the processors.
double slowdown() {
  constexpr double kCalculation = 0.2;  // s
  const double begun = seconds_on(CLOCK_MONOTONIC);
  const double begun_here = seconds_on(CLOCK_THREAD_CPUTIME_ID);
  double calculated = 0;
  while (calculated < kCalculation) {
    calculated = seconds_on(CLOCK_THREAD_CPUTIME_ID) - begun_here;
  }
  return (seconds_on(CLOCK_MONOTONIC) - begun) / calculated;
}

TEST_F(ReportPage, OfADayIsOpenWithinTwoSeconds) {
  const std::string page = report(long_run(864'000, 500'001), example_answer());
  EXPECT_LT(page.size(), 10'000'000U);
  constexpr int kMostTries = 5;  // other programs may hold one up
  double best_ms = std::numeric_limits<double>::infinity();
  for (int i = 0; i < kMostTries && best_ms >= 2000; ++i) {
    const double slower = slowdown();
    OpenedPage opened = open(page);
    ASSERT_EQ(opened.data["drawn"], "5");
    best_ms = std::min(best_ms, std::stod(opened.data["drawn-after-ms"]) / slower);
  }
  RecordProperty("drawn_after_ms", static_cast<int>(best_ms));
  EXPECT_LT(best_ms, 2000);
}

}  // namespace
}  // namespace lab
