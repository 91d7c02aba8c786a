#include "engine/options.h"

#include <cstdlib>
#include <iostream>
#include <string_view>

#include "engine/complaint.h"
#include "engine/duration.h"
#include "engine/instant.h"
#include "vorn/command_line.h"
#include "vorn/numbers.h"
#include "vorn/settings.h"

namespace engine {

namespace {

using Reading = OptionExtension::Reading;

enum Code : int {
  kDuty = 1000,
  kProfile,
  kEdges,
  kLoop,
  kDepth,
  kOffset,
  kAt,
  kRecord,
  kPin,
  kLimit,
  kHeader,
  kSteer,
  kAttached,
  kLeavePstate,
};

constexpr option kLongOptions[] = {
    {.name = "duty", .has_arg = required_argument, .flag = nullptr, .val = kDuty},
    {.name = "profile", .has_arg = required_argument, .flag = nullptr, .val = kProfile},
    {.name = "edges", .has_arg = required_argument, .flag = nullptr, .val = kEdges},
    {.name = "loop", .has_arg = no_argument, .flag = nullptr, .val = kLoop},
    {.name = "depth", .has_arg = required_argument, .flag = nullptr, .val = kDepth},
    {.name = "offset", .has_arg = required_argument, .flag = nullptr, .val = kOffset},
    {.name = "at", .has_arg = required_argument, .flag = nullptr, .val = kAt},
    {.name = "record", .has_arg = required_argument, .flag = nullptr, .val = kRecord},
    {.name = "pin", .has_arg = no_argument, .flag = nullptr, .val = kPin},
    {.name = "limit", .has_arg = required_argument, .flag = nullptr, .val = kLimit},
    {.name = "header", .has_arg = no_argument, .flag = nullptr, .val = kHeader},
    {.name = "steer", .has_arg = no_argument, .flag = nullptr, .val = kSteer},
    {.name = "attached", .has_arg = no_argument, .flag = nullptr, .val = kAttached},
    {.name = "leave-pstate", .has_arg = no_argument, .flag = nullptr, .val = kLeavePstate},
};

constexpr const char* kUsage =
    "and, beyond the options of vorn:\n"
    "        --duty <d>         on for <d> (0 to 1) of each period of frequency <f>\n"
    "        --profile <file>   follow the duties in <file>, then exit\n"
    "        --edges <file>     switch after the intervals in <file>, then exit\n"
    "        --loop             play <file> over and over\n"
    "        --steer            follow the duties that standard input says, until it ends\n"
    "        --attached         end the run when standard input ends\n"
    "        --depth <d>        swing sinusoid or triangle over <d> of duty (default: up to 1)\n"
    "        --offset <o>       swing sinusoid or triangle from duty <o> (default: 0)\n"
    "        --at <time>        begin at <time>: RFC 3339, or seconds since 1970\n"
    "        --record <file>    write what happened to <file>\n"
    "        --pin              bind each thread to its core\n"
    "        --limit <k>=<v>    end the run when key <k> shows more than <v>; may be repeated\n"
    "        --leave-pstate     force no P-state (superuser; the default of everybody else)\n"
    "        --header           begin the sample file with what its columns are\n"
    "   -t | --time <t>         takes fractions and units: 500ms, 90s, 2m, 1.5h\n";

Reading refuse(std::string_view name, std::string_view value, const std::string& why) {
  complain("--" + std::string(name) + " \"" + std::string(value) + "\": " + why);
  return Reading::kRefused;
}

Reading read_fraction(std::optional<double>& setting, std::string_view name, const char* argument) {
  const auto value = parse_double(argument);
  if (!value || !(*value >= 0.0) || *value > 1.0) {
    return refuse(name, argument, "it takes a number from 0 to 1");
  }
  setting = *value;
  return Reading::kTaken;
}

Reading read_path(std::optional<std::string>& setting, std::string_view name,
                  const char* argument) {
  if (*argument == '\0') {
    return refuse(name, argument, "it takes the name of a file");
  }
  setting = argument;
  return Reading::kTaken;
}

Reading read_record(std::optional<std::string>& setting, const char* argument) {
  if (std::string_view(argument) == "-") {
    return refuse("record", argument,
                  "standard output is for samples; it takes the name of a file, or of a pipe");
  }
  return read_path(setting, "record", argument);
}

Reading read_at(std::optional<std::int64_t>& setting, const char* argument) {
  const auto instant = parse_instant(argument);
  if (!instant.value) {
    return refuse(
        "at", argument,
        instant.refused + "; it takes a time as in 2026-11-21T15:00:00.5Z, or seconds since 1970");
  }
  setting = *instant.value;
  return Reading::kTaken;
}

Reading read_limit(std::vector<Limit>& limits, const char* argument) {
  auto limit = parse_limit(argument);
  if (!limit.value) {
    return refuse("limit", argument,
                  limit.refused + "; it takes a key and the most that it may show: TC0D=95");
  }
  limits.push_back(std::move(*limit.value));
  return Reading::kTaken;
}

}  // namespace

std::vector<option> Options::long_options() const {
  return {std::begin(kLongOptions), std::end(kLongOptions)};
}

OptionExtension::Reading Options::read(int code, const char* argument) {
  if (code >= kDuty) {
    return read_own(code, argument);
  }
  if (code == 't') {
    return read_time(argument);
  }
  if (code == 'h') {
    usage(program_path());
    std::exit(EXIT_SUCCESS);
  }
  return Reading::kNotMine;
}

OptionExtension::Reading Options::read_own(int code, const char* argument) {
  switch (code) {
    case kDuty:
      return read_fraction(request_.duty, "duty", argument);
    case kProfile:
      return read_path(request_.profile, "profile", argument);
    case kEdges:
      return read_path(request_.edges, "edges", argument);
    case kLoop:
      request_.loop = true;
      return Reading::kTaken;
    case kDepth:
      return read_fraction(request_.depth, "depth", argument);
    case kOffset:
      return read_fraction(request_.offset, "offset", argument);
    case kAt:
      return read_at(request_.at_ns, argument);
    case kRecord:
      return read_record(request_.record, argument);
    case kPin:
      request_.pin = true;
      return Reading::kTaken;
    case kLimit:
      return read_limit(request_.limits, argument);
    case kHeader:
      request_.header = true;
      return Reading::kTaken;
    case kSteer:
      request_.steer = true;
      request_.attached = true;
      return Reading::kTaken;
    case kAttached:
      request_.attached = true;
      return Reading::kTaken;
    case kLeavePstate:
      request_.leave_pstate = true;
      pstate = default_pstate(false);
      return Reading::kTaken;
    default:
      return Reading::kNotMine;
  }
}

// Whole seconds are read as vorn reads them, in every base that it takes.
OptionExtension::Reading Options::read_time(const char* argument) {
  request_.length_ns.reset();
  if (const auto seconds = parse_whole(argument); seconds && *seconds > 0) {
    return Reading::kNotMine;
  }
  const auto length = parse_duration(argument);
  if (!length.value) {
    return refuse("time", argument,
                  length.refused + "; it takes a time as in 90, 0.5, 500ms, 90s, 2m or 1.5h");
  }
  request_.length_ns = *length.value;
  return Reading::kTaken;
}

void usage(const char* program_name) {
  ::usage(program_name);
  std::cerr << kUsage;
}

}  // namespace engine
