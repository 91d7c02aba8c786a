#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "machines/linux/giving_back/line_text.h"
#include "machines/linux/sysfs/tree.h"
#include "machines/linux/watch/safety.h"

namespace linux_machine {

/// When a fan has to turn that may stand.
constexpr std::int64_t kMayStand = INT64_MAX;

/// Reads temperatures and the speeds of forced fans, and says when the fans must be given back. All
/// of its memory is there from the start; what it is told to watch is opened once. Large: not for a
/// stack. Thread: one at a time.
class FanWatch {
 public:
  static constexpr std::size_t kMostTemperatures = 256;  ///< the cores of a large machine
  static constexpr std::size_t kMostFans = 8;
  static constexpr std::size_t kLongestPath = 255;

  enum class Reads { each_round, seldom };  ///< seldom: a chip that stalls the machine when read

  /// `tree` outlives it.
  explicit FanWatch(sysfs::Tree& tree) : tree_(tree) {}

  /// Watches an attribute in millidegrees; one that is watched already stays as it is. False: there
  /// is no room for it. One that cannot be opened counts as one that cannot be read.
  bool watch_temperature(std::string_view attribute, double critical_c);

  /// Watches a fan's speed, or says anew from when on (the surroundings' clock) it has to turn.
  /// The speed that it has when it is first named is what it was found at. False: there is no room
  /// for it.
  bool watch_fan(std::string_view attribute, Reads reads, std::int64_t turns_from_ns);

  /// Watches that fan no more.
  void forget_fan(std::string_view attribute);

  /// One round, if any fan is watched. True if the fans must be given back; `why` then says why, in
  /// words that name the attribute and what it reads.
  bool alarmed(std::int64_t now_ns, LineText& why);

 private:
  class Input {
   public:
    bool is(std::string_view attribute) const { return attribute == path_.view(); }
    bool used() const { return !path_.view().empty(); }
    void open(sysfs::Tree& tree, std::string_view attribute);
    void close(sysfs::Tree& tree);
    std::string_view path() const { return path_.view(); }

    /// A whole number. False: there is none, and `failure` says why.
    bool read(sysfs::Tree& tree, long long& value, LineText& failure);

   private:
    BasicLineText<kLongestPath + 1> path_;
    int handle_ = -1;  ///< negative: the error of opening it
  };
  struct Temperature {
    Input input;
    double critical_c = 0;
    TemperatureSafety safety;
  };
  struct Fan {
    Input input;
    Reads reads = Reads::each_round;
    std::int64_t turns_from_ns = 0;
    std::int64_t read_ns = INT64_MIN / 2;
    std::optional<double> found_rpm{};  ///< before it was first told another speed
    std::optional<double> rpm{};        ///< read last
    FanSafety safety;
  };

  bool alarmed(Temperature& one, std::string_view cooling, LineText& why);
  std::optional<double> read_rpm(Fan& one, LineText& failure);
  /// What is wrong with the cooling: see TemperatureSafety.
  void judge_cooling(LineText& text) const;
  bool alarmed(Fan& one, std::int64_t now_ns, LineText& why);

  sysfs::Tree& tree_;
  std::array<Temperature, kMostTemperatures> temperatures_;
  std::array<Fan, kMostFans> fans_;
};

/// How long a chip that stalls the machine when it is read is left in peace.
constexpr std::int64_t kSlowReadNs = 2 * kNsPerS;

}  // namespace linux_machine
