#include "machines/linux/guardian/control_groups.h"

#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <fstream>
#include <iterator>

#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

/// The text up to `end`, which is taken away with it; all of it if there is none.
std::string_view take_until(std::string_view& text, char end) {
  const std::size_t at = text.find(end);
  const std::string_view taken = text.substr(0, at);
  text.remove_prefix(at == std::string_view::npos ? text.size() : at + 1);
  return taken;
}

/// What a mount point is called in the file: blanks and the like are written as "\040".
std::string unescaped(std::string_view text) {
  constexpr std::size_t kDigits = 3;
  constexpr int kOctal = 8;
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string_view digits = text.substr(i + 1, kDigits);
    int code = 0;
    const char* const end =
        std::from_chars(digits.data(), digits.data() + digits.size(), code, kOctal).ptr;
    if (text[i] == '\\' && digits.size() == kDigits && end == digits.data() + kDigits) {
      plain += static_cast<char>(code);
      i += kDigits;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

/// Of "rw,cpu,cpuacct": what the kernel calls the hierarchy, "cpu,cpuacct".
std::string controllers_of(std::string_view super_options) {
  std::string controllers;
  while (!super_options.empty()) {
    const std::string_view option = take_until(super_options, ',');
    if (option != "rw" && option != "ro" && !option.starts_with("release_agent=") &&
        option != "xattr" && option != "noprefix" && option != "clone_children") {
      controllers.append(controllers.empty() ? "" : ",").append(option);
    }
  }
  return controllers;
}

bool names(std::string_view controllers, std::string_view wanted) {
  while (!controllers.empty()) {
    if (take_until(controllers, ',') == wanted) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::vector<GroupHierarchy> group_hierarchies(std::string_view mountinfo) {
  // <id> <parent> <device> <root> <mount point> <options> [<more> ...] - <type> <source> <options>
  constexpr std::size_t kRoot = 3;
  constexpr std::size_t kMountPoint = 4;
  std::vector<GroupHierarchy> found;
  while (!mountinfo.empty()) {
    const std::vector<std::string_view> words = sysfs::parse_words(take_until(mountinfo, '\n'));
    std::size_t dash = kMountPoint;
    while (dash < words.size() && words[dash] != "-") {
      ++dash;
    }
    if (dash + 3 >= words.size() || words[kRoot] != "/") {
      continue;
    }
    const std::string top = unescaped(words[kMountPoint]) + "/cgroup.procs";
    if (words[dash + 1] == "cgroup2") {
      found.push_back({"", top});
    } else if (words[dash + 1] == "cgroup") {
      found.push_back({controllers_of(words[dash + 3]), top});
    }
  }
  return found;
}

std::vector<GroupHierarchy> mounted_group_hierarchies() {
  std::ifstream in("/proc/self/mountinfo");
  return group_hierarchies(std::string(std::istreambuf_iterator<char>(in), {}));
}

std::string_view group_that_binds(std::string_view groups) {
  while (!groups.empty()) {
    const std::string_view line = take_until(groups, '\n');
    std::string_view rest = line;
    take_until(rest, ':');  // the hierarchy's number
    const std::string_view controllers = take_until(rest, ':');
    const bool can_bind =
        controllers.empty() || names(controllers, "freezer") || names(controllers, "cpu");
    if (can_bind && rest != "/") {
      return line;
    }
  }
  return {};
}

void leave_control_groups(const std::vector<GroupHierarchy>& hierarchies) {
  for (const GroupHierarchy& hierarchy : hierarchies) {
    const int file = open(hierarchy.top.c_str(), O_WRONLY | O_CLOEXEC);
    if (file >= 0) {
      [[maybe_unused]] const ssize_t moved = write(file, "0", 1);
      close(file);
    }
  }
}

std::string_view own_group_that_binds(char* buffer, std::size_t size) {
  const int file = open("/proc/self/cgroup", O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    return "/proc/self/cgroup";
  }
  std::size_t length = 0;
  for (ssize_t got = 1; got > 0 && length < size;) {
    got = read(file, buffer + length, size - length);
    length += got > 0 ? static_cast<std::size_t>(got) : 0;
  }
  close(file);
  return length == 0 ? "/proc/self/cgroup" : group_that_binds({buffer, length});
}

}  // namespace linux_machine
