#include "Process/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool out_of_memory = false;

}  // namespace

// This program's own, so that memory can run out.
void* operator new(std::size_t size) {
  void* const memory = out_of_memory ? nullptr : std::malloc(std::max<std::size_t>(size, 1));
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace {

TEST(Threads, AreLeftOutForWantOfMemory) {
  out_of_memory = true;
  const std::vector<pid_t> threads = process::threads();
  out_of_memory = false;
  EXPECT_TRUE(threads.empty());
}

}  // namespace
