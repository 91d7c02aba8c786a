#include "machines/linux/giving_back/state_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Failure;
using sysfs::Result;

constexpr std::int64_t kLongestWaitNs = 2 * kNsPerS;
// Until a guardian has noticed that its run shows no life, and has given back.
constexpr std::int64_t kWaitForGuardianNs = 4 * kNsPerS;
constexpr std::int64_t kLongestSilenceNs = 3 * kNsPerS;  // a holder who lives touches it at 4 Hz
constexpr std::int64_t kBetweenLocksNs = 20 * kNsPerMs;

/// Ends early when `in_vain()`. Returns 0, EBUSY or another errno value.
template <class InVain>
int lock_patiently(int descriptor, const Surroundings& surroundings, std::int64_t patience_ns,
                   InVain in_vain) {
  for (std::int64_t waited = 0;; waited += kBetweenLocksNs) {
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
      return 0;
    }
    const int error = errno == EWOULDBLOCK ? EBUSY : errno;
    if (error != EBUSY || waited >= patience_ns || in_vain()) {
      return error;
    }
    surroundings.sleep_for(kBetweenLocksNs);
  }
}

Failure not_ours(const std::string& path) {
  return {sysfs::Trouble::refused,
          path + " can be written by others: remove it, and see who made it"};
}

bool is_ours_alone(const struct stat& status) {
  return status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

/// Makes the folder, whatever the caller's umask, and makes sure that it is ours.
Result<Done> make_folder(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(folder).parent_path(), error);
  if (mkdir(folder.c_str(), 0755) == 0) {
    chmod(folder.c_str(), 0755);
  } else if (errno != EEXIST) {
    return sysfs::failure("making", folder, errno);
  }
  struct stat status {};
  if (lstat(folder.c_str(), &status) != 0) {
    return sysfs::failure("making", folder, errno);
  }
  if (!S_ISDIR(status.st_mode) || !is_ours_alone(status)) {
    return not_ours(folder);
  }
  return Done{};
}

Failure not_locked(int error, const std::string& part, const std::string& path) {
  if (error == EBUSY) {
    return Failure{sysfs::Trouble::held, "another run holds the " + part + " (" + path +
                                             "); wait for its end, or end it"};
  }
  return sysfs::failure("locking", path, error);
}

/// Whether no holder who lives has touched the file for long.
bool is_silent(int descriptor) {
  struct stat status {};
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  if (fstat(descriptor, &status) != 0) {
    return false;
  }
  const std::int64_t age_ns =
      (now.tv_sec - status.st_mtim.tv_sec) * kNsPerS + now.tv_nsec - status.st_mtim.tv_nsec;
  return age_ns > kLongestSilenceNs;
}

}  // namespace

Result<StateFile> StateFile::open_own(const Surroundings& surroundings, const std::string& part) {
  const Result<Done> folder = make_folder(surroundings.state_folder);
  if (!folder) {
    return folder.failure();
  }
  std::string path = surroundings.state_folder + "/" + part;
  const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (descriptor < 0) {
    return sysfs::failure("opening", path, errno);
  }
  StateFile file(std::move(path), descriptor);
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink != 1 ||
      !is_ours_alone(status)) {
    return not_ours(file.path());
  }
  return file;
}

Result<StateFile> StateFile::lock(const Surroundings& surroundings, const std::string& part) {
  Result<StateFile> file = open_own(surroundings, part);
  if (!file) {
    return file;
  }
  const int refused =
      lock_patiently(file->descriptor(), surroundings, kLongestWaitNs, [] { return false; });
  return refused == 0 ? std::move(file) : not_locked(refused, part, file->path());
}

Result<StateFile> StateFile::lock_or_take_over(const Surroundings& surroundings,
                                               const std::string& part) {
  Result<StateFile> file = open_own(surroundings, part);
  if (!file) {
    return file;
  }
  const auto silent = [&] { return is_silent(file->descriptor()); };
  const int refused = lock_patiently(file->descriptor(), surroundings, kWaitForGuardianNs, silent);
  if (refused != EBUSY || !silent()) {
    return refused == 0 ? std::move(file) : not_locked(refused, part, file->path());
  }
  file->taken_over_ = true;
  return file;
}

Result<Done> StateFile::remove_if_taken_over() const {
  if (taken_over_ && unlink(path_.c_str()) != 0) {
    return sysfs::failure("removing", path_, errno);
  }
  return Done{};
}

bool StateFile::is_removed() const {
  struct stat status {};
  return fstat(descriptor_, &status) == 0 && status.st_nlink == 0;
}

StateFile::StateFile(StateFile&& other) noexcept
    : path_(std::move(other.path_)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      taken_over_(other.taken_over_) {}

StateFile& StateFile::operator=(StateFile&& other) noexcept {
  std::swap(path_, other.path_);
  std::swap(descriptor_, other.descriptor_);
  std::swap(taken_over_, other.taken_over_);
  return *this;
}

StateFile::~StateFile() {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
}

Result<std::string> StateFile::read() const {
  struct stat status {};
  if (fstat(descriptor_, &status) != 0) {
    return sysfs::failure("reading", path_, errno);
  }
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  const ssize_t got = pread(descriptor_, text.data(), text.size(), 0);
  if (got < 0) {
    return sysfs::failure("reading", path_, errno);
  }
  text.resize(static_cast<std::size_t>(got));
  return text;
}

Result<Done> StateFile::append(std::string_view line) const {
  const off_t end = lseek(descriptor_, 0, SEEK_END);
  const ssize_t written = pwrite(descriptor_, line.data(), line.size(), end);
  if (written != static_cast<ssize_t>(line.size())) {
    const int error = written < 0 ? errno : ENOSPC;
    [[maybe_unused]] const int cut = ftruncate(descriptor_, end);  // no half line stays
    return sysfs::failure("writing", path_, error);
  }
  return Done{};
}

// Written over the old text and filled up with newlines, which say nothing, then cut off: there is
// no moment at which the file is empty but should not be.
Result<Done> StateFile::replace(std::string_view text) const {
  const off_t end = lseek(descriptor_, 0, SEEK_END);
  std::string filled(text);
  filled.resize(std::max(filled.size(), static_cast<std::size_t>(end)), '\n');
  if (!text.empty() &&
      pwrite(descriptor_, filled.data(), filled.size(), 0) != static_cast<ssize_t>(filled.size())) {
    return sysfs::failure("writing", path_, errno);
  }
  if (ftruncate(descriptor_, static_cast<off_t>(text.size())) != 0) {
    return sysfs::failure("writing", path_, errno);
  }
  return Done{};
}

}  // namespace linux_machine
