#include "vorn/version.h"

const std::string version = "Vorn 0.2i 24August2006";
const std::string longversion = version + " Copyright (c) 2006-2026 the vorn developers";
