#include "vorn/privilege.h"

#include <unistd.h>

UID::UID() : real_(getuid()), effective_(geteuid()) {}

bool UID::privileged() const {
  return effective_ == 0;
}

void UID::elevate() const {
  if (seteuid(effective_) < 0) {
    throw UIDException();
  }
}

void UID::relinquish() const {
  if (seteuid(real_) < 0) {
    throw UIDException();
  }
}
