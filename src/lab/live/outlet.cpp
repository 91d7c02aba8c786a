#include "lab/live/outlet.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

// A terminal that was stopped (Ctrl-S), or that draws slowly, takes a part of a frame and then
// makes the writer wait, even if it was ready before. O_NONBLOCK would help, but it belongs to what
// the shell opened, and would reach the shell's and all others' reading and writing. So a terminal
// is opened once more. Where that is not allowed (it is another user's), short pieces are written,
// each after asking whether there is room; a pipe that has room takes a piece of that length at
// once.

namespace lab {

namespace {

/// _POSIX_PIPE_BUF: a pipe that can be written to takes it whole.
constexpr std::size_t kPiece = 512;

int opened_once_more(int fd) {
  if (isatty(fd) == 0) {
    return -1;
  }
  const std::string path = "/proc/self/fd/" + std::to_string(fd);
  return open(path.c_str(), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
}

}  // namespace

Outlet::Outlet(int fd) : fd_(fd), own_(opened_once_more(fd)) {}

Outlet::~Outlet() {
  if (own_ >= 0) {
    close(own_);
  }
}

bool Outlet::write_some() {
  pollfd room{.fd = descriptor(), .events = POLLOUT, .revents = 0};
  if (poll(&room, 1, 0) <= 0) {
    return false;
  }
  if ((room.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
    broken_ = true;
    return false;
  }
  const std::size_t most = own_ >= 0 ? kept_.size() : std::min(kept_.size(), kPiece);
  const ssize_t written = write(descriptor(), kept_.data(), most);
  if (written < 0) {
    broken_ = errno != EAGAIN && errno != EINTR;
    return false;
  }
  kept_.erase(0, static_cast<std::size_t>(written));
  return written > 0;
}

bool Outlet::all_written() {
  while (!kept_.empty() && !broken_ && write_some()) {
  }
  if (broken_) {
    kept_.clear();
  }
  return kept_.empty();
}

void Outlet::put(std::string_view bytes) {
  kept_ += bytes;
  (void)all_written();
}

void Outlet::drain(std::chrono::milliseconds most) {
  const auto end = std::chrono::steady_clock::now() + most;
  while (!all_written()) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    pollfd room{.fd = descriptor(), .events = POLLOUT, .revents = 0};
    if (left.count() <= 0 || poll(&room, 1, static_cast<int>(left.count())) == 0) {
      return;
    }
  }
}

}  // namespace lab
