#include "keys/record_file.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>

#include "vorn/sample_file.h"

namespace vorn_keys {
namespace {

constexpr std::size_t kMostBytes = 64U << 20U;  // a thousand times as much as any machine's

/// The whole text, or what is wrong.
std::optional<std::string> text_of(const std::string& file, std::string& wrong) {
  std::ifstream in(file, std::ios::binary);
  std::string text;
  std::array<char, 65536> some;
  while (in && text.size() <= kMostBytes) {
    in.read(some.data(), some.size());
    text.append(some.data(), static_cast<std::size_t>(in.gcount()));
  }
  if (text.size() > kMostBytes) {
    wrong = "too large for a record";
  } else if (!in.eof()) {
    wrong = std::strerror(errno);
  } else {
    return text;
  }
  return std::nullopt;
}

}  // namespace

bool record_into(const std::string& file, const inspection::Console& console) {
  SampleFile out(file);
  if (out.open_error() != 0) {
    console.complain(file + ": " + std::strerror(out.open_error()));
    return false;
  }
  const std::optional<std::string> text = inspection::record(console);
  if (!text) {
    return false;
  }
  if (!out.write_line(*text) || !out.close()) {
    console.complain(file + ": " + std::strerror(out.error()));
    return false;
  }
  return true;
}

bool use_record_of(const std::string& file, const inspection::Console& console) {
  std::string wrong;
  const std::optional<std::string> text = text_of(file, wrong);
  if (text) {
    wrong = inspection::use_record(*text);
  }
  if (!wrong.empty()) {
    console.complain(file + ": " + wrong);
  }
  return wrong.empty();
}

}  // namespace vorn_keys
