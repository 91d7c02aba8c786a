#pragma once

namespace lab {

// The signals that a borrowed terminal is given back for. Only those that have their default action
// are touched: whoever handles one ends the view himself. Thread: the view's.

/// From here on, the terminal is given back before the process stops or dies.
void catch_signals();

/// The default actions again.
void leave_signals();

/// Whether the process was stopped and continued since the last clear_continued().
bool was_continued();
void clear_continued();

/// While it lives, Ctrl-Z waits: what is being drawn is drawn before the terminal is given back.
class StopLater {
 public:
  StopLater();
  StopLater(const StopLater&) = delete;
  StopLater& operator=(const StopLater&) = delete;
  ~StopLater();

 private:
  bool was_blocked_;
};

}  // namespace lab
