#include "Process/patient_write.h"

#include <poll.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>

namespace {

bool is_pipe(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

/// Writes what is taken at once. Somebody else may have filled the room that poll() has seen, so a
/// pipe is asked not to wait; a kernel that cannot be asked, and a terminal, get so little that it
/// fits.
ssize_t write_at_once(int descriptor, std::string_view text) {
  if (is_pipe(descriptor)) {
    const std::string_view some = text.substr(0, PIPE_BUF);
    const iovec whole{.iov_base = const_cast<char*>(some.data()), .iov_len = some.size()};
    constexpr off_t kWhereItStands = -1;
    const ssize_t written = pwritev2(descriptor, &whole, 1, kWhereItStands, RWF_NOWAIT);
    if (written >= 0 || (errno != EOPNOTSUPP && errno != EINVAL && errno != ENOSYS)) {
      return written;
    }
  }
  return write(descriptor, text.data(), std::min<std::size_t>(text.size(), _POSIX_PIPE_BUF));
}

}  // namespace

bool process::write_until(int descriptor, std::string_view text,
                          std::chrono::steady_clock::time_point deadline) {
  while (!text.empty()) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd room{.fd = descriptor, .events = POLLOUT, .revents = 0};
    const int ready = poll(&room, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if (ready == 0 || (ready < 0 && errno != EINTR)) {
      return false;
    }
    const ssize_t taken = ready > 0 ? write_at_once(descriptor, text) : 0;
    if (taken < 0 && errno != EINTR && errno != EAGAIN) {
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(taken, 0)));
  }
  return true;
}
