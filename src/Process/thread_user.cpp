#include "Process/thread_user.h"

#include <sys/syscall.h>
#include <unistd.h>

int process::set_thread_effective_user(uid_t user) noexcept {
#ifdef SYS_setresuid32  // where the plain call takes ids of 16 bits
  constexpr long kCall = SYS_setresuid32;
#else
  constexpr long kCall = SYS_setresuid;
#endif
  constexpr uid_t kUnchanged = static_cast<uid_t>(-1);
  return static_cast<int>(syscall(kCall, kUnchanged, user, kUnchanged));
}
