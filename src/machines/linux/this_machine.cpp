#include "machines/linux/this_machine.h"

#include "machines/linux/drivers/composition.h"
#include "machines/linux/giving_back/standard_error.h"

std::vector<kx::Node> kx::compose_machine() {
  return linux_machine::compose(linux_machine::this_machine());
}

namespace linux_machine {
namespace {

const Surroundings* others = nullptr;

}  // namespace

void use_surroundings(const Surroundings& surroundings) {
  others = &surroundings;
}

const Surroundings& used_surroundings() {
  return others == nullptr ? this_surroundings() : *others;
}

Machine& this_machine() {
  static Machine& the_machine = *[] {
    keep_standard_descriptors();
    return new Machine(used_surroundings());
  }();
  return the_machine;
}

}  // namespace linux_machine
