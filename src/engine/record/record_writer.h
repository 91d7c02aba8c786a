#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/record/kernel_counters.h"

struct RecordParts;
class ThreadRecord;

/// Takes what is in a record's buffers, and what the kernel shows, and writes it as lines.
/// Thread: one, of ordinary priority.
class RecordWriter {
 public:
  explicit RecordWriter(RecordParts& parts);

  /// Writes the head, then what comes, until the end is signalled; then all that is left.
  void write_until_the_end();

 private:
  void take_all();
  void take_words();
  void take_thread_begins();
  void take_start();
  void take_edges();
  void take_asked();
  void take_bursts();
  void take_samples();
  void say_what_was_dropped();
  void look_at_the_machine();
  void say_use(const ThreadRecord& thread, std::int64_t at_ns);
  void say_processors(std::int64_t at_ns);
  void say_end();

  /// Writes the lines out if that disturbs nobody, or if there are many, or for long.
  void write_if_due();
  void write_out();

  /// Whether `dropped` is more than was `known`, which becomes it.
  bool more_dropped(std::uint64_t dropped, std::uint64_t& known);

  RecordParts& parts_;
  const KernelCounters counters_;
  std::string text_;  ///< lines that are not written yet
  std::int64_t written_ns_ = 0;
  std::vector<bool> begun_;  ///< threads whose begin is in the record
  bool start_said_ = false;
  std::vector<Throttles> throttles_;  ///< as they were said last
  std::uint64_t edges_dropped_ = 0;
  std::uint64_t asked_dropped_ = 0;
  std::uint64_t samples_dropped_ = 0;
  std::uint64_t words_dropped_ = 0;
  std::vector<std::uint64_t> bursts_dropped_;
};
