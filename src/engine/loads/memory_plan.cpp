#include "engine/loads/memory_plan.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "engine/loads/bytes.h"

namespace loads {
namespace {

namespace fs = std::filesystem;

std::string first_line(const fs::path& file) {
  std::ifstream in(file);
  std::string line;
  std::getline(in, line);
  return line;
}

/// "2048K" or "260M" in bytes; 0 for anything else.
std::size_t size_of(const std::string& text) {
  std::size_t number = 0;
  std::size_t i = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    number = number * 10 + static_cast<std::size_t>(text[i] - '0');
  }
  const std::string unit = text.substr(i);
  return unit == "K" ? number * kKiB : unit == "M" ? number * kMiB : 0;
}

/// How many processors "0-3,8" are; 1 for what cannot be read.
std::size_t count_of(const std::string& list) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < list.size();) {
    const std::size_t end = std::min(list.find(',', at), list.size());
    const std::string range = list.substr(at, end - at);
    const std::size_t dash = range.find('-');
    const auto number = [](const std::string& text) {
      std::size_t value = 0;
      for (const char c : text) {
        value = c >= '0' && c <= '9' ? value * 10 + static_cast<std::size_t>(c - '0') : value;
      }
      return value;
    };
    const std::size_t first = number(range.substr(0, dash));
    const std::size_t last = dash == std::string::npos ? first : number(range.substr(dash + 1));
    count += last >= first ? last - first + 1 : 1;
    at = end + 1;
  }
  return std::max<std::size_t>(count, 1);
}

struct Cache {
  int level;
  std::size_t bytes;
  std::string shared_by;
};

std::optional<Cache> cache_in(const fs::path& folder) {
  const std::string type = first_line(folder / "type");
  const std::string level = first_line(folder / "level");
  const std::size_t bytes = size_of(first_line(folder / "size"));
  if ((type != "Unified" && type != "Data") || level.size() != 1 || bytes == 0) {
    return std::nullopt;
  }
  return Cache{level[0] - '0', bytes, first_line(folder / "shared_cpu_list")};
}

/// Every cache once, however many processors share it.
std::map<std::pair<int, std::string>, std::size_t> caches_of(const fs::path& processors) {
  std::map<std::pair<int, std::string>, std::size_t> caches;
  std::error_code error;
  for (const auto& processor : fs::directory_iterator(processors, error)) {
    for (const auto& index : fs::directory_iterator(processor.path() / "cache", error)) {
      if (const auto cache = cache_in(index.path())) {
        caches[{cache->level, cache->shared_by}] = cache->bytes;
      }
    }
  }
  return caches;
}

std::size_t available_in(const std::string& meminfo) {
  std::ifstream in(meminfo);
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("MemAvailable:")) {
      std::size_t kib = 0;
      for (const char c : line) {
        kib = c >= '0' && c <= '9' ? kib * 10 + static_cast<std::size_t>(c - '0') : kib;
      }
      return kib * kKiB;
    }
  }
  return 1024 * kMiB;
}

}  // namespace

MachineMemory read_machine_memory(const std::string& processors, const std::string& memory) {
  MachineMemory machine{256 * kKiB, 32 * kMiB, available_in(memory)};
  const auto caches = caches_of(processors);
  std::size_t least_share = SIZE_MAX;
  int last_level = 0;
  std::size_t last_bytes = 0;
  for (const auto& [where, bytes] : caches) {
    const auto& [level, shared_by] = where;
    if (level == 2) {
      least_share = std::min(least_share, bytes / count_of(shared_by));
    }
    if (level > last_level) {
      last_level = level;
      last_bytes = 0;
    }
    if (level == last_level) {
      last_bytes += bytes;
    }
  }
  if (least_share != SIZE_MAX) {
    machine.second_cache = least_share;
  }
  if (last_level >= 2) {
    machine.last_cache = last_bytes;
  }
  return machine;
}

MemoryPlan plan_memory(const MachineMemory& machine, std::size_t threads, std::size_t all_threads) {
  constexpr std::size_t kLeast = 64 * kKiB;
  const std::size_t most = machine.available / 2 / all_threads;
  return {.mem = std::max(kLeast, std::min(2 * machine.last_cache / threads, most * 4 / 5)),
          .cache = std::max(kLeast, machine.second_cache / 2),
          .mix_last = std::max(kLeast, std::min(machine.last_cache / 2 / threads, most / 5))};
}

bool stays_in_caches(const MachineMemory& machine, std::size_t threads, std::size_t all_threads) {
  return plan_memory(machine, threads, all_threads).mem * threads <= machine.last_cache;
}

}  // namespace loads
