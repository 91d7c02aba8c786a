#include "vorn/pstate_control.h"

#include <sstream>

#include "Assertion/assertion.h"
#include "PlatformPlugin/PlatformPlugin.h"
#include "vorn/module.h"

PlatformPlugin* platform = nullptr;

namespace {

GivenBack failed(const PlatformPluginException& failure) {
  std::ostringstream text;
  text << failure << '\n';
  return {.result = -1, .text = text.str()};
}

}  // namespace

int set_pstate(std::int32_t pstate) {
  if (pstate == -1) {
    return 0;
  }
  try {
    if (platform == nullptr) {
      platform = new PlatformPlugin;
    }
    assertion(platform != nullptr, "platform", kDriverModule);
    platform->set_state(static_cast<std::uint32_t>(pstate));
  } catch (PlatformPluginException& failure) {
    return failed(failure).say();
  }
  return 0;
}

GivenBack give_back_pstate() {
  if (platform == nullptr) {
    return {};
  }
  try {
    platform->default_state();
    platform->close();  // first: if that is refused, the object must live on
  } catch (PlatformPluginException& failure) {
    return failed(failure);
  }
  delete platform;
  platform = nullptr;
  return {.text = "Power balancing restored\n"};
}

int restore_pstate() {
  return give_back_pstate().say();
}
