#include "support/program.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace program {

namespace {

constexpr uid_t kOrdinaryUserId = 64321;  // a user that nothing else runs as

[[noreturn]] void give_up(const char* what) {
  std::perror(what);
  _exit(126);
}

void must(bool done, const char* what) {
  if (!done) {
    give_up(what);
  }
}

void limit(__rlimit_resource resource, rlim_t value) {
  const rlimit both{value, value};
  must(setrlimit(resource, &both) == 0, "setrlimit");
}

sock_filter statement(unsigned code, unsigned k) {
  return BPF_STMT(static_cast<unsigned short>(code), k);
}

// Skips the next `otherwise` instructions if the loaded word is not `k`.
sock_filter unless_equal(unsigned k, unsigned otherwise) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, k, 0, static_cast<unsigned char>(otherwise));
}

void refuse(const std::vector<RefusedCall>& calls) {
  if (calls.empty()) {
    return;
  }
  std::vector<sock_filter> filter;
  for (const RefusedCall& call : calls) {
    const unsigned rest = call.first_argument ? 3 : 1;
    filter.push_back(statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
    filter.push_back(unless_equal(static_cast<unsigned>(call.number), rest));
    if (call.first_argument) {
      filter.push_back(statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)));
      filter.push_back(unless_equal(*call.first_argument, 1));
    }
    filter.push_back(
        statement(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(call.error)));
  }
  filter.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog prog{static_cast<unsigned short>(filter.size()), filter.data()};
  must(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "no_new_privs");
  must(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &prog) == 0, "seccomp");
}

using CapabilitySets = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

// Kept over the change of the user id, and over the start of the program.
void keep_only_sys_nice() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  constexpr unsigned kSysNice = 1U << CAP_SYS_NICE;
  CapabilitySets sets{};
  sets[0] = {kSysNice, kSysNice, kSysNice};
  must(syscall(SYS_capset, &header, sets.data()) == 0, "capset");
  must(prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, CAP_SYS_NICE, 0, 0) == 0, "ambient");
}

void become(const Command& command) {
  if (command.fixed_priority_limit || command.as == As::kOrdinaryUser) {
    limit(RLIMIT_RTPRIO, command.fixed_priority_limit.value_or(0));
  }
  if (command.as == As::kRoot || geteuid() != 0) {
    return;
  }
  const bool keeps_right =
      command.as == As::kUserWithFixedPriority && !command.fixed_priority_limit;
  must(setgroups(0, nullptr) == 0, "setgroups");
  must(prctl(PR_SET_KEEPCAPS, keeps_right ? 1 : 0, 0, 0, 0) == 0, "keepcaps");
  must(setresgid(kOrdinaryUserId, kOrdinaryUserId, kOrdinaryUserId) == 0, "setresgid");
  must(setresuid(kOrdinaryUserId, kOrdinaryUserId, kOrdinaryUserId) == 0, "setresuid");
  if (keeps_right) {
    keep_only_sys_nice();
  }
}

// In the child, after fork.
[[noreturn]] void become_program(const Command& command, int executable, int out, int err) {
  const int error = command.standard_error >= 0 ? command.standard_error : err;
  must(dup2(out, STDOUT_FILENO) >= 0 && dup2(error, STDERR_FILENO) >= 0, "dup2");
  const int in = command.standard_input >= 0 ? command.standard_input : open("/dev/null", O_RDONLY);
  must(dup2(in, STDIN_FILENO) >= 0, "dup2");
  for (const int signo : command.ignored_signals) {
    std::signal(signo, SIG_IGN);
  }
  if (command.one_processor) {
    cpu_set_t first;
    CPU_ZERO(&first);
    CPU_SET(0, &first);
    must(sched_setaffinity(0, sizeof first, &first) == 0, "sched_setaffinity");
  }
  if (command.process_limit) {
    limit(RLIMIT_NPROC, *command.process_limit);
  }
  become(command);
  std::vector<char*> argv;
  std::string called = command.called;
  std::vector<std::string> arguments = command.arguments;
  if (!command.empty_argv) {
    argv.push_back(called.data());
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
  }
  argv.push_back(nullptr);
  // Else every run ends a second late, a guardian, a process without exec, has no threads, and the
  // runtime's shadow of a load's memory is made of small pages: in more time than a load may take.
  std::string sanitizer =
      "TSAN_OPTIONS=atexit_sleep_ms=0:die_after_fork=0:no_huge_pages_for_shadow=0";
  std::vector<std::string> variables = command.environment;
  std::vector<char*> environment;
  if (kSanitized) {
    environment.push_back(sanitizer.data());
  }
  for (std::string& variable : variables) {
    environment.push_back(variable.data());
  }
  environment.push_back(nullptr);
  refuse(command.refused);
  for (const int descriptor : command.closed) {
    close(descriptor);
  }
  // By descriptor: an ordinary user need not be able to walk to where the tests were built.
  syscall(SYS_execveat, executable, "", argv.data(), environment.data(), AT_EMPTY_PATH);
  give_up("execveat");
}

