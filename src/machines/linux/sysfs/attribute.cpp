#include "machines/linux/sysfs/attribute.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "machines/linux/sysfs/parse.h"
#include "machines/linux/sysfs/patience.h"

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

ssize_t read_with_tries(Tree& tree, int handle, std::span<char> text) {
  ssize_t got = -EINTR;
  for (int tries = 0; tries < kTries && asks_to_be_repeated(got); ++tries) {
    got = tree.read(handle, text);
  }
  return got;
}

Failure not_answered(const char* action, const std::string& path, const std::string& why) {
  return {Trouble::silent, std::string(action) + " " + path + ": " + why};
}

Result<int> opened(const std::string& path, ssize_t handle) {
  return handle < 0 ? Result<int>(failure("opening", path, static_cast<int>(-handle)))
                    : Result<int>(static_cast<int>(handle));
}

/// Reading asks with the rights of the user, and with those of the caller if that is refused: a
/// thread that does not come back is to hold no more of them than it needs.
std::optional<ssize_t> ask_patiently(Patience& patience, const std::string& path,
                                     Patience::Answers answers, Mode mode,
                                     const std::function<ssize_t()>& work,
                                     const std::function<void(ssize_t)>& late = nullptr) {
  using Rights = Patience::Rights;
  const Rights first = mode == Mode::read ? Rights::of_user : Rights::of_caller;
  const std::optional<ssize_t> result = patience.wait_for(path, answers, first, work, late);
  return result == -EACCES && first == Rights::of_user && geteuid() != getuid()
             ? patience.wait_for(path, answers, Rights::of_caller, work, late)
             : result;
}

Result<int> open_patiently(Tree& tree, const std::string& path, Mode mode) {
  Patience& patience = *tree.patience();
  if (const std::string why = patience.why_not(path); !why.empty()) {
    return not_answered("opening", path, why);
  }
  const auto work = [&tree, path, mode]() -> ssize_t { return tree.open(path.c_str(), mode); };
  const auto close = [&tree](ssize_t handle) {
    if (handle >= 0) {
      tree.close(static_cast<int>(handle));
    }
  };
  const std::optional<ssize_t> handle =
      ask_patiently(patience, path, Patience::Answers::not_yet, mode, work, close);
  return handle ? opened(path, *handle) : not_answered("opening", path, patience.given_up());
}

Result<std::size_t> got_or_failed(const std::string& path, ssize_t got) {
  return got < 0 ? Result<std::size_t>(failure("reading", path, static_cast<int>(-got)))
                 : Result<std::size_t>(static_cast<std::size_t>(got));
}

Result<std::string> text_of(const std::string& path, std::string_view said) {
  const std::string_view whole = trimmed(said);
  return whole.empty() ? Result<std::string>(silence(path)) : std::string(whole);
}

Result<long long> integer_of(const std::string& path, std::string_view said) {
  if (const auto value = parse_integer(said)) {
    return *value;
  }
  const std::string_view whole = trimmed(said);
  return whole.empty() ? silence(path)
                       : nonsense(path, "\"" + std::string(whole) + "\" is not a number");
}

/// Opens, reads and closes in one go, for half of the cost of waiting for each.
Result<std::string> first_read(Tree& tree, const std::string& path) {
  struct Said {
    std::atomic<bool> is_open{false};
    std::array<char, kMostText> text;
  };
  Patience& patience = *tree.patience();
  if (const std::string why = patience.why_not(path); !why.empty()) {
    return not_answered("opening", path, why);
  }
  const auto said = std::make_shared<Said>();
  const auto work = [&tree, path, said]() -> ssize_t {
    const int handle = tree.open(path.c_str(), Mode::read);
    if (handle < 0) {
      return handle;
    }
    said->is_open = true;
    const ssize_t got = read_with_tries(tree, handle, said->text);
    tree.close(handle);
    return got;
  };
  const std::optional<ssize_t> got =
      ask_patiently(patience, path, Patience::Answers::yes, Mode::read, work);
  const char* const action = said->is_open ? "reading" : "opening";
  if (!got) {
    return not_answered(action, path, patience.given_up());
  }
  return *got < 0 ? Result<std::string>(failure(action, path, static_cast<int>(-*got)))
                  : std::string(said->text.data(), static_cast<std::size_t>(*got));
}

