#pragma once

#include <cstdint>
#include <optional>

#include "vorn/edge_observer.h"
#include "vorn/interval_source.h"

namespace engine {

/// Stands between a waveform and the timing thread, and brings the plan back to the waveform's own
/// time after a stop of the process. Both for engines that have agreed on a start, and for a
/// profile that is to end on time.
/// Thread: the timing thread.
class PhaseKeeper : public IntervalSource, public EdgeObserver {
 public:
  /// `next` is told of the edges; it may be null. Neither is owned.
  explicit PhaseKeeper(IntervalSource& source, EdgeObserver* next = nullptr)
      : source_(source), next_(next) {}

  /// Before the timing thread.
  void tell(EdgeObserver* next) { next_ = next; }

  std::optional<std::int64_t> next_ns() override;
  bool ends_in_edge() override;
  void switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept override;
  void stayed(std::int64_t planned_ns) noexcept override;

 private:
  std::int64_t behind_ns() const;
  std::optional<std::int64_t> take();
  std::optional<std::int64_t> take_to_edge(std::int64_t most_ns);
  void planned(std::int64_t planned_ns) noexcept;

  IntervalSource& source_;
  EdgeObserver* next_;
  std::optional<std::int64_t> ahead_;  ///< taken from the source, and not yet used
  std::optional<std::int64_t> begin_ns_;
  std::int64_t shift_ns_ = 0;   ///< the plan behind what was handed on, where it was told last
  std::int64_t own_ns_ = 0;     ///< the waveform's time at the end of what has been handed on
  std::int64_t handed_ns_ = 0;  ///< the length of all intervals that were handed on
  std::int64_t last_ns_ = 0;    ///< the last of them
};

}  // namespace engine
