#include "support/machine/memory_tree.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

#include "machines/linux/sysfs/parse.h"
#include "support/machine/machine_file.h"

using TreeLock = std::lock_guard<std::recursive_mutex>;

MemoryTree::MemoryTree(const std::string& machine) {
  for (const MachineEntry& entry : parse_machine(machine)) {
    if (entry.link) {
      link(entry.path, entry.text);
    } else {
      put(entry.path, entry.text, entry.mode);
      fail(entry.path, entry.error);
    }
  }
}

void MemoryTree::put(const std::string& path, const std::string& text, int mode) {
  const TreeLock lock(mutex_);
  File& file = files_[resolve(path)];
  file.text = text;
  file.mode = mode;
}

void MemoryTree::link(const std::string& path, const std::string& target) {
  const TreeLock lock(mutex_);
  const std::filesystem::path from = std::filesystem::path(path).parent_path();
  links_[path] = (from / target).lexically_normal();
}

void MemoryTree::remove(const std::string& path) {
  const TreeLock lock(mutex_);
  const std::string real = resolve(path);
  std::erase_if(files_, [&](const auto& file) {
    return file.first == real || file.first.starts_with(real + "/");
  });
  std::erase_if(links_, [&](const auto& one) { return one.first == path; });
}

void MemoryTree::on_read(const std::string& path, OnRead answer) {
  const TreeLock lock(mutex_);
  files_.at(resolve(path)).on_read = std::move(answer);
}

void MemoryTree::on_write(const std::string& path, OnWrite take) {
  const TreeLock lock(mutex_);
  files_.at(resolve(path)).on_write = std::move(take);
}

void MemoryTree::fail(const std::string& path, int error) {
  const TreeLock lock(mutex_);
  files_.at(resolve(path)).error = error;
}

std::string MemoryTree::text(const std::string& path) {
  const TreeLock lock(mutex_);
  const auto at = files_.find(resolve(path));
  return at == files_.end() ? "" : std::string(sysfs::trimmed(at->second.text));
}

std::map<std::string, std::string> MemoryTree::snapshot() {
  const TreeLock lock(mutex_);
  std::map<std::string, std::string> all;
  for (const auto& [path, file] : files_) {
    all[path] = sysfs::trimmed(file.text);
  }
  return all;
}

int MemoryTree::open_handles() {
  const TreeLock lock(mutex_);
  return static_cast<int>(handles_.size());
}

std::string MemoryTree::resolve(std::string path) const {
  for (int links = 0; links < 10; ++links) {
    const auto at = std::find_if(links_.begin(), links_.end(), [&](const auto& one) {
      return path == one.first || path.starts_with(one.first + "/");
    });
    if (at == links_.end()) {
      break;
    }
    path = at->second + path.substr(at->first.size());
  }
  return path;
}

int MemoryTree::open(const char* path, sysfs::Mode mode) {
  const TreeLock lock(mutex_);
  const auto at = files_.find(resolve(path));
  if (at == files_.end()) {
    return -ENOENT;
  }
  if (mode == sysfs::Mode::write && (at->second.mode & 0222) == 0) {
    return -EACCES;  // the kernel lets not even the superuser
  }
  const int others = mode == sysfs::Mode::read ? 0004 : 0002;
  if (!superuser && (at->second.mode & others) == 0) {
    return -EACCES;
  }
  handles_[++last_handle_] = at->first;
  return last_handle_;
}

ssize_t MemoryTree::read(int handle, std::span<char> text) {
  const TreeLock lock(mutex_);
  File& file = files_.at(handles_.at(handle));
  if (file.error != 0) {
    return -file.error;
  }
  if ((file.mode & 0444) == 0) {
    return -EIO;  // as the kernel answers the superuser where there is nothing to read
  }
  Answer answer{file.text, 0};
  if (file.on_read) {
    answer = file.on_read(file.text);
  }
  if (answer.error != 0) {
    return answer.error;
  }
  if (!answer.text.empty() && answer.text.back() != '\n') {
    answer.text += '\n';
  }
  const std::size_t length = std::min(answer.text.size(), text.size());
  std::memcpy(text.data(), answer.text.data(), length);
  return static_cast<ssize_t>(length);
}

ssize_t MemoryTree::write(int handle, std::string_view text) {
  const TreeLock lock(mutex_);
  ++writes_;
  File& file = files_.at(handles_.at(handle));
  if (file.error != 0) {
    return -file.error;
  }
  if ((file.mode & 0222) == 0) {
    return -EIO;
  }
  std::string stored(sysfs::trimmed(text));
  if (file.on_write) {
    if (const int refused = file.on_write(stored); refused != 0) {
      return refused;
    }
  }
  file.text = stored;
  return static_cast<ssize_t>(text.size());
}

void MemoryTree::close(int handle) {
  const TreeLock lock(mutex_);
  handles_.erase(handle);
}

int MemoryTree::list(const char* folder, std::vector<std::string>& names) {
  const TreeLock lock(mutex_);
  const std::string real = resolve(folder);
  const std::string below = real.empty() ? "" : real + "/";
  std::set<std::string> found;
  const auto add = [&](const std::string& path) {
    if (path.starts_with(below)) {
      found.insert(path.substr(below.size(), path.find('/', below.size()) - below.size()));
    }
  };
  for (const auto& file : files_) {
    add(file.first);
  }
  for (const auto& one : links_) {
    add(one.first);
  }
  names.assign(found.begin(), found.end());
  return names.empty() ? -ENOENT : 0;
}

int MemoryTree::permissions(const char* path) {
  const TreeLock lock(mutex_);
  const auto at = files_.find(resolve(path));
  return at == files_.end() ? -ENOENT : at->second.mode;
}

std::string MemoryTree::real_path(const char* path) {
  const TreeLock lock(mutex_);
  std::string real = resolve(path);
  const std::string below = real + "/";
  const bool there = files_.contains(real) ||
                     std::any_of(files_.begin(), files_.end(),
                                 [&](const auto& file) { return file.first.starts_with(below); }) ||
                     std::any_of(links_.begin(), links_.end(),
                                 [&](const auto& link) { return link.first.starts_with(below); });
  return there ? real : std::string();
}
