#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace lab {

/// A descriptor that is closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }

  int number() const { return number_; }
  void close();

 private:
  int release();
  int number_;
};

/// Another program that runs, with pipes to its standard input, output and error. In a process
/// group of its own: Ctrl-C in the terminal does not reach it.
class Child {
 public:
  /// Its status if the program could not be started, as shells have it.
  static constexpr int kNotStarted = 127;

  struct Start {
    std::filesystem::path program;
    std::vector<std::string> arguments;  ///< without the program's name
    bool as_root = false;
    std::vector<int> kept;  ///< descriptors that the program inherits beside 0 to 2
  };

  /// Starts the program. Throws EngineError.
  explicit Child(const Start& start);
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  /// Closes its input, which ends an engine in order, and waits for that: ten seconds at the most.
  /// Kills what has not ended by then.
  ~Child();

  /// Writes to its standard input. Returns whether it took all.
  bool write(const std::string& text);
  void close_input() { input_.close(); }

  /// Adds what it has written to the texts. Does not wait.
  void read_output(std::string& text) { read(output_, text); }
  void read_errors(std::string& text) { read(errors_, text); }

  /// Its exit status, or 128 and the number of the signal that ended it; nothing while it runs.
  std::optional<int> status();

  /// Waits for its end, and reads both outputs until then.
  int wait(std::string& output, std::string& errors);

  /// The same, for so long at the most. Returns nothing if it runs on.
  std::optional<int> wait_for(std::chrono::milliseconds most, std::string& output,
                              std::string& errors);

  void signal(int number);
  pid_t process() const { return process_; }

 private:
  static void read(const Descriptor& pipe, std::string& text);

  pid_t process_ = -1;
  bool as_root_;
  Descriptor input_;
  Descriptor output_;
  Descriptor errors_;
  std::optional<int> status_;
};

}  // namespace lab