std::string contents(std::FILE* file) {
  std::string text;
  std::array<char, 4096> block{};
  off_t at = 0;
  for (ssize_t got; (got = pread(fileno(file), block.data(), block.size(), at)) > 0; at += got) {
    text.append(block.data(), static_cast<std::size_t>(got));
  }
  return text;
}

/// Without what a sanitizer's runtime says when it cannot stop a thread to look for its leaks.
std::string without_unstopped_threads(const std::string& err) {
  static const std::regex kUnstopped("==[0-9]+==Running thread [0-9]+ was not suspended[^\n]*\n");
  return kSanitized ? std::regex_replace(err, kUnstopped, "") : err;
}

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

Running::Running(const Command& command)
    : out_(command.standard_output.empty() ? std::tmpfile()
                                           : std::fopen(command.standard_output.c_str(), "w"),
           std::fclose),
      err_(std::tmpfile(), std::fclose),
      started_(Clock::now()) {
  const int executable = open(command.path.c_str(), O_RDONLY);
  if (executable < 0 || !out_ || !err_) {
    throw std::runtime_error("cannot start " + command.path);
  }
  pid_ = fork();
  if (pid_ == 0) {
    become_program(command, executable, fileno(out_.get()), fileno(err_.get()));
  }
  close(executable);
}

Running::~Running() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
}

bool Running::send(int signo) const {
  return pid_ > 0 && kill(pid_, signo) == 0;
}

bool Running::catches(int signo) const {
  std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
  for (std::string word; status >> word;) {
    if (word == "SigCgt:") {
      unsigned long long caught = 0;
      status >> std::hex >> caught;
      return (caught & (1ULL << (signo - 1))) != 0;
    }
  }
  return false;
}

bool Running::wait_until_catching(double limit_seconds) const {
  const Clock::time_point start = Clock::now();
  while (!catches(SIGINT)) {
    if (seconds_since(start) > limit_seconds) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

std::string Running::out() const {
  return contents(out_.get());
}

std::string Running::err() const {
  return without_unstopped_threads(contents(err_.get()));
}

Outcome Running::wait(double limit_seconds) {
  Outcome outcome;
  int status = 0;
  pid_t ended = 0;
  while ((ended = waitpid(pid_, &status, WNOHANG)) == 0 && !outcome.timed_out) {
    outcome.timed_out = seconds_since(started_) > limit_seconds;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  if (ended == 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, &status, 0);
  }
  pid_ = -1;
  outcome.seconds = seconds_since(started_);
  outcome.out = out();
  outcome.err = err();
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  return outcome;
}

std::string without_lateness(const std::string& err) {
  static const std::regex kLateness("[^\n]*: note: of (the first )?[0-9.]+ s(amples)? [^\n]*\n");
  return std::regex_replace(err, kLateness, "");
}

Outcome run(const Command& command, double limit_seconds) {
  return Running(command).wait(limit_seconds);
}

bool may_run(As as, std::string& why) {
  if (geteuid() == 0 || as == As::kOrdinaryUser) {
    return true;
  }
  if (as == As::kRoot) {
    why = "needs root";
    return false;
  }
  rlimit priority{};
  getrlimit(RLIMIT_RTPRIO, &priority);
  why = "needs the right to a fixed priority: run as root, or with ulimit -r 64";
  return priority.rlim_cur >= 64;
}

bool may_raise_limits() {
  rlimit before{};
  getrlimit(RLIMIT_RTPRIO, &before);
  const rlimit raised{99, 99};
  const bool may = setrlimit(RLIMIT_RTPRIO, &raised) == 0;
  setrlimit(RLIMIT_RTPRIO, &before);
  return may;
}

}  // namespace program
