#pragma once

#include <cstdint>

#include "vorn/edge_observer.h"

class Record;

namespace engine {

class SteeredSource;

/// Takes the edges on their way to another observer, and has the record say what a steered waveform
/// was asked for where it takes effect: at the beginning of a period, be it an edge or not.
/// Thread: the timing thread.
class AskedWatch : public EdgeObserver {
 public:
  /// None is owned.
  AskedWatch(SteeredSource& steered, Record& record, EdgeObserver& next)
      : steered_(steered), record_(record), next_(next) {}

  void switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept override;
  void stayed(std::int64_t planned_ns) noexcept override;

 private:
  void look(std::int64_t planned_ns) noexcept;

  SteeredSource& steered_;
  Record& record_;
  EdgeObserver& next_;
};

}  // namespace engine
