#pragma once

#include <cstdint>
#include <optional>

#include "vorn/interval_source.h"

/// One period of a carrier, in ns since the waveform began: on from `begin` to `on_end`, then off
/// to `end`. Either part may have no length.
struct Slot {
  std::int64_t begin = 0;
  std::int64_t on_end = 0;
  std::int64_t end = 0;
};

/// A pulse-width modulation: which slots there are. Pure, so that each slot is exact by itself.
/// Each slot begins where the one before it ends.
class Pulses {
 public:
  Pulses() = default;
  Pulses(const Pulses&) = delete;
  Pulses& operator=(const Pulses&) = delete;
  virtual ~Pulses() = default;

  /// Slot `index`, from 0; nothing behind the last one.
  virtual std::optional<Slot> slot(std::uint64_t index) const = 0;

  /// Requires: slot `index` is on throughout, or off throughout. A later slot, such that all
  /// between the two are the same.
  virtual std::uint64_t next_to_look_at(std::uint64_t index) const { return index + 1; }
};

/// Plays pulses as the intervals between their edges. Slots that are on or off throughout are
/// joined with their neighbours, so that the load is not switched, and its threads not woken, for
/// nothing.
template <class Modulation>
class PulseSource final : public IntervalSource {
 public:
  template <class... Arguments>
  explicit PulseSource(Arguments&&... arguments)
      : pulses_(static_cast<Arguments&&>(arguments)...) {}

  std::optional<std::int64_t> next_ns() override {
    if (over_) {
      return std::nullopt;
    }
    std::optional<std::int64_t> edge = on_ ? next_off() : next_on();
    if (!edge) {
      over_ = true;
      if (end_ == last_edge_) {
        return std::nullopt;
      }
      edge = end_;
    }
    const std::int64_t interval = *edge - last_edge_;
    last_edge_ = *edge;
    on_ = !on_;
    return interval;
  }

 private:
  /// So many slots are joined at most without being skipped: whoever asks for the next interval is
  /// about to switch, and must not be held up. Behind them stands an edge without effect.
  static constexpr int kMostJoined = 100;

  std::optional<std::int64_t> next_off() {
    for (int joined = 0;; ++joined) {
      const std::optional<Slot> slot = pulses_.slot(slot_);
      if (!slot) {
        return std::nullopt;
      }
      end_ = slot->end;
      if (slot->on_end < slot->end || joined == kMostJoined) {
        return slot->on_end;
      }
      slot_ = pulses_.next_to_look_at(slot_);
    }
  }

  std::optional<std::int64_t> next_on() {
    ++slot_;
    for (int joined = 0;; ++joined) {
      const std::optional<Slot> slot = pulses_.slot(slot_);
      if (!slot) {
        return std::nullopt;
      }
      end_ = slot->end;
      if (slot->begin < slot->on_end || joined == kMostJoined) {
        return slot->begin;
      }
      slot_ = pulses_.next_to_look_at(slot_);
    }
  }

  const Modulation pulses_;
  std::uint64_t slot_ = 0;
  std::int64_t last_edge_ = 0;
  std::int64_t end_ = 0;  ///< of the last slot looked at
  bool on_ = true;
  bool over_ = false;
};
