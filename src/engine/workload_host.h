#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/loads/load_host.h"
#include "engine/placement.h"
#include "engine/readiness.h"
#include "engine/wrong_results.h"

class LoadReport;
class Record;

namespace engine {

/// What the workload threads have of the engine: their processors, and whoever keeps what their
/// loads do. One for the program; never destroyed, for threads may outlive main()'s failure.
class WorkloadHost : public WorkloadPlacement, public LoadHost {
 public:
  /// Before the run, by the main thread. `record` may be null. Neither is owned.
  void use(Placement& placement, WrongResults& wrong_results, Record* record, bool bound,
           unsigned threads);

  unsigned core(unsigned t) const override;
  void begin(unsigned t, std::uint32_t core) override;
  void made() override;
  void ended() override;

  void ready(const std::shared_ptr<LoadReport>& report) override;
  BurstObserver* burst_observer() override;
  void wrong_result(const WrongResult& result) noexcept override;

  /// Which of the run's threads have made their loads. Thread: any.
  const Readiness& readiness() const { return readiness_; }
  Readiness& readiness() { return readiness_; }

  /// What each thread's load has done, in lines; threads whose load does not count have none.
  /// Requires: the workload threads have been joined.
  std::vector<std::string> work_texts() const;

  /// How many wrong results there were, of all threads. Requires: as work_texts().
  std::uint64_t wrong_results() const;

 private:
  void begin_record();

  Placement* placement_ = nullptr;
  WrongResults* wrong_results_ = nullptr;
  Record* record_ = nullptr;
  bool bound_ = false;
  Readiness readiness_;
  std::vector<std::shared_ptr<LoadReport>> reports_;  ///< by thread; each writes its own
};

}  // namespace engine
