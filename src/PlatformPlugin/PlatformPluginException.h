#pragma once

#include "SMC/IOException.h"

/// A failure to reach the platform's power plugin.
class PlatformPluginException : public IOException {
 public:
  using IOException::IOException;
};
