#include "machines/linux/record/machine_text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <sstream>
#include <utility>

#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

struct NamedError {
  std::string_view name;
  int error;
};

// Those that drivers of attributes answer with. Any other stands as its number.
constexpr std::array kErrors{
    NamedError{"EACCES", EACCES},         NamedError{"EAGAIN", EAGAIN},
    NamedError{"EBADMSG", EBADMSG},       NamedError{"EBUSY", EBUSY},
    NamedError{"EFAULT", EFAULT},         NamedError{"EINTR", EINTR},
    NamedError{"EINVAL", EINVAL},         NamedError{"EIO", EIO},
    NamedError{"ENODATA", ENODATA},       NamedError{"ENODEV", ENODEV},
    NamedError{"ENOENT", ENOENT},         NamedError{"ENOMEM", ENOMEM},
    NamedError{"ENOSYS", ENOSYS},         NamedError{"ENXIO", ENXIO},
    NamedError{"EOPNOTSUPP", EOPNOTSUPP}, NamedError{"EOVERFLOW", EOVERFLOW},
    NamedError{"EPERM", EPERM},           NamedError{"EPROTO", EPROTO},
    NamedError{"ERANGE", ERANGE},         NamedError{"EREMOTEIO", EREMOTEIO},
    NamedError{"EROFS", EROFS},           NamedError{"ETIMEDOUT", ETIMEDOUT},
};

std::string name_of(int error) {
  const auto* const named = std::find_if(kErrors.begin(), kErrors.end(),
                                         [error](const auto& one) { return one.error == error; });
  return named != kErrors.end() ? std::string(named->name) : std::to_string(error);
}

/// The whole text as a number. `base`: of a whole one, if it is not ten.
template <class Number, class... Base>
std::optional<Number> number(std::string_view text, Base... base) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base...);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(value)
                                                                  : std::nullopt;
}

std::optional<int> error_named(std::string_view name) {
  const auto* const named = std::find_if(kErrors.begin(), kErrors.end(),
                                         [name](const auto& one) { return one.name == name; });
  if (named != kErrors.end()) {
    return named->error;
  }
  const std::optional<int> error = number<int>(name);
  return error && *error > 0 ? error : std::nullopt;
}

constexpr unsigned char kDelete = 0x7F;

std::string escaped(std::string_view text, bool blanks) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string safe;
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (code < ' ' || code == kDelete || code == '\\' || (blanks && code == ' ')) {
      safe += "\\x";
      safe += kDigits[code / 16U];
      safe += kDigits[code % 16U];
    } else {
      safe += character;
    }
  }
  return safe;
}

/// Nothing if a backslash begins no character.
std::optional<std::string> unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\\') {
      plain += text[at];
      continue;
    }
    const std::string_view digits = text.substr(std::min(at + 2, text.size()), 2);
    const std::optional<int> code = number<int>(digits, 16);
    if (!text.substr(at).starts_with("\\x") || digits.size() != 2 || !code) {
      return std::nullopt;
    }
    plain += static_cast<char>(*code);
    at += 3;
  }
  return plain;
}

/// Takes the first word off `line`, and the blanks around it.
std::string_view take_word(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  const std::size_t end = std::min(line.find(' '), line.size());
  const std::string_view word = line.substr(0, end);
  line.remove_prefix(end);
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  return word;
}

/// A line's words. The sign says what the rest is.
struct Line {
  std::string_view kind;
  std::string path;
  std::string_view sign;
  std::string rest;
};

/// Sets what the line says of an attribute's answer. Returns whether it says anything.
template <class Answering>
bool take_answer(const Line& line, Answering& answer) {
  if (line.sign == "=") {
    answer.text = line.rest;
    return true;
  }
  const std::optional<int> error = error_named(line.rest);
  answer.error = error.value_or(0);
  return line.sign == "!" && error.has_value();
}

/// Reads a machine's text line by line.
class Reader {
 public:
  /// Returns what is wrong with the line; nothing is.
  std::string take(std::string_view text) {
    Line line;
    line.kind = take_word(text);
    const std::optional<std::string> path = unescaped(take_word(text));
    line.sign = take_word(text);
    const std::optional<std::string> rest = unescaped(sysfs::trimmed(text));
    if (!path || !rest) {
      return "a backslash without x and two digits behind it";
    }
    line.path = *path;
    line.rest = *rest;
    if (line.sign.empty()) {
      return "too few words";
    }
    if (line.kind == "link") {
      return take_link(line);
    }
    return line.kind.front() == '+' ? take_later(line) : take_first(line);
  }

  std::vector<MachineEntry> entries;

 private:
  std::string take_link(const Line& line) {
    entries.push_back({.path = line.path, .text = line.rest, .link = true, .later = {}});
    return line.sign == "->" ? "" : "a link without ->";
  }

  std::string take_first(const Line& line) {
    constexpr int kMost = 07777;
    const std::optional<int> mode = number<int>(line.kind, 8);
    MachineEntry entry{.path = line.path, .text = {}, .mode = mode.value_or(0), .later = {}};
    if (!mode || *mode < 0 || *mode > kMost) {
      return "neither link, + and a time, nor permissions";
    }
    if (!take_answer(line, entry)) {
      return "neither = nor ! and an error";
    }
    at_[line.path] = entries.size();
    entries.push_back(std::move(entry));
    return "";
  }

  std::string take_later(const Line& line) {
    const std::optional<double> after_s = number<double>(line.kind.substr(1));
    const auto at = at_.find(line.path);
    Answer answer;
    if (!after_s || !std::isfinite(*after_s)) {
      return "no time behind the +";
    }
    if (at == at_.end()) {
      return "it said nothing before";
    }
    std::vector<Answer>& later = entries[at->second].later;
    answer.after_s = *after_s;
    if (answer.after_s <= (later.empty() ? 0.0 : later.back().after_s)) {
      return "not behind the answer before";
    }
    if (!take_answer(line, answer)) {
      return "neither = nor ! and an error";
    }
    later.push_back(std::move(answer));
    return "";
  }

  std::map<std::string, std::size_t> at_;
};

template <class Answering>
std::string answer_text(const Answering& answer) {
  if (answer.error != 0) {
    return " ! " + name_of(answer.error) + "\n";
  }
  return " =" + (answer.text.empty() ? "" : " " + escaped(answer.text, false)) + "\n";
}

sysfs::Failure wrong_line(std::size_t number, const std::string& why) {
  return {.trouble = sysfs::Trouble::nonsense,
          .message = "line " + std::to_string(number) + ": " + why};
}

}  // namespace

sysfs::Result<std::vector<MachineEntry>> read_machine_text(std::string_view text) {
  Reader reader;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = sysfs::trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.empty() || line.front() == '#') {
      continue;
    }
    if (const std::string wrong = reader.take(line); !wrong.empty()) {
      return wrong_line(number, wrong);
    }
  }
  return std::move(reader.entries);
}

std::string machine_text(const MachineEntry& entry) {
  const std::string path = escaped(entry.path, true);
  if (entry.link) {
    return "link " + path + " -> " + escaped(entry.text, false) + "\n";
  }
  std::ostringstream lines;
  lines << '0' << std::oct << entry.mode << std::dec << ' ' << path << answer_text(entry);
  lines.setf(std::ios::fixed);
  lines.precision(3);
  for (const Answer& answer : entry.later) {
    lines << '+' << answer.after_s << ' ' << path << answer_text(answer);
  }
  return lines.str();
}

}  // namespace linux_machine
