#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "engine/parsed.h"

namespace engine {

/// What a steered waveform is asked for, from the next period of its carrier on.
struct Steering {
  enum class What { duty, sinusoid, triangle, sines, end };

  /// One of the sinusoids of `sines`.
  struct Sine {
    double hz;
    double amplitude;  ///< of the duty, to either side
    double degrees;    ///< of its cosine at the beginning
  };
  static constexpr std::size_t kMostSines = 16;

  What what = What::duty;
  double hz = 0.0;      ///< of a swing; 0 for a duty; of sines the lowest
  double offset = 0.0;  ///< the least duty of a swing; the duty; the mean of sines
  double depth = 0.0;   ///< of a swing; 0 for a duty; of sines, twice the sum of amplitudes
  std::size_t sine_count = 0;
  std::array<Sine, kMostSines> sines{};  ///< the first `sine_count` of them
};

/// What the lines may say, for a complaint.
inline constexpr const char* kSteeringTaken =
    "\"duty D\", \"sinusoid HZ OFFSET DEPTH\", \"triangle HZ OFFSET DEPTH\", "
    "\"sines MEAN HZ AMPLITUDE DEGREES ...\" or \"end\"";

/// Reads a line for a carrier of `carrier_hz`. Words are parted by blanks. Pure. Thread: any.
Parsed<Steering> parse_steering(std::string_view line, double carrier_hz);

/// The name of what was asked for, as a line says it.
const char* steering_name(Steering::What what);

/// Cuts a stream into lines. What is too long to be one is passed over, but for its beginning.
class SteeringLines {
 public:
  static constexpr std::size_t kLongest = 1500;  ///< bytes: longer than any that says something

  /// Calls `take` for each line that `text` ends: without the end of the line, and cut off after
  /// kLongest + 1 bytes. What is behind the last one is kept for the next call.
  template <class Take>
  void add(std::string_view text, const Take& take) {
    for (const char c : text) {
      if (c == '\n') {
        take(std::string_view(line_));
        line_.clear();
      } else if (line_.size() <= kLongest) {
        line_.push_back(c);
      }
    }
  }

 private:
  std::string line_;
};

}  // namespace engine
