#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "engine/record/record.h"

/// The file of a record cannot be opened.
class RecordFileError : public RecordError {
 public:
  RecordFileError(const std::string& path, int error);

  /// Of errno; ENXIO: nobody reads this pipe.
  int error() const { return error_; }

 private:
  int error_;
};

/// The file of a record: takes whole lines, and holds whole lines whatever happens to the disk.
/// Thread: one, but for give_up() and lines_lost().
class RecordFile {
 public:
  /// Creates or empties the file. Throws RecordFileError. A pipe needs a reader.
  explicit RecordFile(const std::string& path);
  RecordFile(const RecordFile&) = delete;
  RecordFile& operator=(const RecordFile&) = delete;
  ~RecordFile();

  /// Writes whole lines. Waits for a pipe that is full. What cannot be written is lost; the next
  /// lines are tried again.
  void write(std::string_view lines);

  /// Ends the waiting of write(), for good. Thread: any.
  void give_up() noexcept { given_up_.store(true, std::memory_order_relaxed); }

  /// Thread: any.
  std::uint64_t lines_lost() const noexcept { return lines_lost_.load(std::memory_order_relaxed); }

  /// Why lines were lost first: errno, or 0. Thread: any.
  int reason() const noexcept { return reason_.load(std::memory_order_relaxed); }

 private:
  /// Writes some of `rest` and takes it away. False if the file takes nothing.
  bool write_some(std::string_view& rest);
  /// Takes the part of a line away that is at the file's end.
  void cut_to_whole_lines();

  const int file_;
  std::int64_t whole_ = 0;  ///< bytes of the file that are whole lines
  bool open_line_ = false;  ///< a part of a line could not be taken away
  std::atomic<bool> given_up_{false};
  std::atomic<std::uint64_t> lines_lost_{0};
  std::atomic<int> reason_{0};
};
