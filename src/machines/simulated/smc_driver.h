#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Kx/driver.h"
#include "SMC/SMCParamStruct.h"
#include "machines/simulated/machine.h"

namespace simulated {

/// The result byte of a key transaction.
enum class Result : std::uint8_t {
  success = 0,
  unknown_key = 1,
  read_only_key = 2,
  wrong_size = 3,  ///< a write whose data size is not the key's
  unknown_command = 4,
};

/// The driver of the simulated controller, service class "VeltoSMC": any number of connections,
/// each of which reads, writes and describes keys once its open hand-shake is done.
/// Outlived by the machine that it is given.
class SmcDriver : public kx::Driver {
 public:
  explicit SmcDriver(Machine& machine) : machine_(machine) {}

  std::vector<std::string> classes() const override { return {kSMCServiceClass}; }

  /// Returns kKxReturnUnsupported for a connection type other than 1.
  kx_return_t open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) override;

 private:
  Machine& machine_;
};

}  // namespace simulated
