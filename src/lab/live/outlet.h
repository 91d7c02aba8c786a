#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace lab {

/// How long a view waits at its end for what is still to be written.
inline constexpr std::chrono::milliseconds kAtTheEnd{500};

/// Writes to a descriptor behind which somebody may be slow, and never waits unless told to. What
/// nobody takes is kept; what can never be written (nobody is there any more) is dropped. Thread:
/// one.
class Outlet {
 public:
  /// The descriptor stays the caller's.
  explicit Outlet(int fd);
  Outlet(const Outlet&) = delete;
  Outlet& operator=(const Outlet&) = delete;
  ~Outlet();

  /// Whether all that was put has been written; tries to write the rest first.
  bool all_written();

  void put(std::string_view bytes);

  /// Waits at most so long until all has been written.
  void drain(std::chrono::milliseconds most);

  /// Forgets what has not been written.
  void discard() { kept_.clear(); }

  /// Where it writes: for a terminal, a descriptor of its own that never waits.
  int descriptor() const { return own_ >= 0 ? own_ : fd_; }

 private:
  /// Whether something could be written.
  bool write_some();

  int fd_;
  int own_;
  std::string kept_;
  bool broken_ = false;
};

}  // namespace lab
