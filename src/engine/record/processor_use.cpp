#include "engine/record/processor_use.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <ctime>
#include <string_view>

#include "engine/record/small_file.h"

// /proc/<process>/task/<thread>/schedstat: the time on a processor, the time in a queue, both in
// ns, and the number of times it ran. The time in a queue is where fixed-priority threads stand
// that the kernel keeps from running for the sake of the others.

namespace {

/// Reads the number at the beginning of `text`, behind blanks, and takes it away. False if there is
/// none.
template <class Number>
bool take(std::string_view& text, Number& number) {
  while (text.starts_with(' ') || text.starts_with('\t')) {
    text.remove_prefix(1);
  }
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return error == std::errc();
}

bool read_schedstat(std::string_view text, ProcessorUse& use) {
  return take(text, use.time_ns) && take(text, use.waited_ns);
}

bool take_behind(std::string_view text, std::string_view name, std::uint64_t& number) {
  const std::size_t at = text.find(name);
  if (at == std::string_view::npos) {
    return false;
  }
  text.remove_prefix(at + name.size());
  return take(text, number);
}

bool read_status(std::string_view text, ProcessorUse& use) {
  return take_behind(text, "\nvoluntary_ctxt_switches:", use.voluntary) &&
         take_behind(text, "\nnonvoluntary_ctxt_switches:", use.involuntary);
}

}  // namespace

std::optional<ProcessorUse> processor_use_of(const std::string& proc, pid_t id) {
  const std::string folder = proc + "/self/task/" + std::to_string(id);
  SmallFile schedstat((folder + "/schedstat").c_str());
  SmallFile status((folder + "/status").c_str());
  ProcessorUse use;
  if (!read_schedstat(schedstat.text(), use) || !read_status(status.text(), use)) {
    return std::nullopt;
  }
  return use;
}

ProcessorUse own_processor_use() noexcept {
  ProcessorUse use;
  read_schedstat(SmallFile("/proc/thread-self/schedstat").text(), use);
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);  // finer than the figure above
  use.time_ns = std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  use.voluntary = static_cast<std::uint64_t>(usage.ru_nvcsw);
  use.involuntary = static_cast<std::uint64_t>(usage.ru_nivcsw);
  return use;
}
