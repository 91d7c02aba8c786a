#pragma once

#include <string>
#include <string_view>

#include "machines/linux/surroundings/surroundings.h"
#include "machines/linux/sysfs/result.h"

namespace linux_machine {

/// The file that says what is to be given back of one part of the machine, and the lock that says
/// who may change that part: both live as long as some process, the run or its guardian, has the
/// file open. Empty: nothing is to be given back. Thread: one at a time.
class StateFile {
 public:
  /// Opens (and makes) <state folder>/<part> and locks it. Whoever can write the file decides what
  /// is written to the machine, so file and folder must be this user's alone. Waits for two seconds
  /// for another holder, who may be about to end; after that it is held.
  static sysfs::Result<StateFile> lock(const Surroundings& surroundings, const std::string& part);

  /// The same for root, who may end the hold of a run that shows no life: a file whose lock another
  /// one neither gives up nor, as a guardian does, touches within some seconds is opened all the
  /// same. It is to be given back, and then removed.
  static sysfs::Result<StateFile> lock_or_take_over(const Surroundings& surroundings,
                                                    const std::string& part);

  StateFile(StateFile&& other) noexcept;
  StateFile& operator=(StateFile&& other) noexcept;
  StateFile(const StateFile&) = delete;
  StateFile& operator=(const StateFile&) = delete;
  ~StateFile();

  sysfs::Result<std::string> read() const;

  /// Adds a line, its newline included, in one write.
  sysfs::Result<sysfs::Done> append(std::string_view line) const;

  /// Puts `text` in place of everything. A reader sees the old text or the new, but for texts of
  /// more than a page.
  sysfs::Result<sysfs::Done> replace(std::string_view text) const;

  /// Takes its name away if it was opened without its lock: the next run makes another one, and
  /// who holds the lock finds that out.
  sysfs::Result<sysfs::Done> remove_if_taken_over() const;

  /// Whether its name has been taken away. Thread: any.
  bool is_removed() const;

  int descriptor() const { return descriptor_; }
  const std::string& path() const { return path_; }

 private:
  static sysfs::Result<StateFile> open_own(const Surroundings& surroundings,
                                           const std::string& part);

  StateFile(std::string path, int descriptor) : path_(std::move(path)), descriptor_(descriptor) {}

  std::string path_;
  int descriptor_;
  bool taken_over_ = false;
};

}  // namespace linux_machine
