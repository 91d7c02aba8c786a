#pragma once

#include <sys/types.h>

#include <ctime>

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "engine/burst_observer.h"
#include "engine/record/processor_use.h"
#include "engine/record/ring.h"
#include "engine/work.h"

/// What a workload thread saw: how it followed an edge, or a gap.
struct BurstEvent {
  enum class Kind : std::int32_t { left, entered, held_up };
  std::int64_t at_ns;     ///< end of the last burst, begin of the first, or begin of the gap
  std::int64_t until_ns;  ///< end of the gap; the others have none
  std::int32_t processor;
  Kind kind;
};

/// The part of the record that one workload thread writes: its bursts. And what others read of it:
/// its processor time and its work. Owned by the record.
class ThreadRecord final : public BurstObserver {
 public:
  /// Room for `capacity` bursts between two rounds of the record's writer.
  ThreadRecord(unsigned index, std::size_t capacity) : index_(index), events_(capacity) {}

  /// The thread is there, and is to run `load`, bound to `processor` (-1: to none). `work` says
  /// what it has done so far; any thread calls it, until the record is finished; it is empty if
  /// the load does not count.
  /// Thread: the workload thread, once, before its load runs.
  void begun(std::string_view load, int processor, std::function<Work()> work);

  /// The load has ended. Thread: the workload thread.
  void ended() noexcept;

  void left(std::int64_t last_burst_end_ns) noexcept override;
  void entered(std::int64_t first_burst_begin_ns, int processor) noexcept override;
  void held_up(std::int64_t from_ns, std::int64_t until_ns) noexcept override;

  // What follows is the record's own side. Thread: any.

  enum class State : std::int32_t { expected, running, over };
  State state() const noexcept { return state_.load(std::memory_order_acquire); }

  unsigned index() const noexcept { return index_; }

  /// Requires: the thread has begun.
  const std::string& load() const noexcept { return load_; }
  int bound_to() const noexcept { return bound_to_; }
  pid_t id() const noexcept { return id_; }
  int policy() const noexcept { return policy_; }
  int priority() const noexcept { return priority_; }

  /// Its processor time in ns; nothing in the moment in which it ends. Requires: it has begun.
  std::optional<std::int64_t> processor_time_ns() const noexcept;

  /// What it has done; nothing if its load does not count. Requires: it has begun.
  std::optional<Work> work() const { return work_ ? std::optional<Work>(work_()) : std::nullopt; }

  /// Its use of the processors at its end. Requires: it is over.
  const ProcessorUse& final_use() const noexcept { return final_use_; }

  Ring<BurstEvent>& events() noexcept { return events_; }

 private:
  const unsigned index_;
  std::string load_;
  int bound_to_ = -1;
  pid_t id_ = 0;
  int policy_ = 0;
  int priority_ = 0;
  clockid_t clock_{};
  std::function<Work()> work_;
  ProcessorUse final_use_;
  std::atomic<State> state_{State::expected};  ///< released after what it says can be read
  Ring<BurstEvent> events_;
};
