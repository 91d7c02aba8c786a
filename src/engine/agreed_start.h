#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "engine/record/clock_reading.h"
#include "vorn/edge_observer.h"
#include "vorn/interval_source.h"
#include "vorn/waveform.h"

class Record;

namespace engine {

/// The waveform begins at an instant of the wall clock, which may be set meanwhile.
class AgreedStart : public WaveformStart {
 public:
  using ReadClocks = ClockReading (*)();

  explicit AgreedStart(std::int64_t wall_ns, ReadClocks clocks = clock_reading)
      : wall_ns_(wall_ns), clocks_(clocks) {}

  std::int64_t wall_ns() const { return wall_ns_; }

  /// Has `record` told of each instant that is found. Before the timing thread; not owned.
  void tell(Record& record) { record_ = &record; }

  std::int64_t instant_ns() override;

 private:
  std::int64_t wall_ns_;
  Record* record_ = nullptr;
  ReadClocks clocks_;
};

/// Takes the edges on their way to another observer, and keeps how well the first one met the
/// agreed start.
class StartWatch : public EdgeObserver {
 public:
  /// `next` may be null.
  StartWatch(AgreedStart& start, EdgeObserver* next) : start_(start), next_(next) {}

  void switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept override;

  /// How much later than agreed the waveform began, in ns of the wall clock at that moment;
  /// nothing if it has not begun. Thread: any.
  std::optional<std::int64_t> late_ns() const;

 private:
  AgreedStart& start_;
  EdgeObserver* next_;
  std::atomic<bool> begun_{false};  ///< set behind late_ns_
  std::int64_t late_ns_ = 0;
};

/// A waveform that stays on once it has begun: for a load that is to begin at an agreed instant and
/// follows no other waveform.
class SteadySource : public IntervalSource {
 public:
  std::optional<std::int64_t> next_ns() override;

 private:
  bool asked_ = false;
};

/// Passes the intervals of another source on, and keeps whether they came to their end.
class WatchedSource : public IntervalSource {
 public:
  explicit WatchedSource(IntervalSource& source) : source_(source) {}

  /// Whether the first interval has no length, and ends in an edge. It is then left out: a load
  /// that begins at that instant would be let go for nothing, and be late for its wait. The
  /// intervals that follow begin in the other state. Before the timing thread.
  bool leaves_out_first();

  std::optional<std::int64_t> next_ns() override;
  bool ends_in_edge() override { return source_.ends_in_edge(); }

  /// Thread: any.
  bool over() const { return over_; }

 private:
  IntervalSource& source_;
  std::optional<std::int64_t> first_;  ///< looked at, and not passed on yet
  std::atomic<bool> over_{false};
};

}  // namespace engine
