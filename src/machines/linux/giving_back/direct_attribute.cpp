#include "machines/linux/giving_back/direct_attribute.h"

#include <cerrno>

#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

/// `access(handle)` on the opened attribute: its result, or that of opening it.
template <class Access>
ssize_t with_open(sysfs::Tree& tree, const char* path, sysfs::Mode mode, Access access) {
  constexpr int kTries = 3;
  const int handle = tree.open(path, mode);
  if (handle < 0) {
    return handle;
  }
  ssize_t result = -EINTR;
  for (int tries = 0; tries < kTries && (result == -EINTR || result == -EAGAIN); ++tries) {
    result = access(handle);
  }
  tree.close(handle);
  return result;
}

}  // namespace

DirectAnswer read_directly(sysfs::Tree& tree, const char* path, DirectBuffer& buffer) {
  const ssize_t got = with_open(tree, path, sysfs::Mode::read,
                                [&](int handle) { return tree.read(handle, buffer); });
  if (got < 0) {
    return {static_cast<int>(-got), {}};
  }
  return {0, sysfs::trimmed({buffer.data(), static_cast<std::size_t>(got)})};
}

int write_directly(sysfs::Tree& tree, const char* path, std::string_view value) {
  const ssize_t written = with_open(tree, path, sysfs::Mode::write,
                                    [&](int handle) { return tree.write(handle, value); });
  return written < 0 ? static_cast<int>(-written) : 0;
}

}  // namespace linux_machine
