#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "machines/linux/sysfs/tree.h"

/// One fan and the channel of the chip that drives it.
struct MovingFan {
  enum class InAutomatic {
    refuses_pwm,  ///< EBUSY, as most chips
    ignores_pwm,  ///< success, and nothing happens
  };

  std::string folder;  ///< of the hwmon device, where it really is
  int channel = 1;
  double most_rpm = 2000;
  int stops_below = 30;  ///< pwm
  int starts_from = 50;  ///< pwm
  int pwm_step = 1;      ///< the chip rounds a pwm down to multiples of it
  int floor_pwm = 0;     ///< the firmware drives it with no less, whatever it is told
  std::set<int> modes = {0, 1, 2, 5};
  int target_mode = -1;            ///< of pwmN_enable, in which fanN_target holds
  bool goes_on_in_manual = true;   ///< else manual begins with the pwm that it had last
  int automatic_pwm = 110;         ///< what the chip sets by itself
  double target_factor = 1;        ///< what it makes of fanN_target
  bool full_reads_as_zero = true;  ///< manual at pwm 255 shows as mode 0
  InAutomatic in_automatic = InAutomatic::refuses_pwm;

  /// Where it stands still, and what it turns at for long with this pwm.
  double steady_rpm(int pwm) const;
};

/// Makes the fans of the tree below it move: a speed follows its pwm with a lag of a second, and
/// the chip takes and refuses modes and pwm values as real ones do. The speeds are kept in the tree
/// below, so that several processes over one folder see one machine. Thread: any.
class MovingFans : public sysfs::Tree {
 public:
  using Clock = std::function<std::int64_t()>;  ///< ns

  /// The attributes must be there, and those of state_files().
  MovingFans(sysfs::Tree& below, std::vector<MovingFan> fans, Clock now_ns);

  /// What the tree below needs beside a machine's own attributes, as its text. `fans` as there.
  static std::string state_files(const std::vector<MovingFan>& fans);

  int open(const char* path, sysfs::Mode mode) override;
  ssize_t read(int handle, std::span<char> text) override;
  ssize_t write(int handle, std::string_view text) override;
  void close(int handle) override;
  int list(const char* folder, std::vector<std::string>& names) override;
  std::string real_path(const char* path) override;
  sysfs::Patience* patience() override { return below_.patience(); }
  int permissions(const char* path) override { return below_.permissions(path); }

  // For a fork: who holds it then cannot let go of it in the child.
  void lock() { mutex_.lock(); }
  void unlock() { mutex_.unlock(); }

  /// Blocks a rotor, or frees it.
  void block(std::size_t fan, bool blocked);

  /// Lets the chip refuse a mode with this errno value; 0: take it again.
  void refuse_mode(std::size_t fan, int mode, int error);

 private:
  enum class Role { other, input, pwm, enable };
  struct Open {
    std::size_t fan = 0;
    Role role = Role::other;
  };
  struct Speed {
    double rpm = 0;
    std::int64_t at_ns = 0;
  };

  Open role_of(const std::string& path) const;
  std::string attribute(std::size_t fan, const std::string& name) const;
  std::string mode_path(std::size_t fan) const;
  long long number(const std::string& path, long long otherwise);
  ssize_t put(const std::string& path, const std::string& text);  ///< 0 or a negative errno
  double turn(std::size_t fan);
  double wanted_rpm(std::size_t fan, double now_rpm);
  int mode(std::size_t fan);
  int pwm(std::size_t fan);
  std::optional<std::string> answer(const Open& open);
  ssize_t write_pwm(std::size_t fan, long long value);
  ssize_t write_mode(std::size_t fan, long long value);

  sysfs::Tree& below_;
  const std::vector<MovingFan> fans_;
  const Clock now_ns_;
  std::mutex mutex_;  ///< guards all below
  std::map<int, Open> open_;
  std::set<std::size_t> blocked_;
  std::map<std::pair<std::size_t, long long>, int> refused_modes_;
};
