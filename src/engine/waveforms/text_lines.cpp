#include "engine/waveforms/text_lines.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

#include "engine/waveforms/waveform_error.h"

namespace {

constexpr std::size_t kMostBytes = std::size_t{64} << 20;
constexpr std::size_t kLongestLine = 1000;
constexpr std::string_view kBlanks = " \t\r\f\v";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace

TextLines::TextLines(const std::string& path)
    : path_(path), file_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY)) {
  if (file_ < 0) {
    fail_wholly(std::strerror(errno));
  }
}

TextLines::~TextLines() {
  close(file_);
}

std::optional<std::string_view> TextLines::next() {
  while (read_line()) {
    std::string_view text = line_;
    if (number_ == 1 && text.starts_with("\xEF\xBB\xBF")) {
      text.remove_prefix(3);  // the mark that some editors put in front of UTF-8
    }
    text = trimmed(text.substr(0, text.find('#')));
    if (!text.empty()) {
      return text;
    }
  }
  return std::nullopt;
}

bool TextLines::read_line() {
  line_.clear();
  ++number_;
  bool any = false;
  while (begin_ != end_ || refill()) {
    any = true;
    const std::string_view rest(buffer_.data() + begin_, end_ - begin_);
    const std::size_t length = std::min(rest.find('\n'), rest.size());
    if (line_.size() + length > kLongestLine) {
      fail("the line is longer than " + std::to_string(kLongestLine) + " bytes");
    }
    line_.append(rest.substr(0, length));
    begin_ += length;
    if (begin_ != end_) {
      ++begin_;
      break;
    }
  }
  return any;
}

bool TextLines::refill() {
  ssize_t got = 0;
  do {
    got = read(file_, buffer_.data(), buffer_.size());
  } while (got < 0 && errno == EINTR);
  if (got < 0) {
    fail_wholly(std::strerror(errno));
  }
  begin_ = 0;
  end_ = static_cast<std::size_t>(got);
  bytes_ += end_;
  if (bytes_ > kMostBytes) {
    fail_wholly("the file is larger than " + std::to_string(kMostBytes >> 20) + " MiB");
  }
  return end_ != 0;
}

void TextLines::fail(const std::string& what) const {
  throw WaveformError(path_ + ":" + std::to_string(number_) + ": " + what);
}

void TextLines::fail_wholly(const std::string& what) const {
  throw WaveformError(path_ + ": " + what);
}

double TextLines::number(std::string_view text) const {
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
    fail(shown_text(text) + " is not a number");
  }
  return value;
}

std::vector<std::string_view> words_of(std::string_view line) {
  std::vector<std::string_view> words;
  line = trimmed(line);
  while (!line.empty()) {
    const std::size_t end = std::min(line.find_first_of(" \t,;"), line.size());
    words.push_back(line.substr(0, end));
    line = trimmed(line.substr(end));
    if (line.starts_with(',') || line.starts_with(';')) {
      line = trimmed(line.substr(1));
      if (line.empty()) {
        words.emplace_back();  // a separator is followed by something
      }
    }
  }
  return words;
}

std::string shown_text(std::string_view text) {
  constexpr std::size_t kShown = 40;
  std::string shown(text.substr(0, kShown));
  std::replace_if(
      shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return "\"" + shown + (text.size() > kShown ? "...\"" : "\"");
}
