#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/record/clock_reading.h"
#include "engine/record/edge_log.h"
#include "engine/record/record.h"
#include "engine/record/record_file.h"
#include "engine/record/ring.h"
#include "engine/record/thread_record.h"
#include "engine/record/word_queue.h"

/// A sample was taken, or what one thread had used and done by then.
struct SampleEvent {
  static constexpr std::int32_t kTheSample = -1;

  std::int32_t thread;  ///< or kTheSample
  std::int64_t at_ns;
  double elapsed_s;                ///< of the sample
  std::int64_t processor_time_ns;  ///< of the thread; -1 if it is not known
  bool counts;                     ///< whether the thread's load does
  Work work;                       ///< of the thread
};

/// Something that happens once, and can be waited for. Who sees it sees what was written before.
class Signal {
 public:
  Signal();
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;
  ~Signal();

  /// From then on it is set, for good. Thread: any.
  void set() noexcept;

  /// Waits until it is set, for `ms` at most. Returns whether it is. Thread: any.
  bool wait(int ms) noexcept;

 private:
  std::atomic<bool> set_{false};
  const int file_;  ///< a counter of the kernel's, to sleep by
};

/// What a record and its writer share.
struct RecordParts {
  /// Creates the file of the plan, unless `the_file` is one.
  explicit RecordParts(RecordPlan the_plan, std::unique_ptr<RecordFile> the_file = nullptr);

  EdgeLog edges;
  Ring<SampleEvent> samples;
  /// Before any event: the writer may come to its first line only when the load lets it.
  const ClockReading made = clock_reading();
  WordQueue words;
  const RecordPlan plan;
  const std::unique_ptr<RecordFile> file;
  std::vector<std::unique_ptr<ThreadRecord>> threads;

  // The end: written before `ending` is set, read after it has been seen.
  std::string reason;
  int status = 0;
  Signal ending;

  Signal written;                                ///< set by the writer behind its last line
  std::atomic<std::uint64_t> events_dropped{0};  ///< known to the writer, from all buffers
};
