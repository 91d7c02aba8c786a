#include "keys/options.h"

#include <getopt.h>

#include <array>

namespace vorn_keys {
namespace {

constexpr std::array<option, 10> kOptions{
    {{.name = "list", .has_arg = no_argument, .flag = nullptr, .val = 'l'},
     {.name = "check", .has_arg = no_argument, .flag = nullptr, .val = 'c'},
     {.name = "calibrate", .has_arg = no_argument, .flag = nullptr, .val = 'a'},
     {.name = "restore", .has_arg = no_argument, .flag = nullptr, .val = 'r'},
     {.name = "assign", .has_arg = required_argument, .flag = nullptr, .val = 'A'},
     {.name = "record", .has_arg = required_argument, .flag = nullptr, .val = 'R'},
     {.name = "on", .has_arg = required_argument, .flag = nullptr, .val = 'o'},
     {.name = "help", .has_arg = no_argument, .flag = nullptr, .val = 'h'},
     {.name = "version", .has_arg = no_argument, .flag = nullptr, .val = 'v'},
     {.name = nullptr, .has_arg = 0, .flag = nullptr, .val = 0}}};

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
    case 'A':
      return Action::assign;
    case 'R':
      return Action::record;
    case 'o':
      return Action::list_record;
    case 'h':
      return Action::help;
    case 'v':
      return Action::version;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<Request> parse_arguments(int argc, char* argv[]) {
  std::optional<Request> asked;
  optind = 0;  // begin anew, whoever parsed before
  for (int letter = 0; (letter = getopt_long(argc, argv, "hv", kOptions.data(), nullptr)) != -1;) {
    const std::optional<Action> action = action_of(letter);
    if (!action) {
      return std::nullopt;
    }
    const Request request{*action, optarg == nullptr ? "" : optarg};
    if (asked && asked != request) {
      return std::nullopt;
    }
    asked = request;
  }
  if (optind < argc) {
    return std::nullopt;
  }
  return asked.value_or(Request{});
}

std::string usage(const std::string& name) {
  return "Usage: " + name +
         " [--list | --check | --calibrate | --restore |\n"
         "                  --assign FN=DEVICE/fanM | --record FILE | --on FILE]\n"
         "\n"
         "  --list       (the default) every key of this machine's controller: type, size in\n"
         "               bytes, value and unit, and the source behind it, separated by tabs\n"
         "  --check      what a run could do here and what it lacks, each with its remedy\n"
         "  --calibrate  measure the curves of the fans, a minute or two each, and keep them\n"
         "               (root; stops fans for moments, unless they are pumps)\n"
         "  --restore    give back what a run that was killed left changed (root)\n"
         "  --assign FN=DEVICE/fanM\n"
         "               give fan M of a device, as the list names it, the number N; FN= takes it\n"
         "               away (root); F0, F1 and F2 can be forced\n"
         "  --record FILE\n"
         "               write what this program reads of the machine as a text, without serial\n"
         "               numbers and host name; takes some seconds; - is standard output\n"
         "  --on FILE    list the keys of a machine that was recorded so\n"
         "  -h, --help   print this\n"
         "  -v, --version\n"
         "\n"
         "Exit status: 0 if all is well, 1 if something is not, 2 for a wrong command line.\n";
}

}  // namespace vorn_keys
