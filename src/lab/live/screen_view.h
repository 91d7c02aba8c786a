#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "lab/live/extremes.h"
#include "lab/live/frame.h"
#include "lab/live/live_state.h"
#include "lab/live/look.h"
#include "lab/live/outlet.h"
#include "lab/live/terminal.h"

namespace lab {

/// A full screen on a terminal, at most four times a second. Writes the lines that differ from what
/// is shown, all of them in one go; draws nothing while a frame before has not been taken, and
/// nothing while another process is in front.
class ScreenView final : public View {
 public:
  using Clock = std::function<std::chrono::steady_clock::time_point()>;

  ScreenView(int fd, Look look, Clock clock);
  ~ScreenView() override;
  void show(const LiveState& state) override;

 private:
  bool due(const LiveState& state);
  void draw(const LiveState& state);

  Outlet outlet_;
  Terminal terminal_;
  Look look_;
  Clock clock_;
  Extremes extremes_;
  std::optional<std::chrono::steady_clock::time_point> drawn_;
  bool ending_drawn_ = false;
  Size size_;
  std::vector<std::string> shown_;
};

/// The bytes that turn the screen from the one frame into the other. Empty if nothing differs.
/// Requires: as many lines, or none shown, if the screen is empty.
std::string difference(const std::vector<std::string>& shown,
                       const std::vector<std::string>& wanted);

}  // namespace lab
