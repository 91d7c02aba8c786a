#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Kx/driver.h"

/// A controller that takes its time over one transaction, the `slow_call`-th from now.
class SlowController : public kx::Driver {
 public:
  SlowController(std::shared_ptr<kx::Driver> controller, int slow_call,
                 std::chrono::milliseconds delay)
      : controller_(std::move(controller)), calls_left_(slow_call), delay_(delay) {}

  std::vector<std::string> classes() const override { return controller_->classes(); }
  kx_return_t open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) override {
    std::unique_ptr<kx::UserClient> inner;
    const kx_return_t result = controller_->open(type, inner);
    client = std::make_unique<Connection>(*this, std::move(inner));
    return result;
  }

 private:
  class Connection : public kx::UserClient {
   public:
    Connection(SlowController& slow, std::unique_ptr<kx::UserClient> inner)
        : slow_(slow), inner_(std::move(inner)) {}
    kx_return_t scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                              std::span<std::uint32_t> outputs) override {
      return inner_->scalar_method(selector, inputs, outputs);
    }
    kx_return_t structure_method(std::uint32_t selector, std::span<const std::byte> input,
                                 std::span<std::byte> output, std::size_t& size) override {
      if (slow_.calls_left_-- == 0) {
        std::this_thread::sleep_for(slow_.delay_);
      }
      return inner_->structure_method(selector, input, output, size);
    }

   private:
    SlowController& slow_;
    std::unique_ptr<kx::UserClient> inner_;
  };

  std::shared_ptr<kx::Driver> controller_;
  std::atomic<int> calls_left_;
  std::chrono::milliseconds delay_;
};
