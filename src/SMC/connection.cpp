#include <cstddef>
#include <exception>

#include "Assertion/assertion.h"
#include "Kx/Kx.h"
#include "SMC/SMC.h"

namespace {

void throw_unless_success(const char* call, kx_return_t result) {
  if (result != kKxReturnSuccess) {
    throw SMCException(call, result);
  }
}

/// The first service of the controller's class, as a reference that the caller owns; 0 if there is
/// none.
kx_object_t find_service() {
  kx_port_t master = 0;
  throw_unless_success("KxMasterPort()", KxMasterPort(0, &master));
  KxMatching* const matching = KxServiceMatching(kSMCServiceClass);
  if (matching == nullptr) {
    throw SMCException("KxServiceMatching(\"VeltoSMC\") returned NULL", 0);
  }
  kx_object_t iterator = 0;
  throw_unless_success("KxServiceGetMatchingServices()",
                       KxServiceGetMatchingServices(master, matching, &iterator));
  const kx_object_t service = KxIteratorNext(iterator);
  KxObjectRelease(iterator);
  return service;
}

}  // namespace

bool SMC::exists() {
  try {
    const kx_object_t service = find_service();
    KxObjectRelease(service);
    return service != 0;
  } catch (const SMCException&) {
    return true;
  }
}

SMC::SMC() : connection(get_port()) {}

// NOLINTNEXTLINE(bugprone-exception-escape): as declared
SMC::~SMC() noexcept(false) {
  try {
    release_port(connection);
  } catch (const SMCException&) {
    // A controller that has gone fails its transaction and then its close. Two exceptions at once
    // would end the process; the first one says it all.
    if (std::uncaught_exceptions() == 0) {
      throw;
    }
  }
}

unsigned int SMC::get_port() {
  const kx_object_t service = find_service();
  if (service == 0) {
    throw SMCException("KxIteratorNext() returned NULL", 0);
  }
  kx_object_t connection = 0;
  const kx_return_t opened = KxServiceOpen(service, KxTaskSelf(), kSMCConnectionType, &connection);
  KxObjectRelease(service);
  throw_unless_success("KxServiceOpen()", opened);

  const kx_return_t greeted = KxConnectMethodScalarIScalarO(connection, kSMCSelectorOpen, {}, {});
  if (greeted != kKxReturnSuccess) {
    KxServiceClose(connection);
  }
  throw_unless_success("KxConnectMethodScalarIScalarO()", greeted);
  return connection;
}

void SMC::release_port(const unsigned int& port) {
  throw_unless_success("KxConnectMethodScalarIScalarO()",
                       KxConnectMethodScalarIScalarO(port, kSMCSelectorClose, {}, {}));
  throw_unless_success("KxServiceClose()", KxServiceClose(port));
}

void SMC::call(int selector, SMCParamStruct* in, SMCParamStruct* out) {
  assertion(in != nullptr, "in", "src/SMC");
  assertion(out != nullptr, "out", "src/SMC");
  std::size_t output_size = sizeof *out;
  throw_unless_success(
      "KxConnectMethodStructureIStructureO()",
      KxConnectMethodStructureIStructureO(connection, static_cast<std::uint32_t>(selector),
                                          sizeof *in, &output_size, in, out));
}
