#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "Workload/Workload.h"
#include "Workload/activity.h"
#include "engine/loads/kernel.h"

class BurstObserver;
class LoadHost;
class LoadReport;

namespace loads {

/// Whether a load pauses while the waveform is off.
enum class Follows { kNothing, kTheWaveform };

/// What a load is made of.
struct LoadPlan {
  std::string name;
  Follows follows;
  double activity;                                  ///< of Workload/activity.h
  std::function<std::unique_ptr<Kernel>()> kernel;  ///< called by the workload thread
};

/// A workload that is made of a kernel's bursts. Between two of them it looks at the waveform and
/// at the end of the run, so that either is followed after one burst at the latest.
class Load : public Workload {
 public:
  /// Takes the priority, then makes the kernel, whose bursts it measures, and tells `host` that it
  /// is ready. Throws as Workload() does. `host` must live as long as the load.
  Load(const LoadPlan& plan, unsigned core, unsigned priority, LoadHost& host);

  void run(workload_params* params) override;

 private:
  void burst() noexcept;
  void look_at_clock() noexcept;

  Activity activity_;
  const Follows follows_;
  std::unique_ptr<Kernel> kernel_;
  LoadHost& host_;
  std::shared_ptr<LoadReport> report_;
  BurstObserver* observer_;
  std::int64_t looked_ns_ = 0;  ///< when the clock was last looked at, with the load on
};

}  // namespace loads
