#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "lab/data/characters.h"
#include "lab/live/frame.h"

namespace lab {

/// A terminal of the kernel's, and what its user would see. Understands what a view writes, and
/// throws at everything else.
class FakeTerminal {
 public:
  explicit FakeTerminal(Size size = {}) : user_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {
    if (user_ < 0 || grantpt(user_) != 0 || unlockpt(user_) != 0) {
      throw std::runtime_error("no terminal for the test");
    }
    program_ = open(ptsname(user_), O_RDWR | O_NOCTTY);
    resize(size);
  }
  FakeTerminal(const FakeTerminal&) = delete;
  FakeTerminal& operator=(const FakeTerminal&) = delete;
  ~FakeTerminal() {
    close(program_);
    close(user_);
  }

  /// The descriptor that a program writes to.
  int fd() const { return program_; }

  void resize(Size size) {
    const winsize wanted{.ws_row = static_cast<unsigned short>(size.rows),
                         .ws_col = static_cast<unsigned short>(size.columns),
                         .ws_xpixel = 0,
                         .ws_ypixel = 0};
    (void)ioctl(user_, TIOCSWINSZ, &wanted);
  }

  bool echo() const {
    termios settings{};
    (void)tcgetattr(program_, &settings);
    return (settings.c_lflag & ECHO) != 0;
  }

  /// The bytes that came since the last look.
  std::string look() {
    std::string bytes;
    char buffer[4096];
    for (ssize_t count = 0; (count = read(user_, buffer, sizeof buffer)) > 0;) {
      bytes.append(buffer, static_cast<std::size_t>(count));
    }
    obey(bytes);
    return bytes;
  }

  /// Whether the other screen is shown, as of the last look().
  bool other_screen() const { return other_screen_; }

  /// A row of the other screen, from 0.
  std::string row(std::size_t number) const {
    return number < rows_.size() ? rows_[number] : std::string();
  }

 private:
  void obey(std::string_view bytes) {
    pending_ += bytes;
    std::size_t at = 0;
    while (at < pending_.size()) {
      const char byte = pending_[at];
      if (byte == '\x18') {
        ++at;
      } else if (byte == '\x1b') {
        std::size_t end = at + 2;
        while (end < pending_.size() && (pending_[end] < '@' || pending_[end] > '~')) {
          if (pending_[end] == '\x18') {
            break;
          }
          ++end;
        }
        if (end >= pending_.size()) {
          break;
        }
        if (pending_[end] == '\x18') {
          at = end;
          continue;
        }
        control(pending_.substr(at + 2, end - at - 2), pending_[end]);
        at = end + 1;
      } else {
        if (cursor_ >= rows_.size()) {
          rows_.resize(cursor_ + 1);
        }
        rows_[cursor_] += byte;
        ++at;
      }
    }
    pending_.erase(0, at);
  }

  void control(const std::string& parameters, char command) {
    if (command == 'H' && parameters.ends_with(";1")) {
      cursor_ = std::stoul(parameters) - 1;
    } else if (command == 'K' && parameters.empty()) {
      if (cursor_ < rows_.size()) {
        rows_[cursor_].clear();
      }
    } else if (command == 'J' && parameters == "2") {
      rows_.clear();
    } else if (parameters == "?1049") {
      other_screen_ = command == 'h';
    } else if (command != 'm' && parameters != "?25" && parameters != "?7") {
      throw std::runtime_error("unknown sequence: " + parameters + command);
    }
  }

  int user_;
  int program_ = -1;
  std::string pending_;
  bool other_screen_ = false;
  std::size_t cursor_ = 0;
  std::vector<std::string> rows_;
};

}  // namespace lab
