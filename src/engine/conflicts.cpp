#include "engine/conflicts.h"

#include <cstddef>
#include <vector>

#include "vorn/settings.h"
#include "vorn/workload_threads.h"

namespace engine {

namespace {

bool was_given(char letter) {
  return given_options.find(letter) != std::string::npos;
}

/// The options that name a waveform's shape, of those given.
std::vector<std::string> shapes(const Request& request) {
  std::vector<std::string> given;
  if (request.duty) {
    given.emplace_back("--duty");
  }
  if (request.profile) {
    given.emplace_back("--profile");
  }
  if (request.edges) {
    given.emplace_back("--edges");
  }
  if (request.steer) {
    given.emplace_back("--steer");
  }
  if (sinusoid > 0.0) {
    given.emplace_back("--sinusoid");
  }
  if (triangle > 0.0) {
    given.emplace_back("--triangle");
  }
  return given;
}

std::optional<std::string> waveform_conflict(const Request& request) {
  const std::vector<std::string> given = shapes(request);
  if (given.size() > 1) {
    return given[0] + " and " + given[1] + " are two waveforms; choose one";
  }
  const bool carrier = frequency > 0.0;
  if (request.edges && carrier) {
    return "--edges has intervals of its own; leave out --frequency";
  }
  if (!given.empty() && !request.edges && !carrier) {
    return given[0] + " needs the frequency that it shapes: add --frequency";
  }
  const bool swings = sinusoid > 0.0 || triangle > 0.0;
  if ((request.depth || request.offset) && !swings) {
    return std::string(request.depth ? "--depth" : "--offset") +
           " is about a swing of the duty: add --sinusoid or --triangle";
  }
  if (request.depth && *request.depth + request.offset.value_or(0.0) > 1.0) {
    return "--depth and --offset add up to a duty above 1";
  }
  if (request.loop && !request.profile && !request.edges) {
    return "--loop plays a file over and over: add --profile or --edges";
  }
  if (invert && given.empty() && !carrier) {
    return "--invert flips a waveform: add --frequency or --edges";
  }
  if (invert && request.steer) {
    return "--invert flips a waveform, and --steer says when the load is on; leave out --invert";
  }
  const double shape = sinusoid > 0.0 ? sinusoid : triangle;
  if (swings && shape > frequency / 2) {
    return given[0] + " is above half of --frequency, which cannot show it";
  }
  return std::nullopt;
}

std::optional<std::string> sampling_conflict(const Request& request) {
  if (using_monitor_thread()) {
    return std::nullopt;
  }
  constexpr struct {
    char letter;
    const char* name;
  } kOfSampling[] = {{'k', "--key"}, {'r', "--monrate"}, {'o', "--output"}};
  for (const auto& option : kOfSampling) {
    if (was_given(option.letter)) {
      return std::string(option.name) + " is about samples: add --monitor";
    }
  }
  if (request.header) {
    return "--header is about samples: add --monitor";
  }
  return std::nullopt;
}

std::optional<std::string> load_conflict() {
  if (workloads.size() < 2) {
    return std::nullopt;
  }
  const auto threads = static_cast<std::size_t>(num_workload_threads());
  if (workloads.size() <= threads) {
    return std::nullopt;
  }
  return "--workload \"" + workloads[threads] + "\" has no thread: there are " +
         std::to_string(threads) + "; raise --cores, or leave it out";
}

}  // namespace

std::optional<std::string> conflict(const Request& request) {
  if (auto found = waveform_conflict(request)) {
    return found;
  }
  if (auto found = sampling_conflict(request)) {
    return found;
  }
  if (auto found = load_conflict()) {
    return found;
  }
  if (was_given('p') && request.leave_pstate) {
    return "--pstate forces a P-state, and --leave-pstate none; choose one";
  }
  if (was_given('b') && !request.pin) {
    return "--bind names a core, and only --pin binds to it; add --pin";
  }
  if (using_fan_thread() && !setting_fans()) {
    return "--fanfrequency switches fans between a stop and a speed: add --rpm";
  }
  return std::nullopt;
}

}  // namespace engine
