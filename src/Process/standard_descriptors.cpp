#include "Process/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>

void process::hold_standard_descriptors() noexcept {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) {
      continue;
    }
    // The lowest number that is free is this one: those below it are held.
    const int wrong_way = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (open("/dev/null", wrong_way) < 0) {
      open("/", O_PATH);  // where there are no devices: nothing can be read or written through it
    }
  }
}
