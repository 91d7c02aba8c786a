#include "machines/controller/key_service.h"

#include <cstring>
#include <utility>

namespace controller {
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

class Client final : public kx::UserClient {
 public:
  explicit Client(std::unique_ptr<Keys> keys) : keys_(std::move(keys)) {}

  kx_return_t scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                            std::span<std::uint32_t> outputs) override;
  kx_return_t structure_method(std::uint32_t selector, std::span<const std::byte> input,
                               std::span<std::byte> output, std::size_t& output_size) override;

 private:
  kx_return_t answer(const SMCParamStruct& request, SMCParamStruct& reply);
  kx_return_t read(std::size_t key, SMCParamStruct& reply);
  kx_return_t write(std::size_t key, const SMCParamStruct& request, SMCParamStruct& reply);

  const std::unique_ptr<Keys> keys_;
  bool shaken_ = false;  ///< the open hand-shake is done, the close one is not
};

kx_return_t Client::scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
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

kx_return_t Client::structure_method(std::uint32_t selector, std::span<const std::byte> input,
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
  SMCParamStruct reply{};
  reply.key = request.key;
  reply.command = request.command;
  const kx_return_t answered = answer(request, reply);
  if (answered != kKxReturnSuccess) {
    return answered;
  }
  std::memcpy(output.data(), &reply, sizeof reply);
  output_size = sizeof reply;
  return kKxReturnSuccess;
}

void set_result(SMCParamStruct& reply, Result result) {
  reply.result = static_cast<std::uint8_t>(result);
}

kx_return_t Client::answer(const SMCParamStruct& request, SMCParamStruct& reply) {
  // A return code tells the user why; the result byte of a write only tells that it failed.
  if (request.command == kSMCCommandWrite && !keys_->may_change()) {
    return kKxReturnNotPermitted;
  }
  const std::optional<std::size_t> key = keys_->find(request.key);
  if (!key) {
    set_result(reply, Result::unknown_key);
    return kKxReturnSuccess;
  }
  reply.info.dataSize = keys_->type(*key).size;
  reply.info.dataType = keys_->type(*key).code;
  switch (request.command) {
    case kSMCCommandKeyInfo:
      return kKxReturnSuccess;
    case kSMCCommandRead:
      return read(*key, reply);
    case kSMCCommandWrite:
      return write(*key, request, reply);
    default:
      set_result(reply, Result::unknown_command);
      return kKxReturnSuccess;
  }
}

kx_return_t Client::read(std::size_t key, SMCParamStruct& reply) {
  std::uint32_t stored = 0;
  const kx_return_t result = keys_->read(key, stored);
  put_bytes(stored, reply.info.dataSize, reply);
  return result;
}

kx_return_t Client::write(std::size_t key, const SMCParamStruct& request, SMCParamStruct& reply) {
  if (!keys_->writable(key)) {
    set_result(reply, Result::read_only_key);
    return kKxReturnSuccess;
  }
  if (request.info.dataSize != reply.info.dataSize) {
    set_result(reply, Result::wrong_size);
    return kKxReturnSuccess;
  }
  return keys_->write(key, get_bytes(request, reply.info.dataSize));
}

}  // namespace

kx_return_t KeyService::open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) {
  if (type != kSMCConnectionType) {
    return kKxReturnUnsupported;
  }
  client = std::make_unique<Client>(connect_());
  return kKxReturnSuccess;
}

}  // namespace controller
