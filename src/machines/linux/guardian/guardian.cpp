#include "machines/linux/guardian/guardian.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <utility>

#include "machines/linux/giving_back/line_text.h"
#include "machines/linux/giving_back/restore.h"
#include "machines/linux/giving_back/standard_error.h"

// The guardian is forked from a process with threads, so until its end it uses only what is safe
// then: system calls, and memory that was there before. The pipe between the two carries no words
// but one byte, "leave it as it is": its end without that byte is the death of the run.

namespace linux_machine {
namespace {

constexpr char kLeave = 'L';

// More than a journal can be: 70 bytes for each of 6 attributes of 1024 policies.
std::array<char, std::size_t{512} * 1024> journal_room;

constexpr int kMostGuardians = 16;
std::array<std::atomic<int>, kMostGuardians> pipes_in_use{};  // 0: none; else the descriptor + 1

void stand_down(int pipe) {
  send(pipe, &kLeave, 1, MSG_NOSIGNAL);  // a guardian that was killed needs no word
  close(pipe);
}

void stand_down_all() {
  for (std::atomic<int>& slot : pipes_in_use) {
    if (const int taken = slot.exchange(0); taken != 0) {
      stand_down(taken - 1);
    }
  }
}

/// False: there is no room for another one.
bool stand_down_at_exit(int pipe) {
  [[maybe_unused]] static const int registered = std::atexit(stand_down_all);
  return std::any_of(pipes_in_use.begin(), pipes_in_use.end(), [pipe](std::atomic<int>& slot) {
    int none = 0;
    return slot.compare_exchange_strong(none, pipe + 1);
  });
}

/// Whether the caller is the one to tell the guardian; at exit, stand_down_all may have been.
bool take_off_the_list(int pipe) {
  return std::any_of(pipes_in_use.begin(), pipes_in_use.end(), [pipe](std::atomic<int>& slot) {
    int expected = pipe + 1;
    return slot.compare_exchange_strong(expected, 0);
  });
}

/// The run it guards is the better choice. Needs a right that even root may lack.
void be_spared_when_memory_is_short() {
  const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
  if (file >= 0) {
    [[maybe_unused]] const ssize_t asked = write(file, "-1000", 5);
    close(file);
  }
}

/// Everything but standard error and these two, so that nobody waits for the end of a stream that
/// this process holds without knowing.
void close_all_but(int one, int other) {
  const auto close_between = [](int first, int last) {
    if (first <= last) {
      close_range(static_cast<unsigned>(first), static_cast<unsigned>(last), 0);
    }
  };
  close_between(0, STDERR_FILENO - 1);
  close_between(STDERR_FILENO + 1, std::min(one, other) - 1);
  close_between(std::min(one, other) + 1, std::max(one, other) - 1);
  close_range(static_cast<unsigned>(std::max(one, other)) + 1, ~0U, 0);
}

void restore_all(const Surroundings& surroundings, const char* part, int state) {
  const ssize_t got = pread(state, journal_room.data(), journal_room.size(), 0);
  if (got <= 0) {
    return;
  }
  // Made of pointers that are there already: nothing is allocated for it.
  const std::function<void(std::string_view)> report = say_on_standard_error;
  if (restore(surroundings.sys, {journal_room.data(), static_cast<std::size_t>(got)},
              {surroundings.sleep_for, report})) {
    [[maybe_unused]] const int emptied = ftruncate(state, 0);
    say_on_standard_error(LineText()
                              .add("the run ended without giving back its ")
                              .add(part)
                              .add(": given back now")
                              .view());
  } else {
    say_on_standard_error(LineText()
                              .add("the run ended without giving back its ")
                              .add(part)
                              .add(", and not all could be given back: run vorn-keys --restore")
                              .view());
  }
}

[[noreturn]] void guard(const Surroundings& surroundings, const char* part, int pipe, int state) {
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, nullptr);
  if (geteuid() == 0) {               // of a set-user-id program: not for its user to kill
    syscall(SYS_setresuid, 0, 0, 0);  // the library's would ask threads that are not here
  }
  prctl(PR_SET_NAME, "vorn-guardian");
  [[maybe_unused]] const int moved = chdir("/");
  be_spared_when_memory_is_short();
  close_all_but(pipe, state);
  char word = 0;
  ssize_t got = 0;
  while ((got = read(pipe, &word, 1)) < 0 && errno == EINTR) {
  }
  if (got != 1 || word != kLeave) {
    restore_all(surroundings, part, state);
  } else if (pread(state, journal_room.data(), 1, 0) == 1) {
    say_on_standard_error(LineText()
                              .add("the ")
                              .add(part)
                              .add(" stay as the run set them; sudo vorn-keys --restore gives them "
                                   "back")
                              .view());
  }
  _exit(0);
}

/// Forks twice, so that the guardian is no child of the run and nobody has to wait for it.
int start_process(const Surroundings& surroundings, const char* part, int pipe, int state) {
  const pid_t between = fork();
  if (between < 0) {
    return errno;
  }
  if (between == 0) {
    setsid();
    const pid_t guardian = fork();
    if (guardian == 0) {
      guard(surroundings, part, pipe, state);
    }
    _exit(guardian < 0 ? errno : 0);
  }
  int status = 0;
  while (waitpid(between, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : ECHILD;
}

}  // namespace

sysfs::Result<Guardian> Guardian::start(const Surroundings& surroundings, const std::string& part,
                                        const StateFile& state) {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    return sysfs::failure("starting the guardian of", part, errno);
  }
  const int error = start_process(surroundings, part.c_str(), ends[0], state.descriptor());
  close(ends[0]);
  if (error != 0) {
    close(ends[1]);
    return sysfs::failure("starting the guardian of", part, error);
  }
  if (!stand_down_at_exit(ends[1])) {
    stand_down(ends[1]);
    return sysfs::failure("starting the guardian of", part, EMFILE);
  }
  return Guardian(ends[1]);
}

Guardian::Guardian(Guardian&& other) noexcept : pipe_(std::exchange(other.pipe_, -1)) {}

Guardian::~Guardian() {
  if (pipe_ >= 0 && take_off_the_list(pipe_)) {
    stand_down(pipe_);
  }
}

}  // namespace linux_machine
