#include "lab/live/screen_view.h"

#include <utility>

#include "lab/live/terminal_signals.h"

namespace lab {

namespace {

constexpr std::chrono::milliseconds kFrame{250};

constexpr std::string_view kClear = "\x1b[0m\x1b[2J";

}  // namespace

std::string difference(const std::vector<std::string>& shown,
                       const std::vector<std::string>& wanted) {
  std::string bytes;
  for (std::size_t row = 0; row < wanted.size(); ++row) {
    const bool empty = shown.empty() && wanted[row].empty();
    if (empty || (row < shown.size() && shown[row] == wanted[row])) {
      continue;
    }
    // Cleared before it is written: after a line that fills the screen's width, the cursor stands
    // on its last character.
    bytes += "\x1b[" + std::to_string(row + 1) + ";1H\x1b[K" + wanted[row];
  }
  return bytes;
}

ScreenView::ScreenView(int fd, Look look, Clock clock)
    : outlet_(fd), terminal_(outlet_.descriptor()), look_(look), clock_(std::move(clock)) {}

ScreenView::~ScreenView() {
  if (terminal_.borrowed()) {
    outlet_.drain(kAtTheEnd);
  }
}

bool ScreenView::due(const LiveState& state) {
  const auto now = clock_();
  if (drawn_ && now - *drawn_ < kFrame && state.ending == ending_drawn_) {
    return false;
  }
  drawn_ = now;
  ending_drawn_ = state.ending;
  return true;
}

void ScreenView::show(const LiveState& state) {
  const StopLater stop_later;
  if (!in_foreground(outlet_.descriptor()) || !due(state)) {
    return;
  }
  draw(state);
}

void ScreenView::draw(const LiveState& state) {
  std::string bytes;
  if (!terminal_.borrowed()) {
    outlet_.discard();
    bytes = terminal_.borrow();
    shown_.clear();
    size_ = terminal_.size();
  } else if (!outlet_.all_written()) {
    return;
  }
  if (const Size size = terminal_.size(); size != size_) {
    bytes += kClear;
    shown_.clear();
    size_ = size;
  }
  if (state.samples != nullptr) {
    extremes_.take(*state.samples);
  }
  std::vector<std::string> wanted = compose(state, extremes_, size_, look_);
  bytes += difference(shown_, wanted);
  shown_ = std::move(wanted);
  if (!bytes.empty()) {
    outlet_.put(bytes);
  }
}

}  // namespace lab
