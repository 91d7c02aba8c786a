#include "lab/engine_process/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "lab/engine_process/caller.h"
#include "lab/engine_process/engine_error.h"

namespace lab {

namespace {

struct Pipe {
  Descriptor read;
  Descriptor write;
};

Pipe make_pipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw EngineError(std::string("no pipe: ") + std::strerror(errno));
  }
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void do_not_wait(const Descriptor& descriptor) {
  fcntl(descriptor.number(), F_SETFL, fcntl(descriptor.number(), F_GETFL) | O_NONBLOCK);
}

/// What the child does between fork and exec: async-signal-safe.
[[noreturn]] void become(const char* const* arguments, const Child::Start& start, int input,
                         int output, int errors) {
  setpgid(0, 0);
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(errors, STDERR_FILENO);
  for (const int number : start.kept) {
    fcntl(number, F_SETFD, 0);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  if (!start.as_root || become_root()) {
    execv(arguments[0], const_cast<char* const*>(arguments));
  }
  _exit(Child::kNotStarted);
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    close();
    number_ = other.release();
  }
  return *this;
}

void Descriptor::close() {
  if (number_ >= 0) {
    ::close(std::exchange(number_, -1));
  }
}

int Descriptor::release() {
  return std::exchange(number_, -1);
}

Child::Child(const Start& start) : as_root_(start.as_root) {
  Pipe input = make_pipe();
  Pipe output = make_pipe();
  Pipe errors = make_pipe();
  const std::string program = start.program.string();
  std::vector<const char*> arguments{program.c_str()};
  for (const std::string& argument : start.arguments) {
    arguments.push_back(argument.c_str());
  }
  arguments.push_back(nullptr);
  process_ = fork();
  if (process_ < 0) {
    throw EngineError(program + ": " + std::strerror(errno));
  }
  if (process_ == 0) {
    become(arguments.data(), start, input.read.number(), output.write.number(),
           errors.write.number());
  }
  input_ = std::move(input.write);
  output_ = std::move(output.read);
  errors_ = std::move(errors.read);
  do_not_wait(input_);
  do_not_wait(output_);
  do_not_wait(errors_);
}

Child::~Child() {
  input_.close();
  constexpr std::chrono::seconds kInOrder{10};  // fans are given back in a second or two
  std::string rest;
  if (!wait_for(kInOrder, rest, rest)) {
    signal(SIGKILL);
    wait(rest, rest);
  }
}

bool Child::write(const std::string& text) {
  const ssize_t written = ::write(input_.number(), text.data(), text.size());
  return written == static_cast<ssize_t>(text.size());
}

void Child::read(const Descriptor& pipe, std::string& text) {
  std::array<char, 4096> part{};
  for (;;) {
    const ssize_t count = ::read(pipe.number(), part.data(), part.size());
    if (count <= 0) {
      return;
    }
    text.append(part.data(), static_cast<std::size_t>(count));
  }
}

std::optional<int> Child::status() {
  int raw = 0;
  if (!status_ && waitpid(process_, &raw, WNOHANG) == process_) {
    status_ = WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw);
  }
  return status_;
}

int Child::wait(std::string& output, std::string& errors) {
  std::optional<int> ended;
  while (!ended) {
    ended = wait_for(std::chrono::hours(1), output, errors);
  }
  return *ended;
}

std::optional<int> Child::wait_for(std::chrono::milliseconds most, std::string& output,
                                   std::string& errors) {
  constexpr int kLook_ms = 20;  // a child may end without closing what a child of its own holds
  const auto until = std::chrono::steady_clock::now() + most;
  while (!status() && std::chrono::steady_clock::now() < until) {
    std::array<pollfd, 2> pipes{{{.fd = output_.number(), .events = POLLIN, .revents = 0},
                                 {.fd = errors_.number(), .events = POLLIN, .revents = 0}}};
    poll(pipes.data(), pipes.size(), kLook_ms);
    read_output(output);
    read_errors(errors);
  }
  read_output(output);
  read_errors(errors);
  return status_;
}

void Child::signal(int number) {
  if (status()) {
    return;
  }
  if (kill(process_, number) != 0 && errno == EPERM && as_root_) {
    const uid_t user = geteuid();  // the engine is root's: root is kept for starting and ending it
    if (seteuid(0) == 0) {
      kill(process_, number);
      if (seteuid(user) != 0) {
        std::abort();
      }
    }
  }
}

}  // namespace lab
