#include "engine/record_plan.h"

#include <array>
#include <charconv>
#include <concepts>

#include "engine/loads/vector_target.h"
#include "engine/nanoseconds.h"
#include "vorn/notes.h"
#include "vorn/settings.h"
#include "vorn/version.h"
#include "vorn/waveform.h"
#include "vorn/workload_threads.h"

namespace engine {

namespace {

using Setting = std::pair<std::string, std::string>;

std::string text(std::integral auto number) {
  return std::to_string(number);
}

/// The shortest text that is this number.
template <std::floating_point Number>
std::string text(Number value) {
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  return {digits.data(), end};
}

template <typename List>
std::string joined(const List& list) {
  std::string all;
  for (const std::string& item : list) {
    all += (all.empty() ? "" : " ") + item;
  }
  return all;
}

std::string processors(unsigned threads) {
  std::string all;
  for (unsigned t = 0; t < threads; ++t) {
    all += (t == 0 ? "" : " ") + std::to_string(thread_to_core(t));
  }
  return all;
}

std::string limits(const Request& request) {
  std::vector<std::string> all;
  for (const Limit& limit : request.limits) {
    all.push_back(limit.key + '=' + text(limit.most));
  }
  return joined(all);
}

}  // namespace

RecordPlan plan_record(const Request& request, std::optional<std::int64_t> length_ns,
                       const std::vector<std::string>& arguments) {
  const auto threads = static_cast<unsigned>(num_workload_threads());
  std::vector<Setting> settings = {
      {"workloads", joined(workloads)},
      {"priority", text(workload_thread_priority())},
      {"vectors", loads::vector_target()},
      {request.pin ? "bound_cores" : "cores", processors(threads)},
      {"frequency_hz", text(frequency)},
      {"inverted", text(invert)},
      {"run_time_s",
       text(static_cast<double>(length_ns.value_or(0)) / static_cast<double>(kNsPerSecond))},
  };
  if (waveform.description != nullptr) {
    const std::string said = waveform.description;
    settings.emplace_back("waveform", said.empty() ? "square" : said);
  }
  if (request.at_ns) {
    settings.emplace_back("at_ns", text(*request.at_ns));
  }
  if (using_monitor_thread()) {
    settings.emplace_back("keys", joined(keys));
    settings.emplace_back("sampling_hz", text(monitor_rate));
    settings.emplace_back("samples", output);
  }
  if (!request.limits.empty()) {
    settings.emplace_back("limits", limits(request));
  }
  if (setting_fans()) {
    settings.emplace_back("fans", joined(fans));
    settings.emplace_back("rpm", rpm == kMaximumSpeed ? "max" : text(rpm));
    settings.emplace_back("fan_frequency_hz", text(fanfrequency));
  }
  if (setting_pstate()) {
    settings.emplace_back("pstate", text(pstate));
  }
  return {.path = *request.record,
          .program = std::string(program_name()),
          .version = version,
          .arguments = arguments,
          .settings = std::move(settings),
          .threads = threads,
          .active = &params.active,
          .samples_per_second = using_monitor_thread() ? monitor_rate : 0.0};
}

}  // namespace engine
