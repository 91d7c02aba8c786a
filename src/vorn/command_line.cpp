#include "vorn/command_line.h"

#include <getopt.h>

#include <cstdlib>
#include <iostream>
#include <iterator>
#include <limits>
#include <vector>

#include "Assertion/assertion.h"
#include "Workload/WorkloadFactory.h"
#include "vorn/module.h"
#include "vorn/notes.h"
#include "vorn/numbers.h"
#include "vorn/option_extension.h"
#include "vorn/request_notes.h"
#include "vorn/settings.h"
#include "vorn/version.h"

namespace {

constexpr const char* kDefaultWorkload = "spin";

constexpr int kLastLetter = 255;  // above it are the long options of other programs

constexpr const char* kShortOptions = "hvnmir:o:c:b:f:F:k:a:s:t:p:w:z:e:";

constexpr option kLongOptions[] = {
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
    {.name = "workload", .has_arg = required_argument, .flag = nullptr, .val = 'w'},
    {.name = "sinusoid", .has_arg = required_argument, .flag = nullptr, .val = 'z'},
    {.name = "triangle", .has_arg = required_argument, .flag = nullptr, .val = 'e'},
};

// The two tabs of the --invert line are meant.
constexpr const char* kUsage =
    " --help --version --noisy --monitor --invert --monrate <r>\n"
    "\t--output <o> --cores <c> --bind <b> --frequency <f> --fanfrequency <F>\n"
    "\t--key <k> --fan <a> --rpm <s> --time <t> --pstate <p> --sinusoid <z>\n"
    "\t--triangle <e> --workload <w>\n"
    "   -h | --help           displays this help message and exits\n"
    "   -v | --version        displays the program version and exits\n"
    "   -n | --noisy          display a status message describing the run\n"
    "   -m | --monitor        run an SMC monitoring thread\n"
    "   -i | --invert\t\t  flip power waveforms\n"
    "   -r | --monrate <r>    sample the SMC at rate <r> (Hz)\n"
    "   -o | --output <o>     write SMC samples to file <o>\n"
    "   -c | --cores <c>      launch <c> threads (default: one per core)\n"
    "   -b | --bind <b>       bind all threads to core <b>\n"
    "   -f | --frequency <f>  run a timing thread at frequency <f>\n"
    "   -k | --key <k>        monitor SMC key <k>\n"
    "   -a | --fan <a>        configure fan <a> (superuser)\n"
    "   -s | --rpm <s>        set all fans to run at <s> RPM (superuser)\n"
    "   -t | --time <t>       run for <t> seconds, then exit\n"
    "   -p | --pstate <p>     force the processor to P-state <p> (superuser)\n"
    "   -z | --sinusoid <z>   run PWM sinusoid at frequency <z> (Hz)\n"
    "   -e | --triangle <e>   run PWM triangle at frequency <e> (Hz)\n"
    "   -w | --workload <w>   run one of the following workloads:\n";

// The readers below store what they read before they judge it: a refused value stops the run, so
// what it overwrote is never used.

bool read_positive(double& setting) {
  const auto value = parse_double(optarg);
  if (!value) {
    return false;
  }
  setting = *value;
  return setting > 0.0;
}

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

bool read_int32(std::int32_t& setting, std::int64_t least) {
  const auto value = parse_whole(optarg);
  if (!value) {
    return false;
  }
  setting = to_int32(*value);
  return *value >= least;
}

bool read_bits32(std::uint32_t& setting, std::int64_t least, std::int64_t most = kMost) {
  const auto value = parse_whole(optarg);
  if (!value) {
    return false;
  }
  setting = to_bits32(*value);
  return *value >= least && *value <= most;
}

// The number of threads is used as a signed number of 32 bits.
bool read_count(std::uint32_t& setting) {
  return read_bits32(setting, 1, std::numeric_limits<std::int32_t>::max());
}

[[noreturn]] void print_usage_and_exit(const char* program_name) {
  usage(program_name);
  std::exit(EXIT_SUCCESS);
}

[[noreturn]] void print_version_and_exit() {
  std::cerr << version << std::endl;
  std::exit(EXIT_SUCCESS);
}

/// Applies one option as getopt_long() returned it. Returns whether it is valid.
bool apply_option(int letter, const char* program_name) {
  switch (letter) {
    case 'h':
      print_usage_and_exit(program_name);
    case 'v':
      print_version_and_exit();
    case 'n':
      noisy = true;
      return true;
    case 'm':
      monitor = true;
      return true;
    case 'i':
      invert = true;
      params.active = false;
      return true;
    case 'r':
      return read_positive(monitor_rate);
    case 'o':
      output = optarg;
      return true;
    case 'c':
      return read_count(cores);
    case 'b':
      return read_bits32(binding, 0);
    case 'f':
      return read_positive(frequency);
    case 'F':
      return read_positive(fanfrequency);
    case 'k':
      keys.emplace_back(optarg);
      return true;
    case 'a':
      fans.emplace_back(optarg);
      return true;
    case 's':  // any number: -1 is each fan's maximum, 0 leaves the fans alone
      return read_bits32(rpm, kLeast);
    case 't':
      return read_int32(trial_time, 1);
    case 'p':
      return read_int32(pstate, 0);
    case 'w':
      workloads.emplace_back(optarg);
      return true;
    case 'z':
      return read_positive(sinusoid);
    case 'e':
      return read_positive(triangle);
    default:  // getopt_long() has said what is wrong
      return false;
  }
}

/// vorn alone.
class NoExtension : public OptionExtension {
 public:
  std::vector<option> long_options() const override { return {}; }
  Reading read(int /*code*/, const char* /*argument*/) override { return Reading::kNotMine; }
};

std::vector<option> all_long_options(const OptionExtension& extension) {
  std::vector<option> all(std::begin(kLongOptions), std::end(kLongOptions));
  for (const option& more : extension.long_options()) {
    all.push_back(more);
  }
  all.push_back({.name = nullptr, .has_arg = 0, .flag = nullptr, .val = 0});
  return all;
}

/// Names the option whose value was not taken; getopt_long() itself has named all others.
void note_value(int letter) {
  for (const option& known : kLongOptions) {
    if (known.val == letter) {
      say({note_on_value(static_cast<char>(letter), known.name, optarg)});
    }
  }
}

void fill_empty_lists() {
  if (keys.empty()) {
    keys.emplace_back("PC0C");
  }
  if (fans.empty()) {
    fans.emplace_back("F0Tg");
    fans.emplace_back("F1Tg");
  }
  if (workloads.empty()) {
    workloads.emplace_back(kDefaultWorkload);
  }
}

bool know_every_workload() {
  for (const std::string& name : workloads) {
    if (!factories.contains(name)) {
      std::cerr << "Unknown workload \"" << name << "\"" << std::endl;
      return false;
    }
  }
  return true;
}

}  // namespace

