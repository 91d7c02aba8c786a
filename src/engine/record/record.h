#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Workload/relaxed_flag.h"
#include "engine/record/thread_record.h"

class EdgeObserver;
struct AskedEvent;
struct RecordParts;

/// The record cannot be made. what() names the path and the reason.
class RecordError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class RecordFile;

/// What a record begins with, and where it looks.
struct RecordPlan {
  std::string path;
  std::string program;  ///< its name, as in "vorn-engine"
  std::string version;
  std::vector<std::string> arguments;  ///< the command line, the program's path first
  std::vector<std::pair<std::string, std::string>> settings;  ///< name and value, as they stand
  unsigned threads = 0;                                       ///< workload threads
  /// Whether the load is on. The file is written when it is off, if that is soon.
  const RelaxedFlag* active = nullptr;
  double samples_per_second = 0.0;  ///< of the run; 0: none
  std::string sys = "/sys";
  std::string proc = "/proc";
};

/// What did not get into a record.
struct RecordLosses {
  std::uint64_t events = 0;  ///< there was no room in a buffer
  std::uint64_t lines = 0;   ///< the file did not take them
  bool complete = true;      ///< the last line was reached; without it, more may be lost
  std::string reason;        ///< why the file did not take lines; empty if it took all

  bool none() const { return events == 0 && lines == 0 && complete; }
};

/// The file that says what a run was asked for and what happened: docs/record.md has its lines.
///
/// Whoever is on time in a run puts what it sees into a buffer of its own, which has been made here
/// beforehand; an ordinary thread writes them out. What finds no room is dropped and counted, never
/// waited for. All times are in ns of CLOCK_MONOTONIC.
class Record {
 public:
  /// Creates the file, makes the buffers and starts the writer, which leaves all signals to others.
  /// Throws RecordError.
  explicit Record(RecordPlan plan);
  /// The same with a file that has been opened before.
  Record(RecordPlan plan, std::unique_ptr<RecordFile> file);
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
  /// Finishes the record if nobody has.
  ~Record();

  /// Takes the edges. Thread: one, the timing thread.
  EdgeObserver& edge_observer();

  /// Takes the bursts of one workload thread. Requires: index < plan.threads.
  ThreadRecord& thread(unsigned index);

  /// The waveform is to begin at an agreed instant: `wall_ns` since 1970, which is `planned_ns` of
  /// the monotonic clock as things stand. The record says how well the first edge met it. May be
  /// repeated when the clocks have moved, until the first edge. Thread: one.
  void start_agreed(std::int64_t wall_ns, std::int64_t planned_ns) noexcept;

  /// A steered waveform plays something else. Neither waits nor allocates. Thread: the timing
  /// thread.
  void asked(const AskedEvent& asked) noexcept;

  /// A sample was taken `elapsed_s` after the sampling began: notes each thread's processor time
  /// and work. Neither waits nor allocates. Thread: one, the monitor thread.
  void sample_taken(double elapsed_s) noexcept;

  // Three kinds of words. What is too long is cut, what finds no room is dropped and counted.
  // Neither waits or allocates. Thread: any.

  /// A right that the run asked for was refused: what ("thread of the samples at priority 63"), and
  /// why.
  void refused(std::string_view what, std::string_view why) noexcept;
  /// Something of the machine is forced otherwise from now on: what ("F0Tg", "pstate"), and to
  /// what.
  void forced(std::string_view what, std::string_view value) noexcept;
  /// A load's result was wrong, on `processor` (-1: unknown).
  void load_error(unsigned thread, int processor, std::int64_t at_ns,
                  std::string_view text) noexcept;

  /// Writes what is left, the use of the processors, `reason` and `status` as the last line, and
  /// closes the file. Waits for the file for two seconds at most: what is not written then is lost.
  /// Requires: nobody uses the record any more, but for words.
  RecordLosses finish(std::string_view reason, int status);

 private:
  bool finished_ = false;
  std::shared_ptr<RecordParts>
      parts_;  ///< shared with the writer, which a stuck file may hold for ever
};
