#pragma once

#include "SMC/IOException.h"

/// A failure to reach the controller, or to express something in its terms.
class SMCException : public IOException {
 public:
  using IOException::IOException;
};
