#include "vorn/sample_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

// What reads the file, while it is written or after, takes every line for a sample. A disk that is
// full takes the beginning of a line and then nothing. In a regular file that beginning is cut off
// again, unless somebody else has written behind it. A pipe keeps it, so its rest is written before
// anything else: then the line is whole although it is counted as lost.

namespace {

constexpr mode_t kReadableAndWritable = 0666;  // less what the user's umask takes

int open_to_write(const char* path, SampleFile::Unread unread) {
  const int at_once = unread == SampleFile::Unread::fails ? O_NONBLOCK : 0;
  int descriptor = -1;
  do {
    descriptor =
        open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | at_once, kReadableAndWritable);
  } while (descriptor < 0 && errno == EINTR);
  return descriptor;
}

void wait_for_room(int descriptor) {
  constexpr int kForEver = -1;
  pollfd room{.fd = descriptor, .events = POLLOUT, .revents = 0};
  poll(&room, 1, kForEver);
}

}  // namespace

SampleFile::SampleFile(std::string path, Unread unread)
    : path_(std::move(path)),
      owned_(path_ != "-"),
      descriptor_(owned_ ? open_to_write(path_.c_str(), unread) : STDOUT_FILENO),
      open_error_(descriptor_ < 0 ? errno : 0),
      error_(open_error_) {}

SampleFile::~SampleFile() {
  close();
}

bool SampleFile::write_line(std::string_view line) {
  if (descriptor_ < 0 || !finish_line()) {
    ++lost_;
    return false;
  }
  const std::size_t taken = write_bytes(line);
  if (taken == line.size()) {
    ++written_;
    return true;
  }
  ++lost_;
  if (taken != 0 && !take_back(taken)) {
    unfinished_ = line.substr(taken);
  }
  return false;
}

bool SampleFile::close() {
  if (descriptor_ < 0) {
    return true;
  }
  finish_line();
  // Some file systems learn only here that they have no room. What has no disk refuses at once.
  bool kept = fsync(descriptor_) == 0 || errno == EINVAL || errno == EROFS;
  if (!kept) {
    error_ = errno;
  }
  if (owned_ && ::close(descriptor_) != 0 && errno != EINTR) {
    error_ = errno;
    kept = false;
  }
  descriptor_ = -1;
  return kept;
}

/// Writes until all is taken or a failure, which error() then names. Returns how much was taken.
std::size_t SampleFile::write_bytes(std::string_view bytes) {
  std::size_t taken = 0;
  while (taken < bytes.size()) {
    const ssize_t result = write(descriptor_, bytes.data() + taken, bytes.size() - taken);
    if (result > 0) {
      taken += static_cast<std::size_t>(result);
    } else if (result < 0 && errno == EAGAIN) {
      wait_for_room(descriptor_);
    } else if (result == 0 || errno != EINTR) {
      error_ = result == 0 ? EIO : errno;
      break;
    }
  }
  return taken;
}

/// Writes what is left of the line that was cut off. Returns whether the next one may follow.
bool SampleFile::finish_line() {
  if (!unfinished_.empty()) {
    unfinished_.erase(0, write_bytes(unfinished_));
  }
  return unfinished_.empty();
}

/// Cuts the last `bytes` off a regular file if they are its end. Returns whether it did.
bool SampleFile::take_back(std::size_t bytes) {
  struct stat status {};
  const off_t end = lseek(descriptor_, 0, SEEK_CUR);
  if (end < 0 || fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode) ||
      status.st_size != end) {
    return false;
  }
  const off_t start = end - static_cast<off_t>(bytes);
  return ftruncate(descriptor_, start) == 0 && lseek(descriptor_, start, SEEK_SET) == start;
}
