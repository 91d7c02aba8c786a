#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "Kx/driver.h"

/// A power plugin for tests: records every step that it is told, and returns what a test sets.
/// Thread: any, but for the public fields, which are set before the first call.
class FakePlugin : public kx::Driver {
 public:
  kx_return_t step_returns = kKxReturnSuccess;

  /// Every step so far, the refused ones included.
  std::vector<std::uint32_t> steps() const {
    const std::lock_guard lock(mutex_);
    return steps_;
  }

  std::vector<std::string> classes() const override { return {"KxPlatformPlugin"}; }

  kx_return_t open(std::uint32_t /*type*/, std::unique_ptr<kx::UserClient>& client) override {
    client = std::make_unique<Connection>(*this);
    return kKxReturnSuccess;
  }

 private:
  class Connection : public kx::UserClient {
   public:
    explicit Connection(FakePlugin& plugin) : plugin_(plugin) {}
    kx_return_t scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                              std::span<std::uint32_t> /*outputs*/) override {
      if (selector != 3 || inputs.size() != 1) {
        return kKxReturnBadArgument;
      }
      const std::lock_guard lock(plugin_.mutex_);
      plugin_.steps_.push_back(inputs.front());
      return plugin_.step_returns;
    }
    kx_return_t structure_method(std::uint32_t /*selector*/, std::span<const std::byte> /*input*/,
                                 std::span<std::byte> /*output*/,
                                 std::size_t& /*output_size*/) override {
      return kKxReturnUnsupported;
    }

   private:
    FakePlugin& plugin_;
  };

  mutable std::mutex mutex_;
  std::vector<std::uint32_t> steps_;
};
