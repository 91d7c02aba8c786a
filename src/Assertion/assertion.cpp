#include "Assertion/assertion.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "Process/foremost_thread.h"

void assertion_failed(const char* expression, const char* module, int line, const char* function) {
  process::become_foremost_thread();  // the load must not come between the text and the end
  std::string text = "Assertion failed: (" + std::string(expression) + "), function " + function +
                     ", file " + module;
  if (line != 0) {
    text += ", line " + std::to_string(line);
  }
  text += ".\n";
  // One write: the other threads may be printing, and some of them at a fixed priority.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
  std::abort();
}
