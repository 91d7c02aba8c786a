#pragma once

#include <string>
#include <string_view>

#include "lab/live/live_state.h"
#include "lab/live/outlet.h"

namespace lab {

/// One line for the run, for each new phase, for each new warning, for the end, and every 5 s of
/// the run for the values. A line is "SECONDS s  WORD: text", where the word says which of these it
/// is. A reader who is slow misses lines of values, and no others.
class LineView final : public View {
 public:
  explicit LineView(int fd);
  ~LineView() override;
  void show(const LiveState& state) override;

 private:
  void line(const LiveState& state, std::string_view word, const std::string& text);

  Outlet outlet_;
  bool begun_ = false;
  bool ending_said_ = false;
  std::string phase_;
  std::size_t warnings_ = 0;
  double next_values_s_ = 0;
};

/// The text of a line of values: loads, the first keys, and how long the run may still take.
std::string values_text(const LiveState& state);

}  // namespace lab
