#include "SMC/IOException.h"

#include <array>
#include <ostream>
#include <sstream>

#include "Kx/Kx.h"

namespace {

struct NamedCode {
  int code;
  const char* name;
};

constexpr std::array<NamedCode, 8> kNamedCodes{{
    {kKxReturnSuccess, "kKxReturnSuccess"},  // never printed: code 0 is no code
    {kKxReturnError, "kKxReturnError"},
    {kKxReturnBadArgument, "kKxReturnBadArgument"},
    {kKxReturnExclusiveAccess, "kKxReturnExclusiveAccess"},
    {kKxReturnUnsupported, "kKxReturnUnsupported"},
    {kKxReturnInternalError, "kKxReturnInternalError"},
    {kKxReturnIOError, "kKxReturnIOError"},
    {kKxReturnNotPermitted, "kKxReturnNotPermitted"},
}};

}  // namespace

IOException::IOException(const std::string& context, const int& code)
    : context_(context), code_(code) {}

std::string IOException::description() const {
  if (code_ == 0) {
    return context_;
  }
  std::ostringstream text;
  text << context_ << ": error ";
  for (const NamedCode& named : kNamedCodes) {
    if (named.code == code_) {
      text << named.name;
      return text.str();
    }
  }
  text << std::hex << code_;
  return text.str();
}

std::ostream& operator<<(std::ostream& stream, const IOException& exception) {
  return stream << exception.description();
}
