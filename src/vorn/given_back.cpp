#include "vorn/given_back.h"

#include <unistd.h>

#include <chrono>

#include "Process/patient_write.h"

void say_on_the_way_out(std::string_view text) {
  constexpr std::chrono::seconds kPatience(1);
  process::write_until(STDERR_FILENO, text, std::chrono::steady_clock::now() + kPatience);
}
