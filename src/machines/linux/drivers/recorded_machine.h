#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "machines/linux/record/recorded_tree.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// The surroundings of a machine that was recorded: its tree, no processes, no curves, and nobody's
/// rights. Its clock stands still but while somebody sleeps, who then has slept at once.
class RecordedMachine {
 public:
  /// What its drivers report goes to `report`.
  RecordedMachine(std::vector<MachineEntry> entries,
                  std::function<void(const std::string&)> report);
  RecordedMachine(const RecordedMachine&) = delete;
  RecordedMachine& operator=(const RecordedMachine&) = delete;

  const Surroundings& surroundings() const { return surroundings_; }

 private:
  std::atomic<std::int64_t> now_ns_{0};
  RecordedTree sys_;
  RecordedTree proc_;
  Surroundings surroundings_;
};

/// The text of a record of the machine in `surroundings`: what its drivers look at, and what else
/// there is of the kind. Takes `readings` a second apart.
std::string record_machine(const Surroundings& surroundings, int readings);

}  // namespace linux_machine
