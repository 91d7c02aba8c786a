#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "engine/record/ring.h"
#include "vorn/edge_observer.h"

/// One switch of the waveform. Times in ns of CLOCK_MONOTONIC.
struct EdgeEvent {
  std::int64_t planned_ns;
  std::int64_t switched_ns;
  bool active;
};

/// What a steered waveform plays from an instant on.
struct AskedEvent {
  std::int64_t at_ns;  ///< of CLOCK_MONOTONIC
  const char* shape;   ///< a text that stays
  double hz;
  double offset;
  double depth;
};

/// Where the waveform was to begin, and where it did.
struct MetStart {
  std::int64_t wanted_wall_ns;  ///< since 1970
  std::int64_t planned_ns;      ///< the same, of CLOCK_MONOTONIC, as things stood
  std::int64_t switched_ns;
  std::int64_t switched_wall_ns;
};

/// The part of the record that the timing thread writes.
class EdgeLog final : public EdgeObserver {
 public:
  EdgeLog(std::size_t edges, std::size_t asked) : events_(edges), asked_(asked) {}

  /// As Record::start_agreed(). Thread: one.
  void start_agreed(std::int64_t wall_ns, std::int64_t planned_ns) noexcept;

  void switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept override;

  /// Nothing before the first edge, or if no start was agreed. Thread: any.
  std::optional<MetStart> start() const noexcept;

  Ring<EdgeEvent>& events() noexcept { return events_; }
  Ring<AskedEvent>& asked() noexcept { return asked_; }

 private:
  static constexpr std::int64_t kNone = -1;

  // The agreement, as it was made last. Relaxed: each figure is of use by itself.
  std::atomic<std::int64_t> wanted_wall_ns_{kNone};
  std::atomic<std::int64_t> agreed_ns_{kNone};

  MetStart start_{};
  std::atomic<bool> begun_{false};  ///< released after `start_` can be read
  bool first_ = true;
  Ring<EdgeEvent> events_;
  Ring<AskedEvent> asked_;
};