int parse_options(int argc, char* argv[]) {
  NoExtension vorn_alone;
  return parse_options(argc, argv, vorn_alone);
}

int parse_options(int argc, char* argv[], OptionExtension& extension) {
  assertion(!factories.empty(), "!factories.empty()", kDriverModule);
  assertion(workloads.empty(), "workloads.empty()", kDriverModule);
  const std::vector<option> options = all_long_options(extension);
  for (int letter;
       (letter = getopt_long(argc, argv, kShortOptions, options.data(), nullptr)) != -1;) {
    const auto reading = extension.read(letter, optarg);
    const bool mine = reading == OptionExtension::Reading::kNotMine;
    if (mine && !apply_option(letter, argv[0])) {
      note_value(letter);
      return -1;
    }
    if (!mine && reading != OptionExtension::Reading::kTaken) {
      return -1;
    }
    if (letter <= kLastLetter) {
      given_options += static_cast<char>(letter);
    }
  }
  if (optind != argc) {
    say({note_on_word(argv[optind])});
    return -1;
  }
  fill_empty_lists();
  return know_every_workload() ? 0 : -1;
}

void usage(const char* program_name) {
  std::cerr << "Usage: " << program_name << kUsage;
  for (const auto& [name, factory] : factories) {
    std::cerr << "\t\"" << factory->name() << "\"\t" << factory->description()
              << (name == kDefaultWorkload ? " (default)" : "") << std::endl;
  }
}
