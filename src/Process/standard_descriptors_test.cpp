#include "Process/standard_descriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace {

// Descriptors belong to the process, so each of these ends in a process of its own.
#define EXPECT_IN_CHILD(function) \
  EXPECT_EXIT({ std::_Exit(function() ? 0 : 1); }, testing::ExitedWithCode(0), "")

bool is_open(int descriptor) {
  return fcntl(descriptor, F_GETFD) >= 0;
}

void close_standard_descriptors() {
  close(STDIN_FILENO);
  close(STDOUT_FILENO);
  close(STDERR_FILENO);
}

TEST(StandardDescriptorsDeathTest, TheFirstFileOpenedGetsNoneOfThem) {
  EXPECT_IN_CHILD([] {
    close_standard_descriptors();
    process::hold_standard_descriptors();
    return open("/dev/null", O_RDWR) > STDERR_FILENO;
  });
}

TEST(StandardDescriptorsDeathTest, WhatIsTakenCanStillNotBeReadOrWritten) {
  EXPECT_IN_CHILD([] {
    close_standard_descriptors();
    process::hold_standard_descriptors();
    char one = 'x';
    return read(STDIN_FILENO, &one, 1) < 0 && errno == EBADF && write(STDOUT_FILENO, &one, 1) < 0 &&
           errno == EBADF && write(STDERR_FILENO, &one, 1) < 0 && errno == EBADF;
  });
}

TEST(StandardDescriptorsDeathTest, OneThatIsOpenIsLeftAlone) {
  EXPECT_IN_CHILD([] {
    close(STDOUT_FILENO);
    const int before = fcntl(STDERR_FILENO, F_GETFL);
    process::hold_standard_descriptors();
    return is_open(STDOUT_FILENO) && fcntl(STDERR_FILENO, F_GETFL) == before &&
           write(STDERR_FILENO, "", 0) == 0;
  });
}

}  // namespace
