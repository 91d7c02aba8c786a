#include "lab/commands/version.h"

namespace lab {

const char* const kProgramVersion = VORN_LAB_VERSION;

}  // namespace lab
