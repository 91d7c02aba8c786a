#include "lab/folder/stated_unit.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "lab/folder/csv_error.h"

namespace lab {

namespace {

struct Spelling {
  std::string_view text;
  Measure measure;
  const char* name;
};

// Both of Unicode's letters for micro are in use.
constexpr std::array kSpellings{
    Spelling{"us", Measure::time, "us"},
    Spelling{"\xC2\xB5s", Measure::time, "us"},
    Spelling{"\xCE\xBCs", Measure::time, "us"},
    Spelling{"ms", Measure::time, "ms"},
    Spelling{"s", Measure::time, "s"},
    Spelling{"sec", Measure::time, "s"},
    Spelling{"seconds", Measure::time, "s"},
    Spelling{"min", Measure::time, "min"},
    Spelling{"minutes", Measure::time, "min"},
    Spelling{"h", Measure::time, "h"},
    Spelling{"hours", Measure::time, "h"},
    Spelling{"uW", Measure::power, "uW"},
    Spelling{"\xC2\xB5W", Measure::power, "uW"},
    Spelling{"\xCE\xBCW", Measure::power, "uW"},
    Spelling{"mW", Measure::power, "mW"},
    Spelling{"W", Measure::power, "W"},
    Spelling{"watts", Measure::power, "W"},
    Spelling{"kW", Measure::power, "kW"},
    Spelling{"C", Measure::temperature, "C"},
    Spelling{"degC", Measure::temperature, "C"},
    Spelling{"deg C", Measure::temperature, "C"},
    Spelling{"\xC2\xB0\x43", Measure::temperature, "C"},
    Spelling{"\xC2\xB0 C", Measure::temperature, "C"},
    Spelling{"\xE2\x84\x83", Measure::temperature, "C"},
    Spelling{"mC", Measure::temperature, "mC"},
    Spelling{"mdegC", Measure::temperature, "mC"},
    Spelling{"m\xC2\xB0\x43", Measure::temperature, "mC"},
    Spelling{"K", Measure::temperature, "K"},
    Spelling{"F", Measure::temperature, "F"},
    Spelling{"degF", Measure::temperature, "F"},
    Spelling{"deg F", Measure::temperature, "F"},
    Spelling{"\xC2\xB0\x46", Measure::temperature, "F"},
    Spelling{"\xE2\x84\x89", Measure::temperature, "F"},
};

// Of what else loggers write: it must not pass for W or degrees.
constexpr std::array<std::string_view, 27> kOthers{
    "ns", "d",  "MW",  "nW",  "hp",  "PS",  "BTU/h", "dBm", "V", "mV",    "A",   "mA",  "J",  "Wh",
    "R",  "mK", "Ohm", "ohm", "RPM", "rpm", "1/min", "Hz",  "%", "l/min", "m/s", "kHz", "MHz"};

std::string_view without_blanks(std::string_view text) {
  while (!text.empty() && text.front() == ' ') {
    text.remove_prefix(1);
  }
  while (!text.empty() && text.back() == ' ') {
    text.remove_suffix(1);
  }
  return text;
}

bool is_digits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char letter) {
    return std::isdigit(static_cast<unsigned char>(letter)) != 0;
  });
}

// Where the brackets at the end of a name open; npos: there are none.
std::size_t opening(std::string_view name) {
  if (name.ends_with(']')) {
    return name.rfind('[');
  }
  return name.ends_with(')') ? name.rfind('(') : std::string_view::npos;
}

// Where the last word of a name begins, if it may be a unit: behind "_", "/" or a blank.
std::size_t last_word(std::string_view name) {
  const std::size_t slash = name.rfind('/');
  const std::size_t at = slash != std::string_view::npos ? slash : name.find_last_of("_ ");
  if (at == std::string_view::npos || at == 0) {
    return std::string_view::npos;
  }
  // "Sensor K" names a sensor, and so may "T_F".
  const std::string_view word = without_blanks(name.substr(at + 1));
  const bool name_of_one = word.size() == 1 && (name[at] == ' ' || word == "F");
  return name_of_one ? std::string_view::npos : at + 1;
}

}  // namespace

NamedUnit named_unit(std::string_view text) {
  text = without_blanks(text);
  for (const Spelling& spelling : kSpellings) {
    if (spelling.text == text) {
      return {spelling.measure, spelling.name};
    }
  }
  const bool other = std::find(kOthers.begin(), kOthers.end(), text) != kOthers.end();
  return {other ? Measure::other : Measure::none, std::string(text)};
}

std::string bracketed_unit(std::string_view name) {
  name = without_blanks(name);
  const std::size_t open = opening(name);
  if (open == std::string_view::npos) {
    return {};
  }
  const std::string_view text = without_blanks(name.substr(open + 1, name.size() - open - 2));
  const bool unit =
      named_unit(text).measure != Measure::none || (name.ends_with(']') && !is_digits(text));
  return unit ? std::string(text) : std::string();
}

bool is_unit_cell(std::string_view cell) {
  return !bracketed_unit(cell).empty() || named_unit(cell).measure != Measure::none;
}

std::string_view name_before_unit(std::string_view name) {
  name = without_blanks(name);
  if (!bracketed_unit(name).empty()) {
    return without_blanks(name.substr(0, opening(name)));
  }
  const std::size_t word = last_word(name);
  if (word == std::string_view::npos || named_unit(name.substr(word)).measure == Measure::none) {
    return name;
  }
  return without_blanks(name.substr(0, word - 1));
}

std::optional<std::string> stated_unit(const Column& column, Measure wanted,
                                       const std::string& option) {
  if (!column.unit.empty()) {
    const NamedUnit unit = named_unit(column.unit);
    if (unit.measure != wanted) {
      throw CsvError("column \"" + column.name + "\" is in \"" + column.unit +
                     "\", which is not taken: name another column, or its unit with " + option);
    }
    return unit.name;
  }
  const std::size_t word = last_word(column.name);
  if (word == std::string_view::npos) {
    return std::nullopt;
  }
  const NamedUnit unit = named_unit(std::string_view(column.name).substr(word));
  return unit.measure == wanted ? std::optional(unit.name) : std::nullopt;
}

}  // namespace lab
