#pragma once

#include <atomic>

/// Stands in for the C library's sync() in a test program: counts, and takes as long as a test
/// wants. Thread: any.
namespace held_sync {

extern std::atomic<bool> held;    ///< a sync() does not return while it is true
extern std::atomic<int> waiting;  ///< calls that have begun
extern std::atomic<int> commits;  ///< calls that have returned

void reset();

}  // namespace held_sync