template <class Value>
Result<Value> read_once(Tree& tree, const std::string& path,
                        Result<Value> (*value_of)(const std::string&, std::string_view),
                        Result<Value> (Attribute::*read)()) {
  if (tree.patience() != nullptr && !tree.patience()->has_answered(path)) {
    const Result<std::string> said = first_read(tree, path);
    return said ? value_of(path, *said) : said.failure();
  }
  Result<Attribute> attribute = Attribute::open(tree, path, Mode::read);
  return attribute ? ((*attribute).*read)() : attribute.failure();
}

Result<std::size_t> read_patiently(Tree& tree, int handle, const std::string& path,
                                   std::span<char> text) {
  Patience& patience = *tree.patience();
  if (const std::string why = patience.why_not(path); !why.empty()) {
    return not_answered("reading", path, why);
  }
  // A read that is given up may still come back, and writes into memory of its own.
  const auto room = std::make_shared<std::vector<char>>(text.size());
  const auto work = [&tree, handle, room] { return read_with_tries(tree, handle, *room); };
  const std::optional<ssize_t> got =
      patience.wait_for(path, Patience::Answers::yes, Patience::Rights::of_user, work);
  if (!got) {
    return not_answered("reading", path, patience.given_up());
  }
  std::copy(room->begin(), room->end(), text.begin());
  return got_or_failed(path, *got);
}

}  // namespace

Result<Attribute> Attribute::open(Tree& tree, std::string path, Mode mode) {
  Patience* const patience = tree.patience();
  const bool direct = patience == nullptr || patience->has_answered(path);
  const Result<int> handle =
      direct ? opened(path, tree.open(path.c_str(), mode)) : open_patiently(tree, path, mode);
  if (!handle) {
    return handle.failure();
  }
  Attribute attribute(tree, std::move(path), *handle);
  attribute.has_answered_ = direct;
  return attribute;
}

Attribute::Attribute(Attribute&& other) noexcept
    : tree_(other.tree_),
      path_(std::move(other.path_)),
      handle_(std::exchange(other.handle_, -1)),
      has_answered_(other.has_answered_) {}

Attribute& Attribute::operator=(Attribute&& other) noexcept {
  std::swap(tree_, other.tree_);
  std::swap(path_, other.path_);
  std::swap(handle_, other.handle_);
  std::swap(has_answered_, other.has_answered_);
  return *this;
}

Attribute::~Attribute() {
  if (handle_ >= 0) {
    tree_->close(handle_);
  }
}

Result<std::size_t> Attribute::read_into(std::span<char> text) {
  if (has_answered_) {
    return got_or_failed(path_, read_with_tries(*tree_, handle_, text));
  }
  Result<std::size_t> got = read_patiently(*tree_, handle_, path_, text);
  has_answered_ = tree_->patience()->has_answered(path_);
  return got;
}

Result<std::string> Attribute::read_text() {
  std::array<char, kMostText> text;
  const Result<std::size_t> got = read_into(text);
  if (!got) {
    return got.failure();
  }
  return text_of(path_, {text.data(), *got});
}

Result<long long> Attribute::read_integer() {
  std::array<char, 64> text;
  const Result<std::size_t> got = read_into(text);
  if (!got) {
    return got.failure();
  }
  return integer_of(path_, {text.data(), *got});
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
  return read_once<std::string>(tree, path, text_of, &Attribute::read_text);
}

Result<long long> read_integer(Tree& tree, const std::string& path) {
  return read_once<long long>(tree, path, integer_of, &Attribute::read_integer);
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
