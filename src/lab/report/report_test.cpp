#include "lab/report/report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "lab/example_run.h"
#include "lab/report/facts.h"

namespace lab {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

ReportAssets some_assets() {
  return {.script = "SCRIPT", .style = "STYLE", .problem = ""};
}

std::string report(const Run& run, const Answer& answer,
                   const ReportAssets& assets = some_assets()) {
  std::ostringstream out;
  write_report(out, run, answer, assets);
  return out.str();
}

/// The places of the texts in the page ascend.
testing::AssertionResult in_order(const std::string& page, const std::vector<std::string>& texts) {
  std::size_t at = 0;
  for (const std::string& text : texts) {
    const std::size_t found = page.find(text, at);
    if (found == std::string::npos) {
      return testing::AssertionFailure() << "no \"" << text << "\" behind those before it";
    }
    at = found;
  }
  return testing::AssertionSuccess();
}

TEST(Report, GivesTheAnswerFirstAndWhatRepeatsItLast) {
  EXPECT_TRUE(
      in_order(report(example_run(), example_answer()),
               {"<h1>step on bench-3</h1>", "TC0D warms by 0.83 K", "Thermal stages against PC0C",
                "0.3094 K/W", "0.3012 to 0.3181", "Thermal impedance", "Temperatures over time",
                "How it was measured", "coretemp: Package id 0", "the run is too short",
                "To do it again", "vorn-lab step -k TC0D --out &#39;runs/new cooler&#39;",
                "[[phase]]", "vorn-engine -w bmix"}));
}

TEST(Report, OfTheSimulatedMachineIsNamedSo) {
  lab::Run run = example_run();
  run.info.simulated = true;
  EXPECT_THAT(report(run, example_answer()),
              AllOf(HasSubstr("<h1>step on the simulated machine</h1>"),
                    HasSubstr("<title>step on the simulated machine</title>")));
}

TEST(Report, OfAFileIsNamedAfterItAndNoMachine) {
  lab::Run run = example_run();
  run.info.question = "fit";
  run.info.subject = "die & sink.csv";
  const std::string page = report(run, example_answer());
  EXPECT_THAT(page, AllOf(HasSubstr("<h1>fit of die &amp; sink.csv</h1>"),
                          HasSubstr("<title>fit of die &amp; sink.csv</title>"),
                          Not(HasSubstr(run.info.processor)), Not(HasSubstr("bench-3"))));
}

TEST(Report, SaysHowLoadAndSamplesWereDelivered) {
  EXPECT_THAT(report(example_run(), example_answer()),
              AllOf(HasSubstr("50 % asked, 49.87 % delivered"),
                    HasSubstr("median 3.2 µs, 99 % within 7.9 µs"),
                    HasSubstr("median 21 µs, 99 % within 55 µs"),
                    HasSubstr("3, together 0.0062 s, the longest 0.0031 s"),
                    HasSubstr("1,800 in 3 min, none lost"), HasSubstr("Load of other programs"),
                    HasSubstr("held at their maximum")));
}

TEST(Report, SaysOfEachPhaseWhatWasHeldAndWhatTheFansShowed) {
  lab::Run run = example_run();
  run.info.phases[1].fans = "held at 900 RPM";
  run.info.phases[1].pstate = "P-state 3 forced";
  run.info.phases.pop_back();  // the last phase did not begin
  Column& fan = run.samples.columns.back();
  const Column& phase = *run.samples.find(kPhaseColumn);
  for (std::size_t row = 0; row < fan.values.size(); ++row) {
    fan.values[row] = phase.values[row] == 1 ? 900 : 1455;
  }
  const std::vector<PhaseFacts> facts = phase_facts(run);
  ASSERT_EQ(facts.size(), 3U);
  EXPECT_EQ(facts[0].fans, "held at their maximum");
  EXPECT_EQ(facts[1].fans, "held at 900 RPM");
  EXPECT_EQ(facts[1].pstate, "P-state 3 forced");
  EXPECT_EQ(facts[2].fans, "maximum");
  EXPECT_THAT(facts[0].fan_speeds, HasSubstr("F1Ac 1455 to 1455"));
  EXPECT_THAT(facts[1].fan_speeds, HasSubstr("F1Ac 900 to 900"));
  EXPECT_THAT(report(run, example_answer()),
              AllOf(HasSubstr("held at 900 RPM"), HasSubstr("F1Ac 900 to 1455")));
}

TEST(Report, CountsWhatTheDiskDidNotTake) {
  lab::Run run = example_run();
  run.delivery.samples_lost = 7;
  run.delivery.record_lost = 9;
  EXPECT_THAT(report(run, example_answer()),
              AllOf(HasSubstr("7 lost"), HasSubstr("Lines of the record that the disk did not")));
}

TEST(Report, IsTheSameForTheSameRun) {
  EXPECT_EQ(report(example_run(), example_answer()), report(example_run(), example_answer()));
}

TEST(Report, ShowsAtOnceThatARunDidNotEndAsPlanned) {
  for (const RunEnd end : {RunEnd::cut_short, RunEnd::interrupted, RunEnd::limit, RunEnd::failed}) {
    lab::Run run = example_run();
    run.info.end = end;
    run.info.end_reason = "because of <that>";
    const char* reason =
        end == RunEnd::interrupted ? "was interrupted before" : "because of &lt;that&gt;";
    EXPECT_TRUE(in_order(report(run, example_answer()),
                         {"class=\"alarm\" role=\"alert\"", reason, "id=\"answer\""}))
        << text(end);
  }
  EXPECT_THAT(report(example_run(), example_answer()), Not(HasSubstr("class=\"alarm\"")));
}

TEST(Report, ShowsAtOnceThatTheMachineWasSlowedDownOrCalculatesWrong) {
  lab::Run run = example_run();
  run.delivery.throttled = 3;
  run.delivery.wrong_results = 2;
  EXPECT_TRUE(in_order(report(run, example_answer()),
                       {"2 wrong results", "slowed down for heat 3 times", "id=\"answer\""}));
}

TEST(Report, SaysThatTheDataCannotDecide) {
  Answer answer = example_answer();
  answer.decided = false;
  EXPECT_THAT(report(example_run(), answer), HasSubstr("The data cannot decide this question."));
}

TEST(Report, EscapesAllThatComesFromElsewhere) {
  const std::string evil = "<script>alert('x')</script>";
  lab::Run run = example_run();
  run.info.host = run.info.processor = run.info.fans = run.info.question = evil;
  run.info.command = {evil};
  run.info.warnings = {evil};
  run.info.engine_commands = {{evil}};
  run.delivery.errors = {evil};
  run.plan.phases[0].name = evil;
  run.plan.load = evil;
  for (Column& column : run.samples.columns) {
    column.source = evil;
  }
  run.samples.columns.back().name = evil;
  run.samples.columns.back().unit = evil;
  Answer answer = example_answer();
  answer.sentences = {evil};
  answer.tables[0].title = answer.tables[0].head[0] = evil;
  answer.tables[0].rows[0][0] = evil;
  answer.charts[0].title = answer.charts[0].x_label = answer.charts[0].note = evil;
  answer.charts[0].series[0].name = evil;
  const std::string page = report(run, answer);
  EXPECT_THAT(page, AllOf(Not(HasSubstr("<script>")), Not(HasSubstr("alert('x')</script"))));
  EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(&#39;x&#39;)"));
}

TEST(Report, AllowsNoRequestsAndNoScriptsButItsOwn) {
  const std::string page = report(example_run(), example_answer());
  EXPECT_THAT(page, HasSubstr("default-src 'none'; script-src 'nonce-"));
  EXPECT_THAT(page, Not(HasSubstr("src=")));
  EXPECT_THAT(page, Not(HasSubstr("http://")));
  EXPECT_THAT(page, Not(HasSubstr("https://")));
}

TEST(Report, HasItsChartsWithoutTheInstalledScript) {
  const std::string page = report(example_run(), example_answer(), assets_in("/no/such/folder"));
  EXPECT_THAT(page, AllOf(HasSubstr("cannot read /no/such/folder/dygraph.min.js: No such file"),
                          HasSubstr("libjs-dygraphs"), HasSubstr("<svg class=\"drawn\""),
                          Not(HasSubstr("<script"))));
}

TEST(Report, CanBeWrittenOfARunThatHasNothing) {
  EXPECT_THAT(report({}, {}),
              AllOf(HasSubstr("<h1>run</h1>"), HasSubstr("cut short"), Not(HasSubstr("Charts")),
                    Not(HasSubstr("<h2>Answer")), HasSubstr("</html>")));
}

TEST(Report, OfADayIsSmallAndSaysWhatItsPointsStandFor) {
  const std::string page = report(long_run(864'000, 1), {});
  EXPECT_LT(page.size(), 10'000'000U);
  EXPECT_TRUE(page.find("the least and the largest value of every 16 samples") !=
              std::string::npos);
}

}  // namespace
}  // namespace lab
