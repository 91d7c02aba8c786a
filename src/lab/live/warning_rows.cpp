#include "lab/live/warning_rows.h"

#include <algorithm>

#include "lab/data/characters.h"
#include "lab/live/fitting.h"

namespace lab {

std::vector<std::string> warning_rows(const std::vector<std::string>& warnings, int rows,
                                      int columns, Look look) {
  const auto most = static_cast<std::size_t>(std::max(1, rows));
  std::vector<std::string> lines;
  std::size_t older = warnings.size();
  while (older > 0) {
    const std::string mark =
        lines.empty() && most == 1 && older > 1 ? "! (+ " + std::to_string(older - 1) + ") " : "! ";
    const std::string text = printable(warnings[older - 1], look.utf8);
    std::vector<std::string> next =
        broken_into_lines(text, std::max(1, columns - display_width(mark)));
    if (!lines.empty() && lines.size() + next.size() + (older > 1 ? 1 : 0) > most) {
      break;
    }
    if (next.size() > most) {
      // Too long a last line, for clipping to say that there is more.
      next[most - 1].append(" ").append(next[most]);
      next.resize(most);
    }
    for (std::size_t line = 0; line < next.size(); ++line) {
      next[line].insert(0, line == 0 ? mark : std::string(mark.size(), ' '));
    }
    lines.insert(lines.begin(), next.begin(), next.end());
    --older;
  }
  if (older > 0 && lines.size() < most) {
    lines.insert(lines.begin(), "! + " + std::to_string(older) + " earlier");
  }
  for (std::string& line : lines) {
    line = painted(clipped(line, columns, look), Paint::warning, look);
  }
  return lines;
}

}  // namespace lab
