#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "Process/capabilities.h"
#include "machines/linux/sysfs/tree.h"

namespace sysfs {

int Tree::permissions(const char* /*path*/) {
  return -EOPNOTSUPP;
}

int Folder::open(const char* path, Mode mode) {
  std::array<char, PATH_MAX> full;
  const std::size_t length = std::strlen(path);
  if (root_.size() + 1 + length >= full.size()) {
    return -ENAMETOOLONG;
  }
  std::memcpy(full.data(), root_.data(), root_.size());
  full[root_.size()] = '/';
  std::memcpy(full.data() + root_.size() + 1, path, length + 1);
  const int flags = mode == Mode::read ? O_RDONLY : O_WRONLY;
  int handle = ::open(full.data(), flags | O_CLOEXEC);
  if (handle < 0 && errno == EACCES && mode == Mode::read) {
    // Energy counters are root's; the program may have been given the right to read them.
    const process::RaisedCapability right(process::read_everything());
    handle = ::open(full.data(), flags | O_CLOEXEC);
  }
  return handle < 0 ? -errno : handle;
}

ssize_t Folder::read(int handle, std::span<char> text) {
  const ssize_t got = pread(handle, text.data(), text.size(), 0);
  return got < 0 ? -errno : got;
}

ssize_t Folder::write(int handle, std::string_view text) {
  const ssize_t written = pwrite(handle, text.data(), text.size(), 0);
  return written < 0 ? -errno : written;
}

void Folder::close(int handle) {
  ::close(handle);
}

int Folder::list(const char* folder, std::vector<std::string>& names) {
  names.clear();
  std::error_code error;
  std::filesystem::directory_iterator at(root_ + "/" + folder, error);
  for (const std::filesystem::directory_iterator end; !error && at != end; at.increment(error)) {
    names.push_back(at->path().filename());
  }
  std::sort(names.begin(), names.end());
  return -error.value();
}

std::string Folder::real_path(const char* path) {
  std::error_code error;
  const std::filesystem::path root = std::filesystem::canonical(root_, error);
  if (error) {
    return {};
  }
  const std::filesystem::path real = std::filesystem::canonical(root / path, error);
  if (error) {
    return {};
  }
  std::string relative = real.lexically_relative(root);
  return relative.starts_with("..") ? std::string() : relative;
}

int Folder::permissions(const char* path) {
  struct stat status {};
  const std::string full = root_ + "/" + path;
  constexpr mode_t kPermissions = 0777;
  return stat(full.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & kPermissions)
                                          : -errno;
}

}  // namespace sysfs
