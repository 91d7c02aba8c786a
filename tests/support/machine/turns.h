#pragma once

#include "support/sanitized.h"

/// Which accesses a kind of fault is to hit: each. Under a sanitizer the kinds take turns, so that
/// still each access fails, by one of them.
struct Turns {
  int first;
  int step;
};

/// The turns of one of so many kinds, counted from 0.
constexpr Turns turns(int kind, int kinds) {
  return kSanitized ? Turns{1 + kind, kinds} : Turns{1, 1};
}
