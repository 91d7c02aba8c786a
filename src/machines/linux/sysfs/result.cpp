#include "machines/linux/sysfs/result.h"

#include <cerrno>
#include <cstring>

namespace sysfs {
namespace {

Trouble trouble_of(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ENODEV:
      return Trouble::absent;
    case EACCES:
    case EPERM:
    case EROFS:
      return Trouble::refused;
    default:
      return Trouble::silent;
  }
}

}  // namespace

Failure failure(const char* action, const std::string& path, int error) {
  return {trouble_of(error), std::string(action) + " " + path + ": " + std::strerror(error), error};
}

Failure nonsense(const std::string& path, const std::string& why) {
  return {Trouble::nonsense, "reading " + path + ": " + why};
}

}  // namespace sysfs
