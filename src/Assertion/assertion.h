#pragma once

/// Checks an invariant in every build, release included.
///
/// If `holds` is false, prints one line on standard error
///
///     Assertion failed: (expression), function f, file module, line 502.
///
/// and aborts the process at once, whatever its other threads do. `module` is the source module as
/// the users know it ("src/vorn"), and `line` a fixed identifier of the assertion, not a place in a
/// file; an assertion without one (0) prints no line. Thread: any.
///
/// A function rather than a macro: `function` is filled in by the compiler at the call.
[[noreturn]] void assertion_failed(const char* expression, const char* module, int line,
                                   const char* function);

inline void assertion(bool holds, const char* expression, const char* module, int line = 0,
                      const char* function = __builtin_FUNCTION()) {
  if (!holds) {
    assertion_failed(expression, module, line, function);
  }
}
