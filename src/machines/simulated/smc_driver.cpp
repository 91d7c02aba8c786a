#include "machines/simulated/smc_driver.h"

#include <cstring>

namespace simulated {
namespace {

void put_bytes(std::uint32_t value, std::uint32_t size, SMCParamStruct& record) {
  for (std::uint32_t i = size; i-- > 0; value >>= 8U) {
    record.bytes[i] = static_cast<std::uint8_t>(value);
  }
}

std::uint32_t get_bytes(const SMCParamStruct& record, std::uint32_t size) {
  std::uint32_t value = 0;
  for (std::uint32_t i = 0; i < size; ++i) {
    value = (value << 8U) | record.bytes[i];
  }
  return value;
}

class SmcClient final : public kx::UserClient {
 public:
  explicit SmcClient(Machine& machine) : machine_(machine) {}

  kx_return_t scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                            std::span<std::uint32_t> outputs) override;
  kx_return_t structure_method(std::uint32_t selector, std::span<const std::byte> input,
                               std::span<std::byte> output, std::size_t& output_size) override;

 private:
  Result write(const Key& key, const SMCParamStruct& request);
  Result answer(const SMCParamStruct& request, SMCParamStruct& reply);

  Machine& machine_;
  bool shaken_ = false;  ///< the open hand-shake is done, the close one is not
};

kx_return_t SmcClient::scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                                     std::span<std::uint32_t> outputs) {
  if (selector != kSMCSelectorOpen && selector != kSMCSelectorClose) {
    return kKxReturnUnsupported;
  }
  if (!inputs.empty() || !outputs.empty()) {
    return kKxReturnBadArgument;
  }
  if (selector == kSMCSelectorClose && !shaken_) {
    return kKxReturnError;
  }
  shaken_ = selector == kSMCSelectorOpen;
  return kKxReturnSuccess;
}

kx_return_t SmcClient::structure_method(std::uint32_t selector, std::span<const std::byte> input,
                                        std::span<std::byte> output, std::size_t& output_size) {
  if (selector != kSMCSelectorTransaction) {
    return kKxReturnUnsupported;
  }
  if (!shaken_) {
    return kKxReturnError;
  }
  if (input.size() != sizeof(SMCParamStruct) || output.size() < sizeof(SMCParamStruct)) {
    return kKxReturnBadArgument;
  }
  SMCParamStruct request;
  std::memcpy(&request, input.data(), sizeof request);
  // A return code tells the user why; the result byte of a write only tells that it failed.
  if (request.command == kSMCCommandWrite && !machine_.may_change()) {
    return kKxReturnNotPermitted;
  }
  SMCParamStruct reply{};
  reply.key = request.key;
  reply.command = request.command;
  reply.result = static_cast<std::uint8_t>(answer(request, reply));
  std::memcpy(output.data(), &reply, sizeof reply);
  output_size = sizeof reply;
  return kKxReturnSuccess;
}

Result SmcClient::answer(const SMCParamStruct& request, SMCParamStruct& reply) {
  const Key* key = find_key(request.key);
  if (key == nullptr) {
    return Result::unknown_key;
  }
  reply.info.dataSize = key->type.size;
  reply.info.dataType = key->type.code;
  switch (request.command) {
    case kSMCCommandKeyInfo:
      return Result::success;
    case kSMCCommandRead:
      put_bytes(machine_.read(*key), key->type.size, reply);
      return Result::success;
    case kSMCCommandWrite:
      return write(*key, request);
    default:
      return Result::unknown_command;
  }
}

Result SmcClient::write(const Key& key, const SMCParamStruct& request) {
  if (key.assign == nullptr) {
    return Result::read_only_key;
  }
  if (request.info.dataSize != key.type.size) {
    return Result::wrong_size;
  }
  machine_.write(key, get_bytes(request, key.type.size));
  return Result::success;
}

}  // namespace

kx_return_t SmcDriver::open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) {
  if (type != kSMCConnectionType) {
    return kKxReturnUnsupported;
  }
  client = std::make_unique<SmcClient>(machine_);
  return kKxReturnSuccess;
}

}  // namespace simulated
