#include "PlatformPlugin/PlatformPlugin.h"

#include <unistd.h>

#include <array>
#include <cstdint>
#include <string>

#include "Kx/Kx.h"
#include "PlatformPlugin/protocol.h"

namespace {

using namespace platform_plugin;

void throw_unless_success(const char* call, kx_return_t result) {
  if (result != kKxReturnSuccess) {
    throw PlatformPluginException(call, result);
  }
}

/// The first service of the plugin's class anywhere in the registry, as a reference that the
/// caller owns; 0 if there is none.
kx_object_t find_service() {
  kx_port_t master = 0;
  throw_unless_success("KxMasterPort()", KxMasterPort(0, &master));
  kx_object_t iterator = 0;
  throw_unless_success(
      "KxRegistryCreateIterator()",
      KxRegistryCreateIterator(master, kKxServicePlane, kKxIterateRecursively, &iterator));
  kx_object_t entry = KxIteratorNext(iterator);
  while (entry != 0 && !KxObjectConformsTo(entry, kServiceClass)) {
    KxObjectRelease(entry);
    entry = KxIteratorNext(iterator);
  }
  KxRegistryDisposeEnumerator(iterator);
  return entry;
}

}  // namespace

bool PlatformPlugin::exists() {
  try {
    const kx_object_t service = find_service();
    KxObjectRelease(service);
    return service != 0;
  } catch (const PlatformPluginException&) {
    return true;
  }
}

PlatformPlugin::PlatformPlugin() : connection(setup_connection()) {}

// NOLINTNEXTLINE(bugprone-exception-escape): as declared
PlatformPlugin::~PlatformPlugin() noexcept(false) {
  if (connection != 0) {
    close();
  }
}

void PlatformPlugin::close() {
  teardown_connection(connection);
  connection = 0;
}

unsigned int PlatformPlugin::setup_connection() {
  if (geteuid() != 0) {
    throw PlatformPluginException("Platform Plugin operations require superuser privileges", 0);
  }
  const kx_object_t service = find_service();
  if (service == 0) {
    throw PlatformPluginException(std::string("No service matching \"") + kServiceClass + "\"", 0);
  }
  kx_object_t opened = 0;
  throw_unless_success("KxServiceOpen()",
                       KxServiceOpen(service, KxTaskSelf(), kConnectionType, &opened));
  // The service is not released, on purpose: it stays referenced for the life of the process.
  return opened;
}

void PlatformPlugin::teardown_connection(const unsigned int& handle) {
  throw_unless_success("KxServiceClose()", KxServiceClose(handle));
}

bool PlatformPlugin::set_step(unsigned int step) {
  const std::array<std::uint32_t, 1> inputs{step};
  throw_unless_success("KxConnectMethodScalarIScalarO()",
                       KxConnectMethodScalarIScalarO(connection, kSetStepSelector, inputs, {}));
  return false;
}

bool PlatformPlugin::set_state(unsigned int pstate) {
  return set_step(pstate + kFirstPStateStep);
}

bool PlatformPlugin::default_state() {
  return set_step(kBalancingStep);
}
