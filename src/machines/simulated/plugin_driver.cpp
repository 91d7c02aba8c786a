#include "machines/simulated/plugin_driver.h"

#include "machines/simulated/power.h"

namespace simulated {
namespace {

constexpr std::uint32_t kConnectionType = four_characters("PPUC");
constexpr std::uint32_t kStepSelector = 3;
constexpr std::uint32_t kBalancingStep = 0;
constexpr std::uint32_t kFirstPStateStep = 100;

class PluginClient final : public kx::UserClient {
 public:
  /// Requires: machine.claim_pstates() was granted for it.
  explicit PluginClient(Machine& machine) : machine_(machine) {}
  PluginClient(const PluginClient&) = delete;
  PluginClient& operator=(const PluginClient&) = delete;
  ~PluginClient() override { machine_.release_pstates(); }

  kx_return_t scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                            std::span<std::uint32_t> outputs) override {
    if (selector != kStepSelector) {
      return kKxReturnUnsupported;
    }
    if (inputs.size() != 1 || !outputs.empty()) {
      return kKxReturnBadArgument;
    }
    const std::uint32_t step = inputs[0];
    if (step == kBalancingStep) {
      machine_.force_pstate(std::nullopt);
      return kKxReturnSuccess;
    }
    if (step < kFirstPStateStep || step - kFirstPStateStep >= kPStates.size()) {
      return kKxReturnBadArgument;
    }
    machine_.force_pstate(step - kFirstPStateStep);
    return kKxReturnSuccess;
  }

  kx_return_t structure_method(std::uint32_t /*selector*/, std::span<const std::byte> /*input*/,
                               std::span<std::byte> /*output*/,
                               std::size_t& /*output_size*/) override {
    return kKxReturnUnsupported;
  }

 private:
  Machine& machine_;
};

}  // namespace

kx_return_t PluginDriver::open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) {
  if (type != kConnectionType) {
    return kKxReturnUnsupported;
  }
  if (!machine_.may_change()) {
    return kKxReturnNotPermitted;
  }
  if (!machine_.claim_pstates()) {
    return kKxReturnExclusiveAccess;
  }
  client = std::make_unique<PluginClient>(machine_);
  return kKxReturnSuccess;
}

}  // namespace simulated
