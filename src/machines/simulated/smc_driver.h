#pragma once

#include "machines/controller/key_service.h"
#include "machines/simulated/machine.h"

namespace simulated {

/// The driver of the simulated controller. Outlived by the machine that it is given.
class SmcDriver : public controller::KeyService {
 public:
  explicit SmcDriver(Machine& machine);
};

}  // namespace simulated
