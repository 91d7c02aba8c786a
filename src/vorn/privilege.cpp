#include "vorn/privilege.h"

#include <unistd.h>

#include "Process/thread_user.h"

namespace {

thread_local bool raised = false;

}  // namespace

UID::UID() : real_(getuid()), effective_(geteuid()) {}

bool UID::privileged() const {
  return effective_ == 0;
}

void UID::elevate() const {
  if (process::set_thread_effective_user(effective_) < 0) {
    throw UIDException();
  }
  raised = true;
}

void UID::relinquish() const {
  if ((raised ? process::set_thread_effective_user(real_) : seteuid(real_)) < 0) {
    throw UIDException();
  }
  raised = false;
}
