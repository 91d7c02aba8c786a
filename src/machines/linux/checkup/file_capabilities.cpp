#include "machines/linux/checkup/file_capabilities.h"

#include <endian.h>
#include <linux/capability.h>
#include <sys/xattr.h>

#include <cstdint>

namespace linux_machine {

std::vector<std::string> file_capabilities(const std::string& program) {
  vfs_ns_cap_data data{};
  const ssize_t size = getxattr(program.c_str(), "security.capability", &data, sizeof data);
  const std::uint32_t head = le32toh(data.magic_etc);
  if (size < ssize_t{XATTR_CAPS_SZ_1} || (head & VFS_CAP_FLAGS_EFFECTIVE) == 0) {
    return {};
  }
  const std::uint32_t permitted = le32toh(data.data[0].permitted);
  std::vector<std::string> names;
  if ((permitted & (1U << CAP_SYS_NICE)) != 0) {
    names.emplace_back("cap_sys_nice");
  }
  if ((permitted & ((1U << CAP_DAC_READ_SEARCH) | (1U << CAP_DAC_OVERRIDE))) != 0) {
    names.emplace_back("cap_dac_read_search");
  }
  return names;
}

}  // namespace linux_machine
