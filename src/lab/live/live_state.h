#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/data/table.h"

namespace lab {

/// What a live view shows at a moment. Nothing in it is owned.
struct LiveState {
  std::string title;  ///< question and machine
  std::string phase;  ///< "load, 2 of 3"
  std::string next;   ///< what happens next, in words; may be empty
  double elapsed_s = 0;
  std::optional<double> left_s;    ///< at most; nothing: no end is set
  const Table* samples = nullptr;  ///< as of Run, so far; the last row is now
  const std::vector<std::string>* warnings = nullptr;
  double load_age_s = 0;  ///< how long before now the load is from: the record says it later
  bool ending = false;    ///< Ctrl-C was taken: the run ends, and is analysed
};

/// Shows a run while it goes on. Thread: the one that follows the run.
class View {
 public:
  View() = default;
  View(const View&) = delete;
  View& operator=(const View&) = delete;
  /// Leaves the terminal as it was found.
  virtual ~View() = default;
  /// Shows a state. Called some times a second; draws no more than is needed.
  virtual void show(const LiveState& state) = 0;
};

}  // namespace lab
