#include "machines/linux/fans/kept_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string_view>

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Result;

constexpr mode_t kFolderMode = 0755;
constexpr mode_t kFileMode = 0644;

Result<Done> write_whole(int file, const std::string& path, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(file, text.data(), text.size());
    if (written < 0 && errno != EINTR) {
      return sysfs::failure("writing", path, errno);
    }
    text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
  }
  // The name must not come to stand for a file whose content is still on its way.
  return fsync(file) == 0 ? Result<Done>(Done{}) : sysfs::failure("writing", path, errno);
}

Result<Done> replace_file(const std::string& path, const std::string& text) {
  const std::string fresh = path + ".new";
  const int file = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode);
  if (file < 0) {
    return sysfs::failure("writing", fresh, errno);
  }
  fchmod(file, kFileMode);  // whatever the umask: everyone may read how fast a fan turns
  Result<Done> result = write_whole(file, fresh, text);
  ::close(file);
  if (result && std::rename(fresh.c_str(), path.c_str()) != 0) {
    result = sysfs::failure("writing", path, errno);
  }
  if (!result) {
    unlink(fresh.c_str());
  }
  return result;
}

}  // namespace

std::string kept_text(const std::string& path) {
  const std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

Result<Done> keep_text(const std::string& folder, const std::string& path,
                       const std::string& text) {
  if (mkdir(folder.c_str(), kFolderMode) == 0) {
    chmod(folder.c_str(), kFolderMode);  // whatever the umask
  } else if (errno != EEXIST) {
    return sysfs::failure("making", folder, errno);
  }
  return replace_file(path, text);
}

}  // namespace linux_machine
