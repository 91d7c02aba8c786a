#include "engine/waveform_begin.h"

namespace engine {

WaveformBegin::WaveformBegin(const Readiness& readiness, std::optional<std::int64_t> length_ns,
                             EdgeObserver* next, ArmTimer arm)
    : readiness_(readiness), length_ns_(length_ns), next_(next), arm_(arm) {}

void WaveformBegin::switched(std::int64_t planned_ns, std::int64_t switched_ns,
                             bool active) noexcept {
  if (!begun_) {
    begun_ = true;
    loads_missed_ = readiness_.missing();
    if (length_ns_) {
      arm_(*length_ns_);
    }
  }
  if (next_ != nullptr) {
    next_->switched(planned_ns, switched_ns, active);
  }
}

}  // namespace engine
