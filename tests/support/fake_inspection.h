#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Inspection/inspection.h"

/// The inspection of the unit tests: a machine that has what a test puts there, with nothing to
/// calibrate or restore. Thread: the main one.
namespace fake_inspection {

struct State {
  std::vector<inspection::Key> keys;
  std::vector<inspection::Finding> findings;
  bool well = true;  ///< what calibrate and restore return
  std::optional<std::string> recorded;
  int records = 0;  ///< how often the machine was recorded
  std::string used_record;
  std::string wrong_with_record;
};

/// The one state, shared by everything in the test program.
State& state();

/// Puts every field back to its initial value.
void reset();

}  // namespace fake_inspection
