#include "machines/simulated/controller.h"

#include <memory>

namespace simulated {
namespace {

class SimulatedKeys final : public controller::Keys {
 public:
  explicit SimulatedKeys(Machine& machine) : machine_(machine) {}

  std::optional<std::size_t> find(std::uint32_t code) override {
    const Key* key = find_key(code);
    if (key == nullptr) {
      return std::nullopt;
    }
    return static_cast<std::size_t>(key - all_keys().data());
  }
  const ValueType& type(std::size_t key) override { return all_keys()[key].type; }
  bool writable(std::size_t key) override { return all_keys()[key].assign != nullptr; }
  bool may_change() override { return machine_.may_change(); }

  kx_return_t read(std::size_t key, std::uint32_t& stored) override {
    stored = machine_.read(all_keys()[key]);
    return kKxReturnSuccess;
  }
  kx_return_t write(std::size_t key, std::uint32_t stored) override {
    machine_.write(all_keys()[key], stored);
    return kKxReturnSuccess;
  }

 private:
  Machine& machine_;
};

}  // namespace

Controller::Controller(Machine& machine)
    : KeyService([&machine] { return std::make_unique<SimulatedKeys>(machine); }) {}

}  // namespace simulated
