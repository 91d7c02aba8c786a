#include "lab/engine_process/machine.h"

namespace lab {

const Machine& machine() {
  static constexpr Machine kSimulated{.program = "vorn-lab-sim",
                                      .engine = "vorn-engine-sim",
                                      .keys = "vorn-keys-sim",
                                      .simulated = true};
  return kSimulated;
}

}  // namespace lab
