#include "support/fake_controller.h"

#include <algorithm>
#include <cstring>

namespace {

/// What the result byte says of a key that the controller lacks.
constexpr std::uint8_t kKeyNotFound = 0x84;

}  // namespace

class FakeController::Connection : public kx::UserClient {
 public:
  explicit Connection(FakeController& controller) : controller_(controller) {}

  kx_return_t scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                            std::span<std::uint32_t> outputs) override {
    return controller_.scalar(selector, !inputs.empty() || !outputs.empty());
  }

  kx_return_t structure_method(std::uint32_t selector, std::span<const std::byte> input,
                               std::span<std::byte> output, std::size_t& output_size) override {
    if (selector != kSMCSelectorTransaction || input.size() != sizeof(SMCParamStruct) ||
        output.size() != sizeof(SMCParamStruct)) {
      return kKxReturnBadArgument;
    }
    SMCParamStruct request{};
    std::memcpy(&request, input.data(), sizeof request);
    SMCParamStruct reply{};
    const kx_return_t result = controller_.transact(request, reply);
    std::memcpy(output.data(), &reply, sizeof reply);
    output_size = sizeof reply;
    return result;
  }

 private:
  FakeController& controller_;
};

smc_code FakeController::code(const char* name) {
  smc_code code = 0;
  for (int i = 0; i < 4; ++i) {
    code = (code << 8) | static_cast<unsigned char>(name[i]);
  }
  return code;
}

void FakeController::add_key(const char* name, const char* type, std::uint32_t size,
                             std::initializer_list<unsigned char> bytes) {
  Key key;
  key.info = {size, code(type), 0};
  std::copy(bytes.begin(), bytes.end(), key.bytes.begin());
  const std::lock_guard<std::mutex> lock(mutex_);
  keys_[code(name)] = key;
}

void FakeController::answer(std::size_t transaction, const Answer& answer) {
  const std::lock_guard<std::mutex> lock(mutex_);
  answers_[requests_.size() + transaction] = answer;
}

unsigned int FakeController::word(const char* name) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const Bytes& bytes = keys_.at(code(name)).bytes;
  return bytes[0] * 256U + bytes[1];
}

void FakeController::set_word(const char* name, unsigned int value) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Bytes& bytes = keys_.at(code(name)).bytes;
  bytes[0] = static_cast<unsigned char>(value >> 8);
  bytes[1] = static_cast<unsigned char>(value & 0xFF);
}

std::vector<SMCParamStruct> FakeController::requests() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

std::vector<std::uint32_t> FakeController::scalar_calls() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return scalar_calls_;
}

std::vector<std::uint32_t> FakeController::opens() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return opens_;
}

std::vector<std::string> FakeController::classes() const {
  return class_names;
}

kx_return_t FakeController::open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) {
  const std::lock_guard<std::mutex> lock(mutex_);
  opens_.push_back(type);
  if (open_returns == kKxReturnSuccess) {
    client = std::make_unique<Connection>(*this);
  }
  return open_returns;
}

kx_return_t FakeController::scalar(std::uint32_t selector, bool with_arguments) {
  const std::lock_guard<std::mutex> lock(mutex_);
  scalar_calls_.push_back(selector);
  if (with_arguments) {
    return kKxReturnBadArgument;
  }
  const auto scripted = scalar_returns.find(selector);
  return scripted == scalar_returns.end() ? kKxReturnSuccess : scripted->second;
}

kx_return_t FakeController::transact(const SMCParamStruct& request, SMCParamStruct& reply) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto scripted = answers_.find(requests_.size());
  const Answer answer = scripted == answers_.end() ? Answer{} : scripted->second;
  requests_.push_back(request);
  if (answer.returns != kKxReturnSuccess) {
    return answer.returns;
  }
  answer_ordinarily(request, reply);
  reply.result = answer.result.value_or(reply.result);
  reply.info = answer.info.value_or(reply.info);
  if (answer.bytes) {
    std::copy(answer.bytes->begin(), answer.bytes->end(), reply.bytes);
  }
  return kKxReturnSuccess;
}

void FakeController::answer_ordinarily(const SMCParamStruct& request, SMCParamStruct& reply) {
  reply.key = request.key;
  const auto at = keys_.find(request.key);
  if (at == keys_.end()) {
    reply.result = kKeyNotFound;
    return;
  }
  Key& key = at->second;
  reply.info = key.info;
  if (request.command == kSMCCommandRead) {
    std::copy(key.bytes.begin(), key.bytes.end(), reply.bytes);
  } else if (request.command == kSMCCommandWrite) {
    std::copy_n(request.bytes, std::min<std::size_t>(key.info.dataSize, key.bytes.size()),
                key.bytes.begin());
  }
}

std::string hex(const SMCParamStruct& record) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::array<unsigned char, sizeof record> bytes{};
  std::memcpy(bytes.data(), &record, sizeof record);
  std::string text;
  for (const unsigned char byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}
