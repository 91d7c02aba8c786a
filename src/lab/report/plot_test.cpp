#include "lab/report/plot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "lab/example_run.h"
#include "lab/plan/plan_error.h"
#include "lab/report/gnuplot_process.h"

namespace lab {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string contents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::string refusal(const std::string& path, const std::string& which, const Run& run) {
  try {
    plot(run, example_answer(), path, which);
  } catch (const PlanError& error) {
    return error.what();
  }
  return "no refusal";
}

bool has_gnuplot() {
  try {
    run_gnuplot("print 1\n");
  } catch (const PlotError& error) {
    return std::string(error.what()).find("not installed") == std::string::npos;
  }
  return true;
}

/// The picture that plot() writes to a file with such an ending.
std::string picture(const std::string& ending, const std::string& which) {
  const std::string path = testing::TempDir() + "plot." + std::to_string(getpid()) + ending;
  plot(example_run(), example_answer(), path, which);
  std::string made = contents(path);
  std::filesystem::remove(path);
  return made;
}

TEST(Plot, WritesThePictureThatTheNameAsksFor) {
  if (!has_gnuplot()) {
    GTEST_SKIP() << "gnuplot is not installed";
  }
  EXPECT_THAT(picture(".png", "impedance"), StartsWith("\x89PNG"));
  EXPECT_THAT(picture(".PDF", "1"), StartsWith("%PDF"));
  EXPECT_THAT(picture(".svg", ""),
              AllOf(HasSubstr("<svg"), HasSubstr("Temperatures over time"),
                    HasSubstr("Fans over time"), Not(HasSubstr("Thermal impedance"))));
}

TEST(Plot, SaysWhatItWouldHaveTaken) {
  EXPECT_THAT(refusal("a.gif", "", example_run()),
              AllOf(HasSubstr("a.gif"), HasSubstr(".png, .svg or .pdf")));
  EXPECT_THAT(refusal("a.png", "no such", example_run()),
              AllOf(HasSubstr("no chart \"no such\""), HasSubstr("1 Thermal impedance"),
                    HasSubstr("5 Fans over time")));
  EXPECT_THAT(refusal("a.png", "6", example_run()), HasSubstr("no chart \"6\""));
  EXPECT_THAT(refusal("a.png", "over time", example_run()),
              AllOf(HasSubstr("\"over time\" fits several charts"), HasSubstr("5 Fans over time")));
  EXPECT_THAT(refusal("a.png", "", {}), HasSubstr("choose a chart"));
}

TEST(Plot, NamesThePackageOfAProgramThatIsMissing) {
  try {
    run_gnuplot("", "no-such-gnuplot");
    FAIL() << "it was started";
  } catch (const PlotError& error) {
    EXPECT_THAT(error.what(),
                AllOf(HasSubstr("no-such-gnuplot is not installed"), HasSubstr("gnuplot-nox")));
  }
}

TEST(Plot, SaysWhatTheProgramComplainsOf) {
  if (!has_gnuplot()) {
    GTEST_SKIP() << "gnuplot is not installed";
  }
  try {
    run_gnuplot("no such command\n");
    FAIL() << "it was taken";
  } catch (const PlotError& error) {
    EXPECT_THAT(error.what(), HasSubstr("invalid command"));
  }
}

}  // namespace
}  // namespace lab
