#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "machines/linux/surroundings.h"
#include "machines/linux/sysfs/result.h"

namespace linux_machine {

/// Who may change a part of the machine ("fans", "pstates") and what must then be given back.
///
/// The first begin() of a run locks the part's state file, repairs what a run that was killed left
/// behind, and starts a guardian: a process that outlives this one if it is killed, and then
/// restores what the file says. An ordinary end of the process leaves the machine as it stands.
/// Thread: any.
class Ledger {
 public:
  /// `part` names the state file, and the part in what the user is told. Nothing happens yet.
  Ledger(const Surroundings& surroundings, std::string part);
  ~Ledger();
  Ledger(const Ledger&) = delete;
  Ledger& operator=(const Ledger&) = delete;

  /// Makes this process the one that may change the part. Idempotent. A failure with error EBUSY
  /// means that another run holds it.
  sysfs::Result<sysfs::Done> begin();

  /// Adds a line of the journal. To be called before the change that it undoes; a line that is
  /// there already is not added again. Requires: begin() succeeded.
  sysfs::Result<sysfs::Done> note(const std::string& line);

  /// Puts back what one noted line says (see restore), reporting what cannot be, and forgets it if
  /// that worked. True for a line that is not noted.
  bool give_back(const std::string& line);

  /// The same for everything noted, in the order of the lines.
  bool give_back_all();

  /// Ends what begin() began, so that other runs may change the part: nothing that is still noted
  /// is restored, but the state file keeps it.
  void end();

 private:
  class Holding;

  const Surroundings& surroundings_;
  const std::string part_;
  std::mutex mutex_;  ///< guards all below
  std::unique_ptr<Holding> holding_;
  std::vector<std::string> lines_;
};

}  // namespace linux_machine
