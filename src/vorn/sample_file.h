#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The file, pipe or terminal that takes the samples. It holds whole lines only: a line that finds
/// no room is taken back, or finished before the next one where nothing can be taken back.
///
/// A file that cannot be opened is one whose lines are all lost: nothing here throws or prints.
/// Thread: one at a time; the counts may be read by any once the writer has been joined.
class SampleFile {
 public:
  /// What the opening of a pipe does that nobody reads.
  enum class Unread {
    waits,  ///< until somebody reads
    fails,  ///< with ENXIO, at once
  };

  /// Opens `path` and empties it, or creates it; "-" is standard output as it stands.
  explicit SampleFile(std::string path, Unread unread = Unread::waits);
  SampleFile(const SampleFile&) = delete;
  SampleFile& operator=(const SampleFile&) = delete;
  /// As close().
  ~SampleFile();

  /// The errno value with which the opening failed, or 0.
  int open_error() const { return open_error_; }

  /// Hands the kernel a line, whose last character is its newline. Returns whether all of it was
  /// taken; if not, the line is lost. Blocks as long as a pipe is full, also one that was opened
  /// not to block. Allocates only when a line that cannot be taken back is cut off.
  bool write_line(std::string_view line);

  /// Waits until the file is on its disk, and closes it. Standard output stays open. Returns false
  /// if lines that had been taken are lost by now; error() says why. A second call does nothing.
  bool close();

  const std::string& path() const { return path_; }
  std::uint64_t written() const { return written_; }  ///< lines that were taken
  std::uint64_t lost() const { return lost_; }        ///< lines that were not
  /// The errno value of the latest failure to open, write or close, or 0.
  int error() const { return error_; }

 private:
  std::size_t write_bytes(std::string_view bytes);
  bool finish_line();
  bool take_back(std::size_t bytes);

  std::string path_;
  bool owned_;
  int descriptor_;
  int open_error_;
  int error_;
  std::string unfinished_;  ///< the rest of a line whose beginning the reader has
  std::uint64_t written_ = 0;
  std::uint64_t lost_ = 0;
};
