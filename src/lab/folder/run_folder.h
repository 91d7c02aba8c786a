#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "lab/data/answer.h"
#include "lab/folder/run.h"

namespace lab {

/// The folder that holds one run. Killed at any moment, it can still be read.
class RunFolder {
 public:
  explicit RunFolder(std::filesystem::path path) : path_(std::move(path)) {}

  /// Makes the folder, and in it the first file, still empty. A folder that is there already has to
  /// be empty; of two runs that want one at the same time, one gets it. Throws FolderError.
  static RunFolder create(const std::filesystem::path& path, const char* first = "plan.toml");

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path plan() const { return path_ / "plan.toml"; }
  std::filesystem::path info() const { return path_ / "run.json"; }
  std::filesystem::path samples() const { return path_ / "samples.csv"; }
  std::filesystem::path result() const { return path_ / "result.json"; }
  std::filesystem::path report() const { return path_ / "report.html"; }

  /// What the kernel's trace of its scheduler says, if it was taken.
  std::filesystem::path scheduler() const { return path_ / "scheduler.csv"; }

  /// The engine's record of its start number `start`, counted from 0.
  std::filesystem::path stimulus(std::size_t start = 0) const;

  /// The profile that the engine's start number `start` plays, if it plays one.
  std::filesystem::path profile(std::size_t start) const;

  /// The engine's own sample file of that start while it runs. It is gone when all of it is in
  /// samples.csv.
  std::filesystem::path engine_samples(std::size_t start = 0) const;

  void write_plan(const Plan& plan, std::string_view program) const;
  void write_info(const RunInfo& info) const;
  void write_scheduler(const SchedulerTrace& trace) const;
  void write_result(const Run& run, const Answer& answer) const;

  /// Removes what a run that has not begun has put there, and the folder if nothing else is in it.
  void discard() const;

  /// The run in the folder, as far as there is one. Throws FolderError or PlanError.
  Run read() const;

 private:
  std::filesystem::path path_;
};

/// The columns of samples.csv behind the time, for these keys.
std::vector<std::string> sample_columns(const std::vector<KeyInfo>& keys);

/// result.json: the figures of the answer beside what it is an answer to. docs/lab.md has the
/// schema.
std::string result_text(const Run& run, const Answer& answer);

}  // namespace lab
