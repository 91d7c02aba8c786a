#include "engine/record/record_file.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "engine/record/record.h"

RecordFileError::RecordFileError(const std::string& path, int error)
    : RecordError(path + ": " + (error == ENXIO ? "Nobody reads this pipe" : std::strerror(error))),
      error_(error) {}

namespace {

constexpr int kWaitMs = 50;  // for a pipe's reader, before looking whether to give up

int open_or_throw(const std::string& path) {
  // Not blocking: a pipe without a reader is an error, and a slow one must not hold a write.
  const int file =
      open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666);
  if (file < 0) {
    throw RecordFileError(path, errno);
  }
  return file;
}

std::uint64_t lines_in(std::string_view text) {
  return static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

RecordFile::RecordFile(const std::string& path) : file_(open_or_throw(path)) {}

RecordFile::~RecordFile() {
  close(file_);
}

void RecordFile::write(std::string_view lines) {
  if (open_line_) {
    std::string_view end = "\n";
    open_line_ = !write_some(end);
  }
  std::string_view rest = lines;
  while (!rest.empty() && !open_line_ && write_some(rest)) {
  }
  const std::string_view written = lines.substr(0, lines.size() - rest.size());
  const std::size_t last_end = written.rfind('\n');
  const std::size_t whole = last_end == std::string_view::npos ? 0 : last_end + 1;
  whole_ += static_cast<std::int64_t>(whole);
  if (rest.empty()) {
    return;
  }
  if (whole != written.size()) {
    cut_to_whole_lines();
  }
  // The only writer is here.
  lines_lost_.store(lines_lost() + lines_in(lines.substr(whole)), std::memory_order_relaxed);
}

bool RecordFile::write_some(std::string_view& rest) {
  for (;;) {
    const ssize_t written = ::write(file_, rest.data(), rest.size());
    if (written > 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
      return true;
    }
    const int error = written < 0 ? errno : ENOSPC;
    const bool waits = error == EAGAIN && !given_up_.load(std::memory_order_relaxed);
    if (waits) {
      pollfd room{.fd = file_, .events = POLLOUT, .revents = 0};
      poll(&room, 1, kWaitMs);
    } else if (error != EINTR) {
      int none = 0;
      reason_.compare_exchange_strong(none, error, std::memory_order_relaxed);
      return false;
    }
  }
}

void RecordFile::cut_to_whole_lines() {
  open_line_ = ftruncate(file_, whole_) != 0 || lseek(file_, whole_, SEEK_SET) != whole_;
}
