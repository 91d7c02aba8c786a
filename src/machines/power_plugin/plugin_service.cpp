#include "machines/power_plugin/plugin_service.h"

#include <cstddef>

#include "PlatformPlugin/protocol.h"

namespace power_plugin {
namespace {

using platform_plugin::kBalancingStep;
using platform_plugin::kFirstPStateStep;

class Client final : public kx::UserClient {
 public:
  /// Requires: pstates.claim() was granted for it.
  explicit Client(PStates& pstates) : pstates_(pstates) {}
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() override { pstates_.release(); }

  kx_return_t scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                            std::span<std::uint32_t> outputs) override {
    if (selector != platform_plugin::kSetStepSelector) {
      return kKxReturnUnsupported;
    }
    if (inputs.size() != 1 || !outputs.empty()) {
      return kKxReturnBadArgument;
    }
    const std::uint32_t step = inputs[0];
    if (step == kBalancingStep) {
      return pstates_.give_back();
    }
    return step < kFirstPStateStep ? kKxReturnBadArgument : pstates_.force(step - kFirstPStateStep);
  }

  kx_return_t structure_method(std::uint32_t /*selector*/, std::span<const std::byte> /*input*/,
                               std::span<std::byte> /*output*/,
                               std::size_t& /*output_size*/) override {
    return kKxReturnUnsupported;
  }

 private:
  PStates& pstates_;
};

}  // namespace

kx_return_t PluginService::open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) {
  if (type != platform_plugin::kConnectionType) {
    return kKxReturnUnsupported;
  }
  if (!pstates_->may_change()) {
    return kKxReturnNotPermitted;
  }
  const kx_return_t claimed = pstates_->claim();
  if (claimed == kKxReturnSuccess) {
    client = std::make_unique<Client>(*pstates_);
  }
  return claimed;
}

}  // namespace power_plugin
