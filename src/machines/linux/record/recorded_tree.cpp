#include "machines/linux/record/recorded_tree.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <optional>
#include <utility>

#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

constexpr int kMostLinks = 40;  // as the kernel has it

std::string last_part(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

/// The energies of a counter that rises from each answer to the next, by their times. Empty for
/// any other attribute.
std::vector<std::pair<double, long long>> rising_energies(const MachineEntry& entry) {
  std::vector<std::pair<double, long long>> energies;
  if (last_part(entry.path).find("energy") == std::string::npos || entry.later.empty()) {
    return {};
  }
  std::vector<Answer> answers{{.text = entry.text, .error = entry.error}};
  answers.insert(answers.end(), entry.later.begin(), entry.later.end());
  for (const Answer& answer : answers) {
    const std::optional<long long> energy = sysfs::parse_integer(answer.text);
    const long long before = energies.empty() ? 0 : energies.back().second;
    if (answer.error != 0 || !energy || *energy < before) {
      return {};
    }
    energies.emplace_back(answer.after_s, *energy);
  }
  return energies;
}

std::optional<std::string> energy_at(const MachineEntry& entry, double time_s) {
  const auto energies = rising_energies(entry);
  if (energies.empty()) {
    return std::nullopt;
  }
  const auto after = std::find_if(energies.begin() + 1, energies.end() - 1,
                                  [time_s](const auto& one) { return one.first > time_s; });
  const auto& [to_s, to] = *after;
  const auto& [from_s, from] = *(after - 1);
  const double slope = static_cast<double>(to - from) / (to_s - from_s);
  const double energy = static_cast<double>(from) + slope * (time_s - from_s);
  constexpr double kMost = 9e18;
  return energy < kMost ? std::optional(std::to_string(std::llround(energy))) : std::nullopt;
}

Answer answer_at(const MachineEntry& entry, double time_s) {
  if (std::optional<std::string> energy = energy_at(entry, time_s)) {
    return {.text = *std::move(energy)};
  }
  Answer answer{.text = entry.text, .error = entry.error};
  for (const Answer& later : entry.later) {
    if (later.after_s <= time_s) {
      answer = later;
    }
  }
  return answer;
}

}  // namespace

RecordedTree::RecordedTree(std::vector<MachineEntry> entries, std::function<std::int64_t()> now_ns)
    : entries_(std::move(entries)), now_ns_(std::move(now_ns)) {
  for (std::size_t number = 0; number < entries_.size(); ++number) {
    const MachineEntry& entry = entries_[number];
    if (entry.link) {
      const std::filesystem::path from = std::filesystem::path(entry.path).parent_path();
      std::string to = (from / entry.text).lexically_normal();
      links_[entry.path] = to.ends_with('/') ? to.substr(0, to.size() - 1) : to;
    } else {
      attributes_[entry.path] = number;
    }
    add_to_folders(entry.path);
  }
}

void RecordedTree::add_to_folders(const std::string& path) {
  for (std::size_t end = path.size(); end != 0 && end != std::string::npos;) {
    const std::size_t slash = path.rfind('/', end - 1);
    const bool top = slash == std::string::npos;
    const std::string folder = top ? "" : path.substr(0, slash);
    const std::size_t from = top ? 0 : slash + 1;
    if (!folders_[folder].insert(path.substr(from, end - from)).second) {
      break;
    }
    end = top ? 0 : slash;
  }
}

/// Where `path` is, links followed; nothing if they lead in a circle.
std::string RecordedTree::resolve(const std::string& path) const {
  std::string real = path;
  std::size_t from = 0;
  for (int links = 0; from <= real.size();) {
    const std::size_t end = std::min(real.find('/', from), real.size());
    const auto link = links_.find(real.substr(0, end));
    if (link == links_.end()) {
      from = end + 1;
      continue;
    }
    if (++links > kMostLinks) {
      return {};
    }
    real = link->second + real.substr(end);
    from = 0;
  }
  return real;
}

const MachineEntry* RecordedTree::find(const char* path) const {
  const auto at = attributes_.find(resolve(path));
  return at == attributes_.end() ? nullptr : &entries_[at->second];
}

int RecordedTree::open(const char* path, sysfs::Mode mode) {
  const MachineEntry* const entry = find(path);
  if (entry == nullptr) {
    return -ENOENT;
  }
  if (mode == sysfs::Mode::write) {
    return -EROFS;
  }
  if (entry->error == EACCES || entry->error == EPERM) {
    return -entry->error;  // the rights are looked at when a file is opened
  }
  return static_cast<int>(entry - entries_.data());
}

ssize_t RecordedTree::read(int handle, std::span<char> text) {
  constexpr int kSomebodyReads = 0444;
  const MachineEntry& entry = entries_[static_cast<std::size_t>(handle)];
  if ((entry.mode & kSomebodyReads) == 0) {
    return -EIO;  // as the kernel answers where there is nothing to read
  }
  Answer answer = answer_at(entry, 1e-9 * static_cast<double>(now_ns_()));
  if (answer.error != 0) {
    return -answer.error;
  }
  if (!answer.text.empty()) {
    answer.text += '\n';
  }
  const std::size_t length = std::min(answer.text.size(), text.size());
  std::memcpy(text.data(), answer.text.data(), length);
  return static_cast<ssize_t>(length);
}

ssize_t RecordedTree::write(int /*handle*/, std::string_view /*text*/) {
  return -EROFS;
}

int RecordedTree::list(const char* folder, std::vector<std::string>& names) {
  names.clear();
  const auto at = folders_.find(resolve(folder));
  if (at == folders_.end()) {
    return -ENOENT;
  }
  names.assign(at->second.begin(), at->second.end());
  return 0;
}

std::string RecordedTree::real_path(const char* path) {
  std::string real = resolve(path);
  return attributes_.contains(real) || folders_.contains(real) ? real : std::string();
}

int RecordedTree::permissions(const char* path) {
  const MachineEntry* const entry = find(path);
  return entry == nullptr ? -ENOENT : entry->mode;
}

}  // namespace linux_machine
