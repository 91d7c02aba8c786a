#include "machines/linux/giving_back/put_back.h"

#include <bitset>
#include <cstdlib>

#include "machines/linux/giving_back/direct_attribute.h"
#include "machines/linux/giving_back/journal.h"
#include "machines/linux/giving_back/line_text.h"
#include "machines/linux/giving_back/put_back_fan.h"
#include "machines/linux/surroundings/surroundings.h"
#include "machines/linux/sysfs/parse.h"

// The kernel takes limits of frequency in any order and applies them later, from a work queue;
// kernels before 5.3 applied them at once and refused a minimum above the maximum. Other attributes
// are refused while a governor stands that excludes them. So nothing is deduced here: everything is
// written once in its order, whatever it reads (what reads right may be about to be overtaken by a
// change that the kernel has not applied yet), and what does not come to read right is written
// again in later rounds, when what it waited for has been written too.

namespace linux_machine {
namespace {

constexpr int kRounds = 100;
constexpr std::int64_t kBetweenRoundsNs = 10 * kNsPerMs;

enum class Settled { yes, no, gone };

Settled settled(sysfs::Tree& tree, const char* path, std::string_view wanted) {
  DirectBuffer buffer;
  const DirectAnswer answer = read_directly(tree, path, buffer);
  if (is_gone(answer.error)) {
    return Settled::gone;
  }
  return answer.error == 0 && answer.text == wanted ? Settled::yes : Settled::no;
}

void report_unsettled(sysfs::Tree& tree, std::string_view attribute, const char* path,
                      std::string_view wanted, int error, const PutBackTools& tools) {
  DirectBuffer buffer;
  const DirectAnswer answer = read_directly(tree, path, buffer);
  LineText text;
  text.add(attribute).add(" could not be put back to ").add(wanted).add(": ");
  if (error != 0) {
    text.add("writing it: ").add_error(error);
  } else if (answer.error != 0) {
    text.add("reading it: ").add_error(answer.error);
  } else {
    text.add("it reads ").add(answer.text);
  }
  tools.report(text.view());
}

enum class Round { first, middle, last };

/// A maximum that the kernel has taken, and shows lower because something else (heat, firmware)
/// holds the processor below it. It will show when that lets go: there is no more to put back.
bool is_held_down(sysfs::Tree& tree, std::string_view attribute, const char* path,
                  std::string_view wanted) {
  if (!attribute.ends_with("/scaling_max_freq")) {
    return false;
  }
  DirectBuffer buffer;
  const DirectAnswer answer = read_directly(tree, path, buffer);
  const auto shown = sysfs::parse_integer(answer.text);
  const auto asked = sysfs::parse_integer(wanted);
  return answer.error == 0 && shown && asked && *shown < *asked;
}

/// One line in one round. Returns whether nothing is left to do for it.
bool write_line(sysfs::Tree& tree, const SetLine& set, Round round, const PutBackTools& tools) {
  const auto& [attribute, value, forced] = set;
  LineText path;
  path.add(attribute);
  const Settled before = settled(tree, path.c_str(), value);
  if (before == Settled::gone) {
    if (round == Round::first) {
      tools.report(LineText().add(attribute).add(" has gone").view());
    }
    return true;
  }
  if (round != Round::first && before == Settled::yes) {
    return true;
  }
  const int error = write_directly(tree, path.c_str(), value);
  if (round != Round::last) {
    return false;  // to be confirmed by the next round
  }
  if (settled(tree, path.c_str(), value) == Settled::yes) {
    return true;
  }
  if (error == 0 && is_held_down(tree, attribute, path.c_str(), value)) {
    tools.report(LineText().add(attribute).add(" is given back, and held lower for now").view());
    return true;
  }
  report_unsettled(tree, attribute, path.c_str(), value, error, tools);
  return false;
}

/// Which lines of a journal are left alone, by their number. Those beyond it never are.
using Lines = std::bitset<8192>;

bool is_left_alone(const Lines& left_alone, std::size_t line) {
  return line < left_alone.size() && left_alone[line];
}

/// Calls `act(number, set)` for each "set" line.
template <class Act>
void for_each_set_line(std::string_view journal, Act act) {
  std::string_view line;
  SetLine set;
  for (std::size_t number = 0; next_line(journal, line); ++number) {
    if (parse_set_line(line, set)) {
      act(number, set);
    }
  }
}

/// Whether a limit reads as it was forced, but for the rounding of a driver that thinks in other
/// steps.
bool reads_as(std::string_view shown, std::string_view forced) {
  constexpr long long kHundredth = 100;
  const auto has = sysfs::parse_integer(shown);
  const auto wanted = sysfs::parse_integer(forced);
  return shown == forced || (has && wanted && *wanted >= kHundredth &&
                             std::llabs(*has - *wanted) * kHundredth <= *wanted);
}

/// What somebody has set since: what reads neither as it was nor as any line says that it was
/// forced. It is reported.
Lines set_by_others(sysfs::Tree& tree, std::string_view journal, const PutBackTools& tools) {
  Lines theirs;
  for_each_set_line(journal, [&](std::size_t number, const SetLine& set) {
    LineText path;
    path.add(set.attribute);
    DirectBuffer buffer;
    const DirectAnswer answer = read_directly(tree, path.c_str(), buffer);
    bool ours = answer.error != 0 || number >= theirs.size();
    bool told = false;
    for_each_set_line(journal, [&](std::size_t other_number, const SetLine& other) {
      if (other.attribute == set.attribute) {
        ours = ours || other.forced.empty() || answer.text == other.value ||
               reads_as(answer.text, other.forced);
        told = told || other_number < number;
      }
    });
    if (!ours) {
      theirs[number] = true;
      if (!told) {
        tools.report(LineText()
                         .add(set.attribute)
                         .add(" reads ")
                         .add(answer.text)
                         .add(", which was set since: left as it is")
                         .view());
      }
    }
  });
  return theirs;
}

/// One round over all "set" lines. Returns whether all are as they are to be.
bool write_round(sysfs::Tree& tree, std::string_view journal, const Lines& left_alone, Round round,
                 const PutBackTools& tools) {
  bool all = true;
  for_each_set_line(journal, [&](std::size_t number, const SetLine& set) {
    if (!is_left_alone(left_alone, number)) {
      all = write_line(tree, set, round, tools) && all;
    }
  });
  return all;
}

bool put_back_attributes(sysfs::Tree& tree, std::string_view journal, const PutBackTools& tools,
                         Extent what) {
  const Lines left_alone =
      what == Extent::everything ? Lines() : set_by_others(tree, journal, tools);
  if (write_round(tree, journal, left_alone, Round::first, tools)) {
    return true;
  }
  for (int round = 0; round < kRounds; ++round) {
    if (write_round(tree, journal, left_alone, Round::middle, tools)) {
      return true;
    }
    tools.sleep_for(kBetweenRoundsNs);
  }
  return write_round(tree, journal, left_alone, Round::last, tools);
}

}  // namespace

bool put_back(sysfs::Tree& tree, std::string_view journal, const PutBackTools& tools, Extent what) {
  bool all = put_back_attributes(tree, journal, tools, what);
  // Where one switch makes all fans of a chip automatic, it comes when each has its pwm.
  for (const bool switches : {false, true}) {
    std::string_view rest = journal;
    std::string_view line;
    FanLine fan;
    while (next_line(rest, line)) {
      if (parse_fan_line(line, fan) && (fan.enable == kUnreadable) == switches) {
        all = put_back_fan(tree, fan, tools, what) && all;
      }
    }
  }
  return all;
}

}  // namespace linux_machine
