#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/waveforms/waveform_error.h"

class IntervalSource;

/// The waveforms of the engine, as sources of intervals for the timing thread: exact to the
/// nanosecond, however long they run, since each edge is calculated from the start and not from
/// the edge before. The first interval is on. An edge that would change nothing (a slot of duty 0
/// behind another) is left out. docs/waveforms.md describes them.
///
/// All of these throw WaveformError. Thread: any; a source belongs to one thread at a time.

/// The shape of a wave between two duties: from `offset` up to `offset` + `depth`.
struct Swing {
  double offset = 0.0;            ///< 0 to 1
  std::optional<double> depth{};  ///< what is left up to 1, if not given
};

enum class Playing {
  once,    ///< then the source is over, and the run with it
  looped,  ///< from the beginning again, for ever
};

/// Pulses of `duty` (0 to 1) at `carrier_hz`.
std::unique_ptr<IntervalSource> constant_duty(double carrier_hz, double duty);

/// A duty that follows a sinusoid or a triangle of `shape_hz`, from its lowest value. The carrier
/// is shortened or stretched until a whole number of its periods fills a wave.
std::unique_ptr<IntervalSource> sinusoid_duty(double carrier_hz, double shape_hz, Swing swing = {});
std::unique_ptr<IntervalSource> triangle_duty(double carrier_hz, double shape_hz, Swing swing = {});

/// The duties of the profile in file `path` at `carrier_hz`. The file is read here, once.
std::unique_ptr<IntervalSource> profile_duty(double carrier_hz, const std::string& path,
                                             Playing playing);

/// The intervals in file `path`. The file is read here, once.
std::unique_ptr<IntervalSource> raw_edges(const std::string& path, Playing playing);
