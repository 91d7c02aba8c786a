#include "machines/linux/giving_back/direct_attribute.h"

#include <cerrno>

#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

constexpr int kAttempts = 3;

/// A journal is a file, and who could write it must not reach beyond the machine's attributes.
bool leads_out(std::string_view path) {
  return path.empty() || path.front() == '/' || path == ".." || path.starts_with("../") ||
         path.ends_with("/..") || path.find("/../") != std::string_view::npos;
}

template <class Access>
ssize_t opened_once(sysfs::Tree& tree, const char* path, sysfs::Mode mode, Access access) {
  const int handle = tree.open(path, mode);
  if (handle < 0) {
    return handle;
  }
  ssize_t result = -EINTR;
  for (int tries = 0; tries < kAttempts && (result == -EINTR || result == -EAGAIN); ++tries) {
    result = access(handle);
  }
  tree.close(handle);
  return result;
}

/// `access(handle)` on the opened attribute: its result, or that of opening it.
template <class Access>
ssize_t with_open(sysfs::Tree& tree, const char* path, sysfs::Mode mode, Access access) {
  if (leads_out(path)) {
    return -EINVAL;
  }
  ssize_t result = -ENOENT;
  for (int tries = 0; tries < kAttempts && result < 0 && is_gone(static_cast<int>(-result));
       ++tries) {
    result = opened_once(tree, path, mode, access);
  }
  return result;
}

}  // namespace

bool is_gone(int error) {
  return error == ENOENT || error == ENODEV;
}

DirectAnswer read_directly(sysfs::Tree& tree, const char* path, DirectBuffer& buffer) {
  const ssize_t got = with_open(tree, path, sysfs::Mode::read,
                                [&](int handle) { return tree.read(handle, buffer); });
  if (got < 0) {
    return {.error = static_cast<int>(-got), .text = {}};
  }
  return {.error = 0, .text = sysfs::trimmed({buffer.data(), static_cast<std::size_t>(got)})};
}

int write_directly(sysfs::Tree& tree, const char* path, std::string_view value) {
  const ssize_t written = with_open(tree, path, sysfs::Mode::write,
                                    [&](int handle) { return tree.write(handle, value); });
  return written < 0 ? static_cast<int>(-written) : 0;
}

}  // namespace linux_machine
