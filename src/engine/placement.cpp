#include "engine/placement.h"

#include <cstring>
#include <sstream>

#include "engine/complaint.h"
#include "engine/exit_status.h"
#include "engine/processors.h"
#include "vorn/signals.h"

namespace engine {

unsigned Placement::core(unsigned t) const {
  return processor_of(t, allowed_, one_);
}

void Placement::begin(unsigned t, std::uint32_t core) {
  if (binding_ == Binding::kLabels) {
    return;
  }
  if (const int error = bind_to_processor(core); error != 0) {
    std::ostringstream text;
    text << "thread " << t << " cannot be bound to core " << core << ": " << std::strerror(error);
    verdict.add(ExitStatus::kStartMissed);
    end_run();
    complain(text.str());
  }
}

std::string Placement::text(unsigned threads) const {
  std::ostringstream text;
  for (unsigned t = 0; t < threads; ++t) {
    text << (t == 0 ? "" : ", ") << "thread " << t << " is bound to core " << core(t);
  }
  return text.str();
}

}  // namespace engine
