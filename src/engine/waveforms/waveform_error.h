#pragma once

#include <stdexcept>

/// A waveform cannot be played as it is described. what() says what is wrong, with file and line
/// if it stands in one: "load.profile:12: duty 1.2 is not between 0 and 1".
class WaveformError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};
