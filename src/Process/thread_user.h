#pragma once

#include <sys/types.h>

namespace process {

/// Changes the effective user id of the calling thread alone. The C library's seteuid() changes
/// every thread of the process, and interrupts each system call that one of them is in: a call that
/// is restarted, such as the opening of a file, then runs with the new id. Threads and processes
/// that the calling thread starts inherit its id.
/// Returns 0, or -1 with errno. Thread: any.
int set_thread_effective_user(uid_t user) noexcept;

}  // namespace process
