#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>

#include "support/fake_controller.h"

/// A test on a machine whose only driver is a FakeController with three fans and a few sensors.
/// At its end no object of the framework may be left over but those that the test names.
class ControllerTest : public testing::Test {
 public:
  ~ControllerTest() override {
    EXPECT_EQ(kx::live_objects(), objects_left_over);
    kx::install_machine({});
  }

 protected:
  ControllerTest() {
    controller->add_key("FS! ", "ui16", 2);
    controller->add_key("F0Tg", "fpe2", 2);
    controller->add_key("F1Tg", "fpe2", 2);
    controller->add_key("F2Tg", "fpe2", 2);
    controller->add_key("F0Mx", "fpe2", 2, {0x5D, 0xC0});  // 6000
    controller->add_key("F1Mx", "fpe2", 2, {0x60, 0xDF});  // 6199.75
    controller->add_key("F2Mx", "fp88", 2, {0xFA, 0x80});  // 250.5
    controller->add_key("PC0C", "fp88", 2, {0x28, 0x80});  // 40.5
    controller->add_key("TC0D", "sp78", 2, {0x2A, 0x40});  // 42.25
    controller->add_key("MSDI", "ui8 ", 1, {1});
    controller->add_key("MSW2", "ui16", 2, {0xBE, 0xEF});
    kx::install_machine({{controller, {}}});
  }

  std::shared_ptr<FakeController> controller = std::make_shared<FakeController>();
  std::size_t objects_left_over = 0;
};
