#pragma once

#include <cstdint>
#include <optional>

#include "engine/waveforms/carrier.h"
#include "engine/waveforms/latest_cell.h"
#include "engine/waveforms/pulses.h"
#include "engine/waveforms/steering.h"
#include "vorn/interval_source.h"

namespace engine {

/// Pulses of a carrier whose duty is asked for while they are played. What was said last takes
/// effect at the beginning of the next period; until something is said the duty is 0. All periods
/// are counted from the waveform's begin, whatever they are asked for.
///
/// Begins off, with an interval of no length that ends without an edge: what has been said by then
/// is for the first period. Thread: the timing thread, but for say().
class SteeredSource final : public IntervalSource {
 public:
  /// Throws WaveformError for a carrier that is too slow or too fast.
  explicit SteeredSource(double carrier_hz);

  /// Asks for something else from the next period on. Never waits. Thread: one.
  void say(const Steering& steering) noexcept { said_.put(steering); }

  std::optional<std::int64_t> next_ns() override;
  bool ends_in_edge() override;

  /// What took effect with the period that begins with the interval that next_ns() returned last,
  /// once; nothing if all is as it was.
  std::optional<Steering> take_effective();

 private:
  /// Where the interval ends that next_ns() returned last.
  enum class End {
    nothing,  ///< there was none
    begin,    ///< of the waveform: nothing is switched yet
    period,   ///< the beginning of period `period_`
    on_part,  ///< within that period, of `slot_`
  };

  void look();
  Slot slot() const;
  double duty() const;
  double sum_of_sines() const;
  std::int64_t begin_period();

  const double carrier_hz_;
  const Carrier carrier_;
  LatestCell<Steering> said_;

  Steering steering_;                  ///< for period `period_` from the last look() on
  std::uint64_t since_ = 0;            ///< the period that it begins with
  bool replaced_ = false;              ///< not effective yet
  std::optional<Steering> effective_;  ///< and not taken yet
  End end_ = End::nothing;
  bool looked_ = false;  ///< since the interval was returned
  bool on_ = false;
  std::uint64_t period_ = 0;
  Slot slot_;  ///< of `period_`, as of the last look()
};

}  // namespace engine
