#include "support/held_sync.h"

#include <unistd.h>

#include <chrono>
#include <thread>

namespace held_sync {

std::atomic<bool> held{false};
std::atomic<int> waiting{0};
std::atomic<int> commits{0};

void reset() {
  held = false;
  waiting = 0;
  commits = 0;
}

}  // namespace held_sync

extern "C" void sync() noexcept {
  ++held_sync::waiting;
  while (held_sync::held) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ++held_sync::commits;
}
