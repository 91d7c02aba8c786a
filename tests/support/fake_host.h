#pragma once

#include <atomic>
#include <cstddef>

/// The host of the unit tests: grants everything without doing it, counts what it was asked for,
/// and refuses what a test tells it to. Thread: any.
namespace fake_host {

struct State {
  std::atomic<int> role_result{0};        ///< what set_foreground_role returns
  std::atomic<int> processors{2};         ///< what processor_count returns
  std::atomic<int> priority_result{0};    ///< what set_fixed_priority returns
  std::atomic<int> highest_priority{99};  ///< above it, set_fixed_priority returns EPERM
  std::atomic<int> role_calls{0};
  std::atomic<int> priority_calls{0};
  std::atomic<int> last_priority{0};
};

/// The one state, shared by everything in the test program.
State& state();

/// Puts every field back to its initial value.
void reset();

}  // namespace fake_host
