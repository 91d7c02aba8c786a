#include "lab/live/terminal_signals.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "lab/fakes/fake_run.h"
#include "lab/fakes/fake_terminal.h"
#include "lab/live/screen_view.h"

namespace lab {
namespace {

using ::testing::HasSubstr;

/// A process with a view that is shown once before and once after `between`. It has a group of its
/// own, or the kernel would not stop it: nobody could continue it.
template <typename Between>
pid_t viewer(const FakeTerminal& terminal, Between between) {
  const pid_t child = fork();
  if (child != 0) {
    return child;
  }
  (void)setpgid(0, 0);
  alarm(60);
  const FakeRun run;
  {
    ScreenView view(terminal.fd(), kBare, [] {
      static std::chrono::steady_clock::time_point now;
      return now += std::chrono::seconds(1);
    });
    view.show(run.state);
    between();
    view.show(run.state);
  }
  _exit(0);
}

int status_of(pid_t child, int options = 0) {
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, options), child);
  return status;
}

TEST(TerminalSignals, ADeadlySignalGivesTheTerminalBackAndKills) {
  for (const int signal : {SIGTERM, SIGHUP, SIGQUIT}) {
    FakeTerminal terminal;
    const int status = status_of(viewer(terminal, [signal] { (void)raise(signal); }));
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), signal);
    EXPECT_THAT(terminal.look(), HasSubstr("step on simulated machine"));
    EXPECT_FALSE(terminal.other_screen());
    EXPECT_TRUE(terminal.echo());
  }
}

TEST(TerminalSignals, StoppingGivesTheTerminalBackAndContinuingBorrowsItAgain) {
  FakeTerminal terminal;
  const pid_t child = viewer(terminal, [] { (void)raise(SIGTSTP); });
  const int stopped = status_of(child, WUNTRACED);
  ASSERT_TRUE(WIFSTOPPED(stopped));
  EXPECT_EQ(WSTOPSIG(stopped), SIGTSTP);
  EXPECT_THAT(terminal.look(), HasSubstr("step on simulated machine"));
  EXPECT_FALSE(terminal.other_screen());
  EXPECT_TRUE(terminal.echo());

  ASSERT_EQ(kill(child, SIGCONT), 0);
  EXPECT_EQ(status_of(child), 0);
  const std::string after = terminal.look();
  EXPECT_THAT(after, HasSubstr("\x1b[?1049h"));
  EXPECT_THAT(after, HasSubstr("step on simulated machine"));
  EXPECT_FALSE(terminal.other_screen());
  EXPECT_TRUE(terminal.echo());
}

TEST(TerminalSignals, AfterAStopThatNoHandlerSeesEverythingIsDrawnAgain) {
  FakeTerminal terminal;
  const pid_t child = viewer(terminal, [] { (void)raise(SIGSTOP); });
  ASSERT_TRUE(WIFSTOPPED(status_of(child, WUNTRACED)));
  (void)terminal.look();
  ASSERT_EQ(kill(child, SIGCONT), 0);
  EXPECT_EQ(status_of(child), 0);
  EXPECT_THAT(terminal.look(), HasSubstr("step on simulated machine"));
}

TEST(TerminalSignals, ASignalThatIsHandledAlreadyIsLeftAlone) {
  FakeTerminal terminal;
  const pid_t child = fork();
  if (child == 0) {
    (void)std::signal(SIGTERM, [](int) { _exit(7); });
    (void)std::signal(SIGINT, SIG_IGN);
    const FakeRun run;
    ScreenView view(terminal.fd(), kBare, std::chrono::steady_clock::now);
    (void)raise(SIGINT);
    (void)raise(SIGTERM);
    _exit(8);
  }
  EXPECT_EQ(WEXITSTATUS(status_of(child)), 7);
}

TEST(TerminalSignals, DefaultActionsAreBackAfterTheView) {
  struct sigaction during {};
  struct sigaction after {};
  {
    const FakeTerminal terminal;
    const Terminal borrowed(terminal.fd());
    (void)sigaction(SIGTERM, nullptr, &during);
  }
  (void)sigaction(SIGTERM, nullptr, &after);
  EXPECT_NE(during.sa_handler, SIG_DFL);
  EXPECT_EQ(after.sa_handler, SIG_DFL);
}

}  // namespace
}  // namespace lab
