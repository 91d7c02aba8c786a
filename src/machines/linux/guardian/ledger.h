#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "machines/linux/hwmon/plausible.h"
#include "machines/linux/surroundings/surroundings.h"
#include "machines/linux/sysfs/result.h"

namespace linux_machine {

/// A fan that is watched while it is forced.
struct WatchedFan {
  std::string attribute;       ///< its speed in RPM, below the root
  bool slow;                   ///< it stalls the machine when it is read
  std::int64_t turns_from_ns;  ///< by the surroundings' clock; kMayStand: it may stand
};

/// Who may change a part of the machine ("fans", "P-states") and what must then be given back.
///
/// The first begin() of a run locks the part's state file, gives back what a run that was killed
/// left behind, and starts a guardian: a process that gives back what the file says when this one
/// has ended, shows no sign of life, or has something in danger of what is watched. On a machine in
/// memory there is none, and who asks for an alarm() watches by that.
/// Thread: any.
class Ledger {
 public:
  /// `part` names the state file, and the part in what the user is told. Nothing happens yet.
  Ledger(const Surroundings& surroundings, std::string part);
  ~Ledger();
  Ledger(const Ledger&) = delete;
  Ledger& operator=(const Ledger&) = delete;

  /// Makes this process the one that may change the part. Idempotent. Failures: held, by
  /// another run; given_back, by the guardian.
  sysfs::Result<sysfs::Done> begin();

  /// Adds a line of the journal. To be called before the change that it is to put back; a line that
  /// is there already is not added again. Requires: begin() succeeded.
  sysfs::Result<sysfs::Done> note(const std::string& line);

  /// Whether the part is this process's, and its guardian stands behind it.
  bool holds();

  // What is watched from now on. Requires: begin() succeeded.

  /// A failure: it cannot be opened, or there is no place for it.
  sysfs::Result<sysfs::Done> watch(const WatchedTemperature& temperature);
  /// The same; said again, when the fan has to turn is what is new.
  sysfs::Result<sysfs::Done> watch(const WatchedFan& fan);
  void forget_fan(const std::string& attribute);

  /// Why the part cannot be held any longer. Without a guardian, this is one round of the watch.
  struct Alarm {
    std::string reason;
    bool given_back;  ///< by the guardian: the part is not this process's any more
  };
  std::optional<Alarm> alarm();

  /// Puts back what one noted line says (see put_back), reporting what cannot be, and forgets it if
  /// that worked. True for a line that is not noted. After the guardian has given the part back,
  /// only what still reads as this process forced it is put back.
  bool give_back(const std::string& line);

  /// The same for everything noted, in the order of the lines.
  bool give_back_all();

  // What the machine is still owed: lines that could not be given back when they were to be.

  /// As give_back(). Where that fails, or this process has not the effective user 0, the line is
  /// owed; `attribute` is named when that stays so.
  bool give_back_or_owe(const std::string& line, const std::string& attribute);
  bool owes();
  /// A failure: something is owed still.
  sysfs::Result<sysfs::Done> give_back_owed();

  /// For who comes by again and again: whether it is time for another try. A chip may be busy for a
  /// while; trying longer than kTries would only repeat the report.
  bool is_to_try_again();
  void try_again();
  static constexpr int kTries = 4;

  /// Ends what begin() began, so that other runs may change the part. What is still noted is for
  /// the guardian to put back.
  void end();

 private:
  class Holding;
  struct Owed {
    std::string line;
    std::string attribute;
  };

  // All want the mutex held.
  bool is_ours();
  bool give_back_one(const std::string& line);
  bool give_back_some(std::vector<std::string> lines);
  sysfs::Result<sysfs::Done> give_back_all_owed();

  const Surroundings& surroundings_;
  const std::string part_;
  std::mutex mutex_;  ///< guards all below
  std::unique_ptr<Holding> holding_;
  std::vector<std::string> lines_;
  std::vector<Owed> owed_;
  int tries_ = 0;  ///< since something is owed
};

}  // namespace linux_machine
