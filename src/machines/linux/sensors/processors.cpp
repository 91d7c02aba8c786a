#include "machines/linux/sensors/processors.h"

#include <set>
#include <string>

#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

constexpr const char* kProcessorsFolder = "devices/system/cpu";

}  // namespace

// "cpu:type:x86,ven0002fam0019mod0011:feature:...", with the kernel's numbers of vendors: 2 is AMD
// and 9 Hygon (arch/x86/include/asm/processor.h).
bool are_amd(sysfs::Tree& tree) {
  const auto modalias = sysfs::read_text(tree, std::string(kProcessorsFolder) + "/modalias");
  return modalias && (modalias->find(",ven0002") != std::string::npos ||
                      modalias->find(",ven0009") != std::string::npos);
}

std::size_t count_packages(sysfs::Tree& tree) {
  std::set<long long> packages;
  for (const std::string& name : sysfs::list(tree, kProcessorsFolder)) {
    if (sysfs::channel_of(name, "cpu", "")) {
      const auto id = sysfs::read_integer(
          tree, std::string(kProcessorsFolder) + "/" + name + "/topology/physical_package_id");
      if (id) {
        packages.insert(*id);
      }
    }
  }
  return packages.size();
}

}  // namespace linux_machine
