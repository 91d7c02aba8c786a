#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/fake_controller.h"
#include "support/fake_plugin.h"
#include "support/settings_fixture.h"

/// A test of the driver on a machine with a controller of three fans and two sensors, and a power
/// plugin.
class MachineFixture : public SettingsFixture {
 protected:
  MachineFixture() {
    controller->add_key("FS! ", "ui16", 2);
    for (const char* fan : {"F0Tg", "F1Tg", "F2Tg"}) {
      controller->add_key(fan, "fpe2", 2);
    }
    controller->add_key("F0Mx", "fpe2", 2, {0x5D, 0xC0});  // 6000
    controller->add_key("F1Mx", "fpe2", 2, {0x60, 0xDF});  // 6199.75
    controller->add_key("PC0C", "fp88", 2, {0x28, 0x80});  // 40.5
    controller->add_key("TC0D", "sp78", 2, {0x2A, 0x40});  // 42.25
    kx::install_machine({{controller, {}}, {plugin, {}}});
  }

 public:
  ~MachineFixture() override { kx::install_machine({}); }

 protected:
  /// What `action` prints on standard error.
  static std::string printed_by(const std::function<void()>& action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
  }

  /// Every value written to `key` so far, as its two bytes.
  std::vector<unsigned> written_to(const char* key) const {
    std::vector<unsigned> values;
    for (const SMCParamStruct& request : controller->requests()) {
      constexpr int kWrite = 6;
      if (request.command == kWrite && request.key == FakeController::code(key)) {
        values.push_back(request.bytes[0] * 256U + request.bytes[1]);
      }
    }
    return values;
  }

  std::shared_ptr<FakeController> controller = std::make_shared<FakeController>();
  std::shared_ptr<FakePlugin> plugin = std::make_shared<FakePlugin>();
};
