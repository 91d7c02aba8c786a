#pragma once

#include <cstdint>
#include <memory>

class BurstObserver;
class LoadReport;

/// A burst whose result is not what arithmetic says: the hardware, or its operation outside its
/// limits, is at fault.
struct WrongResult {
  const LoadReport& report;  ///< of the load; counts this one already
  int processor;             ///< as the kernel numbers them; -1 if unknown
  std::int64_t at_ns;        ///< of CLOCK_MONOTONIC
};

/// The program that loads run in, as they see it: the seam to its record and its messages. The
/// default watches nothing.
class LoadHost {
 public:
  LoadHost() = default;
  LoadHost(const LoadHost&) = delete;
  LoadHost& operator=(const LoadHost&) = delete;
  virtual ~LoadHost() = default;

  /// A load is ready: its memory is there and its bursts are measured. `report` will be written as
  /// long as the load runs, and may be kept. Thread: the workload thread, before run().
  virtual void ready(const std::shared_ptr<LoadReport>& /*report*/) {}

  /// Who observes the bursts of the calling workload thread; null for nobody. Asked once, after
  /// ready(). The observer must live as long as the thread.
  virtual BurstObserver* burst_observer() { return nullptr; }

  /// Thread: the workload thread, between two bursts; must not block, lock or allocate.
  virtual void wrong_result(const WrongResult& /*result*/) noexcept {}
};
