#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// A line of a record: its keyword and its fields, as they were before they were written.
using RecordLine = std::vector<std::string>;

inline RecordLine parse_record_line(std::string_view text) {
  RecordLine line{""};
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\t') {
      line.emplace_back();
    } else if (text[i] != '\\') {
      line.back().push_back(text[i]);
    } else {
      switch (i + 1 < text.size() ? text[++i] : '\0') {
        case 't':
          line.back().push_back('\t');
          break;
        case 'n':
          line.back().push_back('\n');
          break;
        case 'r':
          line.back().push_back('\r');
          break;
        case '\\':
          line.back().push_back('\\');
          break;
        default:
          throw std::runtime_error("no escape of a record: " + std::string(text));
      }
    }
  }
  return line;
}

/// A record as its lines. Throws std::runtime_error for a text that is none, or ends in mid-line.
class RecordReader {
 public:
  explicit RecordReader(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    if (text.str().empty() || text.str().back() != '\n') {
      throw std::runtime_error("the record ends in mid-line: " + path);
    }
    std::istringstream in(text.str());
    for (std::string line; std::getline(in, line);) {
      lines_.push_back(parse_record_line(line));
    }
    if (lines_.front() != RecordLine{"vorn-record", "1"}) {
      throw std::runtime_error("no record: " + path);
    }
  }

  const std::vector<RecordLine>& lines() const { return lines_; }

  /// The lines of one keyword.
  std::vector<RecordLine> of(std::string_view keyword) const {
    std::vector<RecordLine> found;
    for (const RecordLine& line : lines_) {
      if (line.front() == keyword) {
        found.push_back(line);
      }
    }
    return found;
  }

 private:
  std::vector<RecordLine> lines_;
};
