#pragma once

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lab/engine_process/child.h"
#include "lab/engine_process/engine_options.h"
#include "lab/engine_process/line_tail.h"
#include "lab/folder/sample_rows.h"
#include "lab/plan/plan.h"

namespace lab {

/// An engine that runs, and what it writes meanwhile. It ends when this process does, however that
/// may be: it listens to its standard input. Thread: one.
class EngineRun {
 public:
  struct Start {
    std::vector<std::string> arguments;  ///< without those for files
    std::filesystem::path samples;       ///< made, or emptied, with the caller's rights
    std::filesystem::path record;
    bool as_root = false;
    bool steered = false;  ///< it follows steer()
    SampleRows::Origin origin;
    std::vector<NamedFile> read = {};  ///< files that the arguments name, for the engine to read
  };

  /// Starts the engine. Throws EngineError.
  explicit EngineRun(const Start& start);

  /// Asks for another duty from the next period of the carrier on, and before that for what
  /// `forcing` says: lines of fans and P-state.
  void steer(const Drive& drive, const std::string& forcing = "");

  /// Asks the engine to end in order.
  void end();

  /// Ends the engine at once, if it has been asked before.
  void interrupt() { engine_.signal(SIGINT); }

  /// Takes in what has been written since the last call.
  void poll();

  /// Rows that have become whole since the last call.
  std::vector<SampleRow> take_rows();

  /// The newest sample, as far as it is known.
  const std::optional<SampleRow>& newest() const { return rows_.newest(); }
  std::optional<std::int64_t> zero_ns() const { return rows_.zero_ns(); }

  /// When the duty of steer() number `index`, from 0, took effect: ns of CLOCK_MONOTONIC; nothing
  /// if that is not known yet.
  std::optional<std::int64_t> asked_ns(std::size_t index) const;

  /// Its exit status once it has ended and all it wrote has been taken in.
  std::optional<int> status();

  /// The engine's words for its end, or for why there was no start; empty if there are none.
  std::string end_reason() const;

  /// What it complained of that is no note, in its order.
  const std::vector<std::string>& complaints() const { return complaints_; }

  /// What the engine has told its user since the last call, without its name.
  std::vector<std::string> take_notes();

  /// The engine's version, as it says it in its record; empty before that.
  const std::string& version() const { return version_; }

  pid_t process() const { return engine_.process(); }

  /// The command line of such a start, with the files' own names.
  static std::vector<std::string> command(const Start& start);

 private:
  void take_errors();

  Descriptor samples_file_;
  Descriptor record_file_;
  std::vector<Descriptor> read_files_;
  Child engine_;
  LineTail samples_;
  LineTail record_;
  SampleRows rows_;
  std::string end_reason_;  // as the record has it
  std::vector<std::int64_t> asked_ns_;
  std::vector<std::pair<std::string, std::string>>
      own_names_;       // of descriptors: what files are called
  std::string errors_;  // what has come of a line that is not whole
  std::vector<std::string> notes_;
  std::vector<std::string> complaints_;
  std::string version_;
  bool steered_;
  bool ended_ = false;
};

/// Whether an engine's exit status says that it has not begun.
bool refused_start(int status);

/// Why an engine did not start, from what it said: its complaints, but for the hint to its help,
/// or, as of an option's value, its notes. Pure.
std::string refusal(const std::vector<std::string>& complaints,
                    const std::vector<std::string>& notes);

/// A line in which a descriptor ("/dev/fd/5") is replaced by the name of its file. Pure.
std::string with_name(std::string line, const std::string& descriptor, const std::string& name);

}  // namespace lab
