#include "engine/asked_watch.h"

#include "engine/record/edge_log.h"
#include "engine/record/record.h"
#include "engine/waveforms/steered.h"

namespace engine {

void AskedWatch::switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept {
  look(planned_ns);
  next_.switched(planned_ns, switched_ns, active);
}

void AskedWatch::stayed(std::int64_t planned_ns) noexcept {
  look(planned_ns);
  next_.stayed(planned_ns);
}

void AskedWatch::look(std::int64_t planned_ns) noexcept {
  if (const auto effective = steered_.take_effective()) {
    record_.asked({.at_ns = planned_ns,
                   .shape = steering_name(effective->what),
                   .hz = effective->hz,
                   .offset = effective->offset,
                   .depth = effective->depth});
  }
}

}  // namespace engine
