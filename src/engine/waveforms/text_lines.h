#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The lines of a waveform's file that say something, one after the other: without what is behind
/// a '#', without blanks around them and the carriage return of other systems. Bounded: a file that
/// does not end does not fill the memory. Thread: one.
class TextLines {
 public:
  /// Throws WaveformError if `path` cannot be opened.
  explicit TextLines(const std::string& path);
  TextLines(const TextLines&) = delete;
  TextLines& operator=(const TextLines&) = delete;
  ~TextLines();

  /// The next line, valid until the next call; nothing at the end. Throws WaveformError for a file
  /// that cannot be read, and for one above 64 MiB or with a line above 1000 bytes.
  std::optional<std::string_view> next();

  /// Throws WaveformError about the line that next() returned last: "<path>:<line>: <what>".
  [[noreturn]] void fail(const std::string& what) const;

  /// Throws WaveformError about the file: "<path>: <what>".
  [[noreturn]] void fail_wholly(const std::string& what) const;

  /// A number as it stands in a file. Fails for a text that is none.
  double number(std::string_view text) const;

 private:
  /// Sets `line_` to the next line, whatever it says. False at the end of the file.
  bool read_line();
  bool refill();

  const std::string path_;
  const int file_;
  std::array<char, 65536> buffer_{};
  std::size_t begin_ = 0;  ///< of what has not been looked at in the buffer
  std::size_t end_ = 0;
  std::size_t bytes_ = 0;  ///< read of the file
  std::size_t number_ = 0;
  std::string line_;
};

/// The words of a line, between blanks, tabs, commas and semicolons. A comma or semicolon with
/// nothing in front of it leaves an empty word.
std::vector<std::string_view> words_of(std::string_view line);

/// The text as an error shows it: in quotes, cut off, and without what no terminal should get.
std::string shown_text(std::string_view text);
