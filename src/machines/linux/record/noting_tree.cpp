#include "machines/linux/record/noting_tree.h"

#include <cerrno>

namespace linux_machine {

std::set<std::string> NotingTree::noted() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return noted_;
}

int NotingTree::open(const char* path, sysfs::Mode mode) {
  if (mode == sysfs::Mode::write) {
    return -EACCES;
  }
  note(path);
  return below_.open(path, mode);
}

ssize_t NotingTree::write(int /*handle*/, std::string_view /*text*/) {
  return -EACCES;
}

std::string NotingTree::real_path(const char* path) {
  note(path);
  return below_.real_path(path);
}

void NotingTree::note(const char* path) {
  const std::lock_guard<std::mutex> lock(mutex_);
  noted_.insert(path);
}

}  // namespace linux_machine
