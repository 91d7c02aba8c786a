#include "lab/live/line_view.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "lab/fakes/fake_run.h"

namespace lab {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class LineViewTest : public testing::Test {
 protected:
  ~LineViewTest() override { close(file_); }

  void show_at(double elapsed_s) {
    run_.state.elapsed_s = elapsed_s;
    run_.state.left_s = 100 - elapsed_s;
    view_.show(run_.state);
  }

  /// What was written since the last call.
  std::string written() {
    std::string text(65536, '\0');
    text.resize(static_cast<std::size_t>(pread(file_, text.data(), text.size(), read_)));
    read_ += static_cast<off_t>(text.size());
    return text;
  }

  FakeRun run_;

 private:
  int file_ = memfd_create("lines", MFD_CLOEXEC);
  off_t read_ = 0;
  LineView view_{file_};
};

TEST_F(LineViewTest, BeginsWithTheRunAndItsFirstPhase) {
  show_at(0);
  EXPECT_EQ(written(),
            "     0 s  run: step on simulated machine\n"
            "     0 s  phase: load, 2 of 3; next: idle for 60 s; at most 1:40 left\n");
}

TEST_F(LineViewTest, SaysTheValuesEveryFiveSeconds) {
  run_.add_key("TC0P", "degC");
  run_.add_key("J", "");
  run_.sample({40.04, 3});
  show_at(0);
  (void)written();
  show_at(4.9);
  EXPECT_THAT(written(), IsEmpty());
  show_at(5.1);
  EXPECT_EQ(written(),
            "     5 s  values: asked 100 %, delivered 90 %, others 2 %, TC0P 40.0 degC, J 3; "
            "at most 1:35 left\n");
  show_at(9.9);
  EXPECT_THAT(written(), IsEmpty());
  show_at(10);
  EXPECT_THAT(written(), HasSubstr("    10 s  values: "));
}

TEST_F(LineViewTest, SaysHowOldTheLoadIs) {
  run_.sample({});
  run_.state.load_age_s = 2.1;
  EXPECT_THAT(values_text(run_.state),
              HasSubstr("asked 100 %, delivered 90 % (2 s ago), others 2 %"));
}

TEST_F(LineViewTest, AfterALongPauseThereIsOneLineAndTheGridGoesOn) {
  show_at(0);
  show_at(47);
  (void)written();
  show_at(48);
  EXPECT_THAT(written(), IsEmpty());
  show_at(50);
  EXPECT_THAT(written(), HasSubstr("    50 s  values: "));
}

TEST_F(LineViewTest, SaysEachNewPhaseAndWarningOnce) {
  show_at(0);
  (void)written();
  run_.state.phase = "idle, 3 of 3";
  run_.state.next = "";
  run_.warnings = {"hot\n", "slow"};
  show_at(1);
  EXPECT_EQ(written(),
            "     1 s  phase: idle, 3 of 3; at most 1:39 left\n"
            "     1 s  warning: hot\\n\n"
            "     1 s  warning: slow\n");
  show_at(2);
  EXPECT_THAT(written(), IsEmpty());
}

TEST_F(LineViewTest, SaysOnceThatTheRunEnds) {
  show_at(0);
  (void)written();
  run_.state.ending = true;
  show_at(1);
  show_at(2);
  EXPECT_EQ(written(), "     1 s  ending: what there is will be analysed\n");
}

TEST_F(LineViewTest, ManyKeysAreCounted) {
  std::vector<double> values;
  for (int key = 0; key < 15; ++key) {
    run_.add_key("K" + std::to_string(key), "W");
    values.push_back(key);
  }
  EXPECT_EQ(values_text(run_.state), "none so far; at most 1:40 left");
  run_.sample(values);
  EXPECT_THAT(values_text(run_.state), HasSubstr("K11 11.00 W, + 3 more; "));
}

std::string taken(int pipe) {
  std::string text(1 << 17, '\0');
  const ssize_t count = read(pipe, text.data(), text.size());
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return text;
}

TEST(LineViewOnAPipe, ASlowReaderMissesValuesAndNoWarning) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
  FakeRun run;
  {
    LineView view(ends[1]);
    for (int step = 0; step < 5000; ++step) {
      run.state.elapsed_s = 5.0 * step;
      if (step % 1000 == 999) {
        run.warnings.push_back("number " + std::to_string(step));
      }
      view.show(run.state);
    }
    // The pipe is full. Somebody makes room for the rest, and it comes with the next call.
    const std::string before = taken(ends[0]);
    EXPECT_THAT(before, Not(HasSubstr("warning: number 4999")));
    view.show(run.state);
    const std::string text = taken(ends[0]);
    EXPECT_THAT(text, HasSubstr("warning: number 3999\n"));
    EXPECT_THAT(text, HasSubstr("warning: number 4999\n"));
    EXPECT_LT(std::count(text.begin(), text.end(), '\n'), 1000);
  }
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
}  // namespace lab
