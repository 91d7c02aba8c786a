#include "lab/report/gnuplot_process.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace lab {

namespace {

/// A file without a name that ends with the object: with it, the program can neither block nor be
/// blocked, as it could with pipes.
class Scratch {
 public:
  Scratch() : file_(std::tmpfile()) {
    if (file_ == nullptr) {
      throw PlotError(std::string("cannot make a temporary file: ") + std::strerror(errno) +
                      " (make room in /tmp)");
    }
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { static_cast<void>(std::fclose(file_)); }

  void fill(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), file_) != text.size() || std::fflush(file_) != 0) {
      throw PlotError(std::string("cannot write a temporary file: ") + std::strerror(errno) +
                      " (make room in /tmp)");
    }
    std::rewind(file_);
  }

  std::string contents() {
    std::rewind(file_);
    std::string all;
    std::array<char, 65536> part{};
    for (std::size_t count = 1; count > 0;) {
      count = std::fread(part.data(), 1, part.size(), file_);
      all.append(part.data(), count);
    }
    return all;
  }

  int descriptor() const { return fileno(file_); }

 private:
  std::FILE* file_;
};

/// Which of the child's descriptors is which file.
class Redirections {
 public:
  Redirections() { posix_spawn_file_actions_init(&actions_); }
  Redirections(const Redirections&) = delete;
  Redirections& operator=(const Redirections&) = delete;
  ~Redirections() { posix_spawn_file_actions_destroy(&actions_); }
  void add(const Scratch& file, int descriptor) {
    posix_spawn_file_actions_adddup2(&actions_, file.descriptor(), descriptor);
  }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

std::string run_gnuplot(const std::string& script, const std::string& program) {
  Scratch in;
  Scratch out;
  Scratch complaints;
  in.fill(script);
  Redirections redirections;
  redirections.add(in, STDIN_FILENO);
  redirections.add(out, STDOUT_FILENO);
  redirections.add(complaints, STDERR_FILENO);
  // Without the user's own settings, a picture is the same for everybody.
  std::string name = program;
  std::string option = "-d";
  std::array<char*, 3> arguments{name.data(), option.data(), nullptr};
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, program.c_str(), redirections.get(), nullptr, arguments.data(), environ);
  if (error == ENOENT) {
    throw PlotError(program + " is not installed (install the package gnuplot-nox)");
  }
  if (error != 0) {
    throw PlotError("cannot start " + program + ": " + std::strerror(error));
  }
  const int status = wait_for(child);
  std::string picture = out.contents();
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || picture.empty()) {
    throw PlotError(program + " made no picture: " + complaints.contents());
  }
  return picture;
}

}  // namespace lab
