#include "keys/console.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>

namespace vorn_keys {
namespace {

constexpr int kBarWidth = 40;

void draw_bar(double fraction, const std::string& what) {
  const int filled = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * kBarWidth);
  const std::string bar = std::string(static_cast<std::size_t>(filled), '#') +
                          std::string(static_cast<std::size_t>(kBarWidth - filled), '.');
  std::cerr << "\r\033[K[" << bar << "] " << static_cast<int>(fraction * 100.0) << "% " << what
            << std::flush;
}

}  // namespace

inspection::Console make_console() {
  const bool terminal = isatty(STDERR_FILENO) == 1;
  const auto clear = [terminal] {
    if (terminal) {
      std::cerr << "\r\033[K" << std::flush;
    }
  };
  return {.progress =
              [terminal, last = std::make_shared<std::string>()](double fraction,
                                                                 const std::string& what) {
                if (terminal) {
                  draw_bar(fraction, what);
                } else if (what != *last) {  // a log gets a line for each step
                  std::cerr << what << std::endl;
                  *last = what;
                }
              },
          .print =
              [clear](const std::string& line) {
                clear();
                std::cout << line << std::endl;
              },
          .complain =
              [clear](const std::string& line) {
                clear();
                std::cerr << line << std::endl;
              }};
}

}  // namespace vorn_keys
