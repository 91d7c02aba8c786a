#include "lab/live/terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "lab/live/terminal_signals.h"

namespace lab {

namespace {

// Other screen, no cursor, nothing goes on in the next line by itself, empty.
constexpr std::string_view kBorrow = "\x1b[?1049h\x1b[?25l\x1b[?7l\x1b[2J";
// The first byte ends a sequence that may have been written in part.
constexpr std::string_view kGiveBack = "\x18\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";

// What a signal handler must know. Lock-free, and so they may be read there.
std::atomic<int> borrowed_fd = -1;
std::atomic<bool> echo_was_on = false;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

/// Of the terminal's settings, this one alone is touched: the shell has set others meanwhile.
/// Requires: in the foreground, or the kernel would stop the process.
bool set_echo(int fd, bool on) {
  termios settings{};
  if (tcgetattr(fd, &settings) != 0) {
    return false;
  }
  const bool was_on = (settings.c_lflag & ECHO) != 0;
  if (was_on != on) {
    settings.c_lflag =
        on ? settings.c_lflag | ECHO : settings.c_lflag & ~static_cast<tcflag_t>(ECHO);
    (void)tcsetattr(fd, TCSANOW, &settings);
  }
  return was_on;
}

void write_all(int fd, std::string_view bytes) {
  constexpr int kPatienceMs = 250;
  while (!bytes.empty()) {
    pollfd room{.fd = fd, .events = POLLOUT, .revents = 0};
    if (poll(&room, 1, kPatienceMs) <= 0 || (room.revents & POLLOUT) == 0) {
      return;
    }
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR && errno != EAGAIN) {
      return;
    }
  }
}

}  // namespace

bool in_foreground(int fd) {
  const pid_t in_front = tcgetpgrp(fd);
  // Without job control, nobody else is in front.
  return in_front < 0 || in_front == getpgrp();
}

void restore_terminal() noexcept {
  const int fd = borrowed_fd.exchange(-1);
  if (fd < 0) {
    return;
  }
  write_all(fd, kGiveBack);
  if (echo_was_on && in_foreground(fd)) {
    (void)set_echo(fd, true);
  }
}

Terminal::Terminal(int fd) : fd_(fd) {
  echo_was_on = false;
  catch_signals();
}

Terminal::~Terminal() {
  restore_terminal();
  leave_signals();
}

bool Terminal::borrowed() const {
  return borrowed_fd == fd_ && !was_continued();
}

std::string_view Terminal::borrow() {
  clear_continued();
  if (set_echo(fd_, false)) {
    echo_was_on = true;
  }
  borrowed_fd = fd_;
  return kBorrow;
}

Size Terminal::size() const {
  winsize size{};
  if (ioctl(fd_, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
    return {};
  }
  return {.columns = size.ws_col, .rows = size.ws_row};
}

}  // namespace lab
