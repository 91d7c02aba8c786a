#include "lab/data/file_text.h"

#include <array>
#include <cerrno>
#include <fstream>

namespace lab {

std::optional<std::string> text_of_file(const std::string& path) {
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    return std::nullopt;
  }
  std::string text;
  std::array<char, 65536> part{};
  // read() turns what the buffer below throws, of a folder for example, into a state.
  while (file.read(part.data(), part.size()) || file.gcount() > 0) {
    text.append(part.data(), static_cast<std::size_t>(file.gcount()));
  }
  return file.bad() ? std::nullopt : std::optional(std::move(text));
}

}  // namespace lab
