#include "vorn/notes.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "Process/shell_word.h"
#include "vorn/numbers.h"

namespace {

// A value from the command line may hold anything; a note is one line.
void make_printable(std::string& text) {
  constexpr unsigned char kDelete = 0x7F;
  for (char& character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (code < ' ' || code == kDelete) {
      character = '?';
    }
  }
}

bool standard_error_takes_a_line() {
  constexpr int kPatienceMs = 100;
  pollfd standard_error{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
  return poll(&standard_error, 1, kPatienceMs) > 0 && (standard_error.revents & POLLOUT) != 0;
}

}  // namespace

void say(const Notes& notes) {
  for (const Note& note : notes) {
    std::string line(program_name());
    line += ": note: " + note.text;
    make_printable(line);
    line += '\n';
    if (standard_error_takes_a_line()) {
      [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
    }
  }
}

std::string_view program_name() {
  return program_invocation_short_name;
}

std::string program_file() {
  const std::string_view called = program_invocation_name;
  if (called.find('/') != std::string_view::npos) {
    return process::shell_word(called);
  }
  return "\"$(command -v " + process::shell_word(called) + ")\"";
}

std::string program_beside(std::string_view name) {
  const std::string_view called = program_invocation_name;
  const std::size_t folder_end = called.rfind('/');
  if (folder_end != std::string_view::npos) {
    std::string path(called.substr(0, folder_end + 1));
    path += name;
    if (access(path.c_str(), X_OK) == 0) {
      return process::shell_word(path);
    }
  }
  return std::string(name);
}

std::string quoted(std::string_view text) {
  return '"' + std::string(text) + '"';
}

std::string number_text(double value) {
  std::string text;
  append_number(text, value);
  return text;
}
