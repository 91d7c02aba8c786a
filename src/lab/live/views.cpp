#include "lab/live/views.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "lab/live/line_view.h"
#include "lab/live/screen_view.h"
#include "lab/live/terminal.h"

namespace lab {

namespace {

class QuietView final : public View {
 public:
  void show(const LiveState& /*state*/) override {}
};

bool has_room(int fd) {
  constexpr int kLeastColumns = 40;
  constexpr int kLeastRows = 10;
  winsize size{};
  return ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col >= kLeastColumns &&
         size.ws_row >= kLeastRows;
}

bool understands_more_than_lines() {
  const char* term = std::getenv("TERM");
  return term != nullptr && !std::string_view(term).empty() && std::string_view(term) != "dumb";
}

}  // namespace

ViewKind fitting_kind(int fd) {
  if (isatty(fd) == 0 || !understands_more_than_lines() || !has_room(fd)) {
    return ViewKind::lines;
  }
  return in_foreground(fd) ? ViewKind::screen : ViewKind::lines;
}

std::unique_ptr<View> make_view(ViewKind kind, int fd) {
  switch (kind) {
    case ViewKind::screen:
      return std::make_unique<ScreenView>(fd, look_of_environment(),
                                          std::chrono::steady_clock::now);
    case ViewKind::lines:
      return std::make_unique<LineView>(fd);
    case ViewKind::quiet:
      break;
  }
  return std::make_unique<QuietView>();
}

}  // namespace lab
