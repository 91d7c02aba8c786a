#include "lab/engine_process/caller.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "lab/engine_process/engine_error.h"

namespace lab {

namespace {

std::optional<uid_t> sudo_user() {
  const char* text = std::getenv("SUDO_UID");
  if (text == nullptr || getuid() != 0 || geteuid() != 0) {
    return std::nullopt;
  }
  uid_t user = 0;
  const std::string_view view(text);
  const auto [end, error] = std::from_chars(view.data(), view.data() + view.size(), user);
  if (error != std::errc() || end != view.data() + view.size() || user == 0) {
    return std::nullopt;
  }
  return user;
}

}  // namespace

void become_caller() {
  const std::optional<uid_t> user = sudo_user();
  if (!user) {
    return;
  }
  const passwd* entry = getpwuid(*user);
  if (entry == nullptr || initgroups(entry->pw_name, entry->pw_gid) != 0 ||
      setresgid(entry->pw_gid, entry->pw_gid, 0) != 0 || setresuid(*user, *user, 0) != 0) {
    throw EngineError("cannot work as the user " + std::to_string(*user) + " of sudo: " +
                      (entry == nullptr ? "there is no such user" : std::strerror(errno)));
  }
}

bool may_start_as_root() {
  uid_t real = 0;
  uid_t effective = 0;
  uid_t saved = 0;
  return getresuid(&real, &effective, &saved) == 0 && saved == 0;
}

bool become_root() noexcept {
  return setresuid(0, 0, 0) == 0 && setresgid(0, 0, 0) == 0 && setgroups(0, nullptr) == 0;
}

}  // namespace lab
