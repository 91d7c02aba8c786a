#include "lab/live/views.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "lab/fakes/fake_run.h"
#include "lab/fakes/fake_terminal.h"

namespace lab {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Has TERM set as in a terminal, and puts the one before back.
class ViewsTest : public testing::Test {
 protected:
  ViewsTest() {
    if (const char* term = std::getenv("TERM")) {
      before_ = term;
    }
    setenv("TERM", "xterm", 1);
  }
  ~ViewsTest() override { before_ ? setenv("TERM", before_->c_str(), 1) : unsetenv("TERM"); }

  FakeRun run_;

 private:
  std::optional<std::string> before_;
};

TEST_F(ViewsTest, ATerminalGetsAScreen) {
  const FakeTerminal terminal({.columns = 40, .rows = 10});
  EXPECT_EQ(fitting_kind(terminal.fd()), ViewKind::screen);
}

TEST_F(ViewsTest, ATerminalThatIsTooSmallOrHasNoSizeGetsLines) {
  for (const Size size : {Size{.columns = 39, .rows = 10}, Size{.columns = 40, .rows = 9},
                          Size{.columns = 0, .rows = 0}}) {
    const FakeTerminal terminal(size);
    EXPECT_EQ(fitting_kind(terminal.fd()), ViewKind::lines);
  }
}

TEST_F(ViewsTest, ATerminalThatUnderstandsLinesAloneGetsThem) {
  const FakeTerminal terminal;
  setenv("TERM", "dumb", 1);
  EXPECT_EQ(fitting_kind(terminal.fd()), ViewKind::lines);
  unsetenv("TERM");
  EXPECT_EQ(fitting_kind(terminal.fd()), ViewKind::lines);
}

TEST_F(ViewsTest, AFileGetsLines) {
  const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
  EXPECT_EQ(fitting_kind(file), ViewKind::lines);
  close(file);
}

TEST_F(ViewsTest, EachKindShowsWhatItIsFor) {
  FakeTerminal terminal;
  make_view(ViewKind::quiet, terminal.fd())->show(run_.state);
  EXPECT_THAT(terminal.look(), IsEmpty());
  make_view(ViewKind::screen, terminal.fd())->show(run_.state);
  EXPECT_THAT(terminal.look(), HasSubstr("\x1b[?1049h"));
  make_view(ViewKind::lines, terminal.fd())->show(run_.state);
  EXPECT_THAT(terminal.look(), HasSubstr("     0 s  run: step on simulated machine\r\n"));
}

}  // namespace
}  // namespace lab
