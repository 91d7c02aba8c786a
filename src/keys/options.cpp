#include "keys/options.h"

#include <getopt.h>

#include <array>

namespace vorn_keys {
namespace {

constexpr std::array<option, 7> kOptions{{{"list", no_argument, nullptr, 'l'},
                                          {"check", no_argument, nullptr, 'c'},
                                          {"calibrate", no_argument, nullptr, 'a'},
                                          {"restore", no_argument, nullptr, 'r'},
                                          {"help", no_argument, nullptr, 'h'},
                                          {"version", no_argument, nullptr, 'v'},
                                          {nullptr, 0, nullptr, 0}}};

std::optional<Action> action_of(int letter) {
  switch (letter) {
    case 'l':
      return Action::list;
    case 'c':
      return Action::check;
    case 'a':
      return Action::calibrate;
    case 'r':
      return Action::restore;
    case 'h':
      return Action::help;
    case 'v':
      return Action::version;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<Action> parse_arguments(int argc, char* argv[]) {
  std::optional<Action> asked;
  optind = 0;  // begin anew, whoever parsed before
  for (int letter = 0; (letter = getopt_long(argc, argv, "hv", kOptions.data(), nullptr)) != -1;) {
    const std::optional<Action> action = action_of(letter);
    if (!action || (asked && asked != action)) {
      return std::nullopt;
    }
    asked = action;
  }
  if (optind < argc) {
    return std::nullopt;
  }
  return asked.value_or(Action::list);
}

std::string usage(const std::string& name) {
  return "Usage: " + name +
         " [--list | --check | --calibrate | --restore]\n"
         "\n"
         "  --list       (the default) every key of this machine's controller: type, size in\n"
         "               bytes, value and unit, and the source behind it, separated by tabs\n"
         "  --check      what a run could do here and what it lacks, each with its remedy\n"
         "  --calibrate  measure the curves of the fans, a minute or two each, and keep them\n"
         "               (root; stops fans for moments, unless they are pumps)\n"
         "  --restore    give back what a run that was killed left changed (root)\n"
         "  -h, --help   print this\n"
         "  -v, --version\n"
         "\n"
         "Exit status: 0 if all is well, 1 if something is not, 2 for a wrong command line.\n";
}

}  // namespace vorn_keys
