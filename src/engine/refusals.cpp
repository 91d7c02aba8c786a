#include "engine/refusals.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <list>
#include <sstream>

#include "SMC/SMC.h"
#include "Workload/WorkloadFactory.h"
#include "engine/nanoseconds.h"
#include "vorn/machine_notes.h"
#include "vorn/service_thread.h"
#include "vorn/settings.h"
#include "vorn/thread_notes.h"
#include "vorn/workload_threads.h"

namespace engine {

namespace {

// What a run takes to be ready: the monitor thread's half second for a sample without load, and
// its threads. Fans and P-states take longer, by as much as the machine does.
constexpr std::int64_t kReady = 100 * kNsPerMs;
constexpr std::int64_t kReadySampling = 700 * kNsPerMs;

std::optional<Refusal> file_refused(const std::string& option, const std::string& path, int error) {
  return Refusal{ExitStatus::kFileRefused, option + " \"" + path +
                                               "\" cannot be written: " + std::strerror(error) +
                                               "; name a file in a folder of yours"};
}

bool look_at(const std::string& path, struct stat& status) {
  return (path == "-" ? fstat(STDOUT_FILENO, &status) : stat(path.c_str(), &status)) == 0;
}

bool is_one_file(const std::string& a, const std::string& b) {
  struct stat of_a {};
  struct stat of_b {};
  return look_at(a, of_a) && look_at(b, of_b) && S_ISREG(of_a.st_mode) &&
         of_a.st_dev == of_b.st_dev && of_a.st_ino == of_b.st_ino;
}

}  // namespace

std::optional<Refusal> refuse_rights(bool privileged) {
  if (privileged) {
    return std::nullopt;
  }
  constexpr struct {
    char letter;
    const char* name;
  } kOfRoot[] = {{'s', "--rpm"}, {'a', "--fan"}, {'F', "--fanfrequency"}, {'p', "--pstate"}};
  for (const auto& option : kOfRoot) {
    const bool leaves_fans_alone = option.letter == 's' && !setting_fans();
    if (given_options.find(option.letter) != std::string::npos && !leaves_fans_alone) {
      return Refusal{ExitStatus::kRightMissing,
                     std::string(option.name) +
                         " changes the machine, which takes root: start the program as root"};
    }
  }
  return std::nullopt;
}

std::optional<Refusal> refuse_priority() {
  // The highest that a run needs: of the threads beside the load, or of a load that has none beside
  // it. Another failure than that of the right is the run's to say.
  static auto& trial = *new ServiceThread;
  trial.start([](void* nothing) { return nothing; }, monitor_thread_priority());
  trial.join();
  if (trial.start_error() != EPERM) {
    return std::nullopt;
  }
  return Refusal{ExitStatus::kRightMissing, note_on_refused_priority().text};
}

std::optional<Refusal> refuse_deaf_loads(const Request& request, bool waveform,
                                         const std::vector<std::string>& deaf) {
  if (deaf.empty() || (!waveform && !request.at_ns)) {
    return std::nullopt;
  }
  return Refusal{ExitStatus::kWaveformIgnored,
                 std::string(waveform ? "the waveform" : "--at") + " is ignored by \"" +
                     deaf.front() + "\", which never pauses: choose \"b" + deaf.front() + "\""};
}

std::optional<Refusal> refuse_start(const Request& request, std::int64_t now_ns, bool sampling) {
  if (!request.at_ns) {
    return std::nullopt;
  }
  const std::int64_t ahead_ns = *request.at_ns - now_ns;
  const std::int64_t ready_ns = sampling ? kReadySampling : kReady;
  std::ostringstream text;
  if (ahead_ns <= 0) {
    text << "--at lies " << static_cast<double>(-ahead_ns) * 1e-9 << " s in the past";
  } else if (ahead_ns < ready_ns) {
    text << "--at is only " << static_cast<double>(ahead_ns) * 1e-9 << " s ahead; the run needs "
         << static_cast<double>(ready_ns) * 1e-9 << " s to be ready";
  } else {
    return std::nullopt;
  }
  return Refusal{ExitStatus::kTooLate, text.str()};
}

std::optional<Refusal> refuse_binding(const Request& request, std::optional<unsigned> binding,
                                      const std::vector<unsigned>& allowed) {
  if (!request.pin) {
    return std::nullopt;
  }
  if (allowed.empty()) {
    return Refusal{ExitStatus::kRightMissing,
                   "--pin: the kernel does not tell which cores this process may run on"};
  }
  if (!binding || std::find(allowed.begin(), allowed.end(), *binding) != allowed.end()) {
    return std::nullopt;
  }
  std::ostringstream text;
  text << "--bind " << *binding << " is not among the cores that this process may run on:";
  for (const unsigned processor : allowed) {
    text << ' ' << processor;
  }
  return Refusal{ExitStatus::kRightMissing, text.str()};
}

std::optional<Refusal> refuse_crowding(const Request& request, std::optional<unsigned> binding,
                                       std::size_t threads, std::size_t processors) {
  if (!request.pin || binding || threads <= processors) {
    return std::nullopt;
  }
  std::ostringstream text;
  text << "--pin: " << threads << " threads have only " << processors
       << " cores that this process may run on, and some would have no turn; lower --cores";
  return Refusal{ExitStatus::kRightMissing, text.str()};
}

std::optional<Refusal> refuse_file(const std::string& option, const std::string& path) {
  struct stat status {};
  const bool exists = stat(path.c_str(), &status) == 0;
  if (exists && S_ISFIFO(status.st_mode)) {
    return access(path.c_str(), W_OK) == 0 ? std::nullopt : file_refused(option, path, errno);
  }
  constexpr mode_t kForAll = 0666;
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, kForAll);
  if (descriptor < 0) {
    return file_refused(option, path, errno);
  }
  close(descriptor);
  return std::nullopt;
}

