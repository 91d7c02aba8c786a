#include "lab/engine_process/line_tail.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "lab/engine_process/engine_error.h"

namespace lab {

LineTail::LineTail(const std::filesystem::path& path)
    : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (file_.number() < 0) {
    throw EngineError(path.string() + ": " + std::strerror(errno));
  }
}

void LineTail::read(const std::function<void(std::string_view line)>& use) {
  std::array<char, 65536> part{};
  for (;;) {
    const ssize_t count = ::read(file_.number(), part.data(), part.size());
    if (count <= 0) {
      return;
    }
    rest_.append(part.data(), static_cast<std::size_t>(count));
    std::size_t begin = 0;
    for (std::size_t end = rest_.find('\n'); end != std::string::npos;
         end = rest_.find('\n', begin)) {
      use(std::string_view(rest_).substr(begin, end - begin));
      begin = end + 1;
    }
    rest_.erase(0, begin);
  }
}

}  // namespace lab
