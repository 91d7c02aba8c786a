#include "machines/linux/sysfs/attribute.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <utility>

#include "machines/linux/sysfs/parse.h"

namespace sysfs {
namespace {

constexpr int kTries = 3;

constexpr std::size_t kMostText = 4096;  // the kernel's own limit: one page an attribute

Failure silence(const std::string& path) {
  return {Trouble::silent, "reading " + path + ": it is empty"};
}

bool asks_to_be_repeated(ssize_t result) {
  return result == -EINTR || result == -EAGAIN;
}

}  // namespace

Result<Attribute> Attribute::open(Tree& tree, std::string path, Mode mode) {
  const int handle = tree.open(path.c_str(), mode);
  if (handle < 0) {
    return sysfs::failure("opening", path, -handle);
  }
  return Attribute(tree, std::move(path), handle);
}

Attribute::Attribute(Attribute&& other) noexcept
    : tree_(other.tree_),
      path_(std::move(other.path_)),
      handle_(std::exchange(other.handle_, -1)) {}

Attribute& Attribute::operator=(Attribute&& other) noexcept {
  std::swap(tree_, other.tree_);
  std::swap(path_, other.path_);
  std::swap(handle_, other.handle_);
  return *this;
}

Attribute::~Attribute() {
  if (handle_ >= 0) {
    tree_->close(handle_);
  }
}

ssize_t Attribute::read_into(std::span<char> text) {
  ssize_t got = -EINTR;
  for (int tries = 0; tries < kTries && asks_to_be_repeated(got); ++tries) {
    got = tree_->read(handle_, text);
  }
  return got;
}

Result<std::string> Attribute::read_text() {
  std::array<char, kMostText> text;
  const ssize_t got = read_into(text);
  if (got < 0) {
    return failure("reading", path_, static_cast<int>(-got));
  }
  const std::string_view whole = trimmed({text.data(), static_cast<std::size_t>(got)});
  if (whole.empty()) {
    return silence(path_);
  }
  return std::string(whole);
}

Result<long long> Attribute::read_integer() {
  std::array<char, 64> text;
  const ssize_t got = read_into(text);
  if (got < 0) {
    return failure("reading", path_, static_cast<int>(-got));
  }
  const std::string_view whole(text.data(), static_cast<std::size_t>(got));
  if (const auto value = parse_integer(whole)) {
    return *value;
  }
  return trimmed(whole).empty()
             ? silence(path_)
             : nonsense(path_, "\"" + std::string(trimmed(whole)) + "\" is not a number");
}

Result<Done> Attribute::write(std::string_view text) {
  ssize_t written = -EINTR;
  for (int tries = 0; tries < kTries && asks_to_be_repeated(written); ++tries) {
    written = tree_->write(handle_, text);
  }
  if (written < 0) {
    return failure("writing", path_, static_cast<int>(-written));
  }
  return Done{};
}

Result<Done> Attribute::write(long long value) {
  std::array<char, 24> text;
  char* const end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  return write(std::string_view(text.data(), static_cast<std::size_t>(end - text.data())));
}

Result<std::string> read_text(Tree& tree, const std::string& path) {
  Result<Attribute> attribute = Attribute::open(tree, path, Mode::read);
  return attribute ? attribute->read_text() : attribute.failure();
}

Result<long long> read_integer(Tree& tree, const std::string& path) {
  Result<Attribute> attribute = Attribute::open(tree, path, Mode::read);
  return attribute ? attribute->read_integer() : attribute.failure();
}

Result<Done> write_text(Tree& tree, const std::string& path, std::string_view text) {
  Result<Attribute> attribute = Attribute::open(tree, path, Mode::write);
  return attribute ? attribute->write(text) : attribute.failure();
}

Result<Done> write_integer(Tree& tree, const std::string& path, long long value) {
  Result<Attribute> attribute = Attribute::open(tree, path, Mode::write);
  return attribute ? attribute->write(value) : attribute.failure();
}

std::vector<std::string> list(Tree& tree, const std::string& folder) {
  std::vector<std::string> names;
  tree.list(folder.c_str(), names);
  return names;
}

bool exists(Tree& tree, const std::string& path) {
  return !tree.real_path(path.c_str()).empty();
}

}  // namespace sysfs
