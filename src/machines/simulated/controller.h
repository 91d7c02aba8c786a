#pragma once

#include "machines/controller/key_service.h"
#include "machines/simulated/machine.h"

namespace simulated {

/// The driver of the simulated controller. Outlived by the machine that it is given.
class Controller : public controller::KeyService {
 public:
  explicit Controller(Machine& machine);
};

}  // namespace simulated
