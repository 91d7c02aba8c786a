#pragma once

#include <memory>
#include <string>

#include "engine/options.h"

class IntervalSource;

namespace engine {

class SteeredSource;

/// The waveform that was asked for, and how the summary names it. Reads vorn's settings too.
struct WaveformChoice {
  std::unique_ptr<IntervalSource> source;  ///< null: none was asked for
  std::string description;                 ///< without its carrier; empty for a plain square wave
  SteeredSource* steered = nullptr;        ///< the source, if it is steered
};

/// Throws WaveformError if the file that describes it is not valid.
/// Requires: conflict(request) is nothing.
WaveformChoice choose_waveform(const Request& request);

}  // namespace engine
