#pragma once

#include <sys/types.h>

#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace sysfs {

/// How long the first access to an attribute may take before it is given up. A read of a chip
/// behind a dead bus may not come back at all, and nothing can end it: so the first access is made
/// by a thread of its own, and left alone with it if it takes too long. What has answered once is
/// trusted to answer again and costs nothing more. Thread: any.
class Patience {
 public:
  /// Longer than the slowest firmware takes, on a machine that is all load.
  static constexpr int kSeconds = 5;

  explicit Patience(int seconds = kSeconds) : seconds_(seconds) {}

  /// Whether `path` has answered before.
  bool has_answered(const std::string& path);

  /// Why `path` is not to be asked at all; empty if it may be: another attribute of its folder has
  /// been given up, and they are mostly of one chip.
  std::string why_not(const std::string& path);

  enum class Answers { yes, not_yet };  ///< whether coming back in time counts as an answer
  enum class Rights {
    of_user,    ///< of the user who started the program
    of_caller,  ///< of the calling thread, which may have raised its user id
  };

  /// Does `work`, which owns all that it uses, with these rights and the priority of the calling
  /// thread. Returns what it returns, or a negative errno if the rights are not to be had, or
  /// nothing if that takes too long; then `late` is called with the result if there ever is one.
  std::optional<ssize_t> wait_for(const std::string& path, Answers answers, Rights rights,
                                  std::function<ssize_t()> work,
                                  std::function<void(ssize_t)> late = nullptr);

  /// "no answer within 5 s".
  std::string given_up() const { return "no answer within " + std::to_string(seconds_) + " s"; }

 private:
  const int seconds_;
  std::mutex mutex_;
  std::set<std::string> answered_;  ///< paths
  std::set<std::string> silent_;    ///< paths
};

}  // namespace sysfs
