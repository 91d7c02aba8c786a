#pragma once

#include <memory>

#include "lab/live/live_state.h"

namespace lab {

enum class ViewKind {
  screen,  ///< a full screen that is drawn over and over
  lines,   ///< a line every 5 s of the run, and for each new phase and warning
  quiet,   ///< nothing
};

/// The kind that suits what the descriptor leads to: a screen for a terminal that is large enough,
/// understands more than lines, and has this process in front; lines for all else.
ViewKind fitting_kind(int fd);

/// A view that writes to the descriptor, which must stay open. It never makes show() wait for a
/// slow reader: it leaves frames out instead. At most one screen at a time. Standard error is the
/// one to give: answers go to standard output.
std::unique_ptr<View> make_view(ViewKind kind, int fd);

}  // namespace lab
