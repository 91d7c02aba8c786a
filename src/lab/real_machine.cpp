#include "lab/engine_process/machine.h"

namespace lab {

const Machine& machine() {
  static constexpr Machine kReal{
      .program = "vorn-lab", .engine = "vorn-engine", .keys = "vorn-keys", .simulated = false};
  return kReal;
}

}  // namespace lab
