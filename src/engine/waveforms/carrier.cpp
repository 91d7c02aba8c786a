#include "engine/waveforms/carrier.h"

#include <cmath>
#include <sstream>

#include "engine/waveforms/waveform_error.h"

namespace {

// Half a period at least a hundred times as long as the clock's unit of 1 ns leaves duties a
// meaning; no thread can be switched that often anyway.
constexpr double kHighestHz = 1e6;

// A period of eleven days. The first edge of a slower one is beyond any run, and the arithmetic
// need not be proved for it.
constexpr double kLowestHz = 1e-6;

}  // namespace

std::int64_t nanoseconds(long double seconds) {
  return std::llrint(seconds * 1e9L);
}

std::int64_t Carrier::instant_ns(long double periods) const {
  return std::llrint(periods * 1e9L / frequency_hz_);
}

std::uint64_t Carrier::periods_until(long double time_s) const {
  return static_cast<std::uint64_t>(time_s * frequency_hz_);
}

void check_frequency(const char* what, double frequency_hz) {
  if (frequency_hz >= kLowestHz && frequency_hz <= kHighestHz) {  // NaN is not
    return;
  }
  std::ostringstream text;
  text << what << " of " << frequency_hz << " Hz: must be from " << kLowestHz << " to "
       << kHighestHz << " Hz";
  throw WaveformError(text.str());
}
