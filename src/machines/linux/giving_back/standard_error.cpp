#include "machines/linux/giving_back/standard_error.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "machines/linux/giving_back/line_text.h"
#include "machines/linux/sysfs/printable.h"

namespace linux_machine {

void say_on_standard_error(std::string_view text) {
  constexpr int kPatienceMs = 100;
  pollfd standard_error{STDERR_FILENO, POLLOUT, 0};
  if (poll(&standard_error, 1, kPatienceMs) <= 0 || (standard_error.revents & POLLOUT) == 0) {
    return;
  }
  LineText line;
  line.add("vorn: ");
  sysfs::add_printable(text, [&](std::string_view part) { line.add(part); });
  line.add("\n");
  [[maybe_unused]] const ssize_t written =
      write(STDERR_FILENO, line.view().data(), line.view().size());
}

void keep_standard_descriptors() {
  int opened = 0;
  while (opened >= 0 && opened <= STDERR_FILENO) {
    opened = open("/dev/null", O_RDWR);
  }
  if (opened > STDERR_FILENO) {
    close(opened);
  }
}

}  // namespace linux_machine
