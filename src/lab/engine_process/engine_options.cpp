#include "lab/engine_process/engine_options.h"

#include <getopt.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "lab/engine_process/decimal.h"
#include "lab/plan/duration.h"
#include "lab/plan/plan_error.h"

namespace lab {

namespace {

// Values for long options that have no letter.
constexpr int kOther = 1000;  // the lab need not know of it
constexpr int kOwn = 1001;    // the lab uses it itself
constexpr int kEdges = 1002;
constexpr int kProfile = 1003;

constexpr std::array<option, 34> kOptions{{
    {.name = "help", .has_arg = no_argument, .flag = nullptr, .val = 'h'},
    {.name = "version", .has_arg = no_argument, .flag = nullptr, .val = 'v'},
    {.name = "noisy", .has_arg = no_argument, .flag = nullptr, .val = 'n'},
    {.name = "monitor", .has_arg = no_argument, .flag = nullptr, .val = 'm'},
    {.name = "invert", .has_arg = no_argument, .flag = nullptr, .val = 'i'},
    {.name = "monrate", .has_arg = required_argument, .flag = nullptr, .val = 'r'},
    {.name = "output", .has_arg = required_argument, .flag = nullptr, .val = 'o'},
    {.name = "cores", .has_arg = required_argument, .flag = nullptr, .val = 'c'},
    {.name = "bind", .has_arg = required_argument, .flag = nullptr, .val = 'b'},
    {.name = "frequency", .has_arg = required_argument, .flag = nullptr, .val = 'f'},
    {.name = "fanfrequency", .has_arg = required_argument, .flag = nullptr, .val = 'F'},
    {.name = "key", .has_arg = required_argument, .flag = nullptr, .val = 'k'},
    {.name = "fan", .has_arg = required_argument, .flag = nullptr, .val = 'a'},
    {.name = "rpm", .has_arg = required_argument, .flag = nullptr, .val = 's'},
    {.name = "time", .has_arg = required_argument, .flag = nullptr, .val = 't'},
    {.name = "pstate", .has_arg = required_argument, .flag = nullptr, .val = 'p'},
    {.name = "sinusoid", .has_arg = required_argument, .flag = nullptr, .val = 'z'},
    {.name = "triangle", .has_arg = required_argument, .flag = nullptr, .val = 'e'},
    {.name = "workload", .has_arg = required_argument, .flag = nullptr, .val = 'w'},
    {.name = "duty", .has_arg = required_argument, .flag = nullptr, .val = kOther},
    {.name = "profile", .has_arg = required_argument, .flag = nullptr, .val = kProfile},
    {.name = "edges", .has_arg = required_argument, .flag = nullptr, .val = kEdges},
    {.name = "loop", .has_arg = no_argument, .flag = nullptr, .val = kOther},
    {.name = "depth", .has_arg = required_argument, .flag = nullptr, .val = kOther},
    {.name = "offset", .has_arg = required_argument, .flag = nullptr, .val = kOther},
    {.name = "at", .has_arg = required_argument, .flag = nullptr, .val = kOther},
    {.name = "record", .has_arg = required_argument, .flag = nullptr, .val = kOwn},
    {.name = "pin", .has_arg = no_argument, .flag = nullptr, .val = kOther},
    {.name = "limit", .has_arg = required_argument, .flag = nullptr, .val = kOther},
    {.name = "header", .has_arg = no_argument, .flag = nullptr, .val = kOwn},
    {.name = "steer", .has_arg = no_argument, .flag = nullptr, .val = kOwn},
    {.name = "attached", .has_arg = no_argument, .flag = nullptr, .val = kOwn},
    {.name = "leave-pstate", .has_arg = no_argument, .flag = nullptr, .val = kOther},
    {.name = nullptr, .has_arg = 0, .flag = nullptr, .val = 0},
}};

}  // namespace

EngineOptions read_engine_options(const std::vector<std::string>& arguments) {
  std::vector<std::string> copies{"vorn-engine"};
  copies.insert(copies.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(copies.size() + 1);
  for (std::string& copy : copies) {
    pointers.push_back(copy.data());
  }
  pointers.push_back(nullptr);
  const int count = static_cast<int>(copies.size());
  EngineOptions found;
  optind = 0;  // begins anew, with all that getopt remembers
  for (;;) {
    const int at = optind == 0 ? 1 : optind;
    const int letter = getopt_long(count, pointers.data(),
                                   "+:hvnmir:o:c:b:f:F:k:a:s:t:p:z:e:w:", kOptions.data(), nullptr);
    const std::string word = at < count ? pointers[static_cast<std::size_t>(at)] : "";
    switch (letter) {
      case -1:
        if (optind < count) {
          throw PlanError("\"" + std::string(pointers[static_cast<std::size_t>(optind)]) +
                          "\" is no option: run takes the options of vorn-engine");
        }
        return found;
      case '?':
        throw PlanError(word + ": vorn-engine has no such option");
      case ':':
        throw PlanError(word + " wants a value");
      case 'o':
      case kOwn:
        throw PlanError(word +
                        " is not for run: samples and record go into the run folder (--out)");
      case 'h':
      case 'v':
        throw PlanError(word + " is not for run: see vorn-engine(1)");
      case 'k':
        found.keys.emplace_back(optarg);
        break;
      case 'r':
        found.rate = true;
        break;
      case 't':
        found.time_s = parse_duration(optarg);
        break;
      case kEdges:
      case kProfile:
        found.files.push_back(
            {.word = static_cast<std::size_t>(optind) - 2,  // without the program's name
             .begin = static_cast<std::size_t>(optarg -
                                               pointers[static_cast<std::size_t>(optind) - 1])});
        break;
      default:
        break;
    }
  }
}

std::vector<std::string> arguments_with(const std::vector<std::string>& options, double rate_hz,
                                        const std::vector<std::string>& keys) {
  const EngineOptions known = read_engine_options(options);
  std::vector<std::string> arguments{"--attached", "-m"};
  if (!known.rate) {
    arguments.insert(arguments.end(), {"-r", decimal(rate_hz)});
  }
  for (const std::string& key : keys) {
    if (std::find(known.keys.begin(), known.keys.end(), key) == known.keys.end()) {
      arguments.insert(arguments.end(), {"-k", key});
    }
  }
  arguments.insert(arguments.end(), options.begin(), options.end());
  return arguments;
}

}  // namespace lab
