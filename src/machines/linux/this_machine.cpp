#include "machines/linux/this_machine.h"

#include "machines/linux/giving_back/standard_error.h"

std::vector<kx::Node> kx::compose_machine() {
  return linux_machine::this_machine().compose();
}

namespace linux_machine {

Machine& this_machine() {
  static Machine& the_machine = *[] {
    keep_standard_descriptors();
    return new Machine(this_surroundings());
  }();
  return the_machine;
}

}  // namespace linux_machine