Refusal file_not_opened(const std::string& option, const std::string& path, int error) {
  const std::string what = option + " \"" + path + "\" cannot be opened: ";
  if (error == ENXIO) {
    return {ExitStatus::kFileRefused, what + "nobody reads this pipe; start its reader first"};
  }
  return {ExitStatus::kFileRefused,
          what + std::strerror(error) + "; name a file in a folder of yours"};
}

std::optional<Refusal> refuse_shared_file(const std::vector<NamedFile>& files) {
  for (std::size_t i = 0; i < files.size(); ++i) {
    for (std::size_t j = i + 1; j < files.size(); ++j) {
      if ((files[i].written || files[j].written) && is_one_file(files[i].path, files[j].path)) {
        return Refusal{ExitStatus::kFileRefused, files[i].option + " and " + files[j].option +
                                                     " name one file, \"" + files[i].path +
                                                     "\"; give each its own"};
      }
    }
  }
  return std::nullopt;
}

std::optional<Refusal> refuse_keys(const Request& request) {
  std::list<std::string> asked;
  if (monitor) {
    asked = keys;
  }
  for (const Limit& limit : request.limits) {
    asked.push_back(limit.key);
  }
  for (const std::string& key : asked) {
    if (const Notes notes = notes_on_sampling(ask_machine({key}, KeyUse::sampling));
        !notes.empty()) {
      return Refusal{ExitStatus::kKeyUnknown, notes.front().text};
    }
    try {
      SMC smc({key});
      std::list<float> sample;
      smc.sample(sample);
    } catch (const SMCException& failure) {
      return Refusal{ExitStatus::kKeyUnknown,
                     "key \"" + key + "\" cannot be read: " + failure.description() + "; " +
                         keys_program() + " --check says what this user may read"};
    }
  }
  return std::nullopt;
}

std::vector<NamedFile> named_files(const Request& request) {
  std::vector<NamedFile> files;
  if (request.profile) {
    files.push_back({"--profile", *request.profile, false});
  }
  if (request.edges) {
    files.push_back({"--edges", *request.edges, false});
  }
  if (request.record) {
    files.push_back({"--record", *request.record, true});
  }
  if (using_monitor_thread()) {
    files.push_back({"--output", output, true});
  }
  return files;
}

std::optional<Refusal> refuse_fans() {
  if (!setting_fans()) {
    return std::nullopt;
  }
  const Notes notes = notes_on_fans(ask_machine(fans, KeyUse::fans));
  if (notes.empty()) {
    return std::nullopt;
  }
  return Refusal{ExitStatus::kKeyUnknown, notes.front().text};
}

std::optional<Refusal> refuse_pstate(std::size_t count) {
  if (!setting_pstate() || (pstate >= 0 && static_cast<std::size_t>(pstate) < count)) {
    return std::nullopt;
  }
  std::ostringstream text;
  text << "--pstate " << pstate << ": this machine has ";
  if (count == 0) {
    text << "no P-states; root always forces one, so start the program not as root";
  } else {
    text << "0 to " << count - 1;
  }
  return Refusal{ExitStatus::kRightMissing, text.str()};
}

bool is_switched(const Request& request) {
  return frequency > 0.0 || request.edges;
}

std::vector<std::string> deaf_loads() {
  std::vector<std::string> deaf;
  const auto threads = static_cast<unsigned>(num_workload_threads());
  for (unsigned t = 0; t < threads; ++t) {
    const std::string& name = workloads[thread_to_workload(t)];
    if (!factories.at(name)->follows_waveform() &&
        std::find(deaf.begin(), deaf.end(), name) == deaf.end()) {
      deaf.push_back(name);
    }
  }
  return deaf;
}

}  // namespace engine
