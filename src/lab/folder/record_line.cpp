#include "lab/folder/record_line.h"

#include <charconv>

namespace lab {

namespace {

template <class Number>
std::optional<Number> parse(std::string_view field) {
  Number value{};
  const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
  if (error != std::errc() || end != field.data() + field.size()) {
    return std::nullopt;
  }
  return value;
}

}  // namespace

RecordLine::RecordLine(std::string_view line) {
  const std::size_t first = line.find('\t');
  keyword_ = line.substr(0, first);
  while (line.find('\t') != std::string_view::npos) {
    line.remove_prefix(line.find('\t') + 1);
    fields_.push_back(line.substr(0, line.find('\t')));
  }
}

std::string_view RecordLine::field(std::size_t index) const {
  return index < fields_.size() ? fields_[index] : std::string_view();
}

std::string RecordLine::text(std::size_t index) const {
  std::string text;
  const std::string_view raw = field(index);
  for (std::size_t at = 0; at < raw.size(); ++at) {
    if (raw[at] != '\\' || at + 1 == raw.size()) {
      text += raw[at];
      continue;
    }
    ++at;
    switch (raw[at]) {
      case 't':
        text += '\t';
        break;
      case 'n':
        text += '\n';
        break;
      case 'r':
        text += '\r';
        break;
      default:
        text += raw[at];
    }
  }
  return text;
}

std::optional<std::int64_t> RecordLine::whole(std::size_t index) const {
  return parse<std::int64_t>(field(index));
}

}  // namespace lab
