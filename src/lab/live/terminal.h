#pragma once

#include <string_view>

#include "lab/live/frame.h"

namespace lab {

/// A terminal whose other screen is borrowed: the one that keeps nothing, and gives back what stood
/// there before. Without a cursor, and without an echo of what is typed meanwhile. Given back when
/// the object ends, and also before
///
/// - the process stops (Ctrl-Z). It is to be borrowed again after that,
/// - a signal ends the process, if that signal has its default action when the object is made.
///
/// Thread: one; one object at a time in a process.
class Terminal {
 public:
  /// Borrows nothing yet. The descriptor must stay open.
  explicit Terminal(int fd);
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal();

  /// Whether the screen is borrowed, and nobody else has drawn on it since.
  bool borrowed() const;

  /// Turns the echo off. The result is to be written before anything else.
  std::string_view borrow();

  /// The size as of now. 80 columns and 24 rows if the terminal does not say.
  Size size() const;

 private:
  int fd_;
};

/// Whether the shell has this process, and not another one, in front of the terminal's user.
bool in_foreground(int fd);

/// Gives a borrowed terminal back. May be called by a signal handler, and twice; does nothing if
/// nothing is borrowed. Waits for a slow terminal, but not long.
void restore_terminal() noexcept;

}  // namespace lab
