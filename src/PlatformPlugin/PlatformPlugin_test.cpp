#include "PlatformPlugin/PlatformPlugin.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <type_traits>

#include "Kx/driver.h"
#include "support/thrown.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(!std::is_polymorphic_v<PlatformPlugin> && sizeof(PlatformPlugin) == 4);
static_assert(!std::is_copy_constructible_v<PlatformPlugin>);

uid_t effective_user = 0;

/// A power plugin that records what it is asked for, and refuses what a test tells it to.
struct FakePlugin : kx::Driver {
  struct Client : kx::UserClient {
    explicit Client(FakePlugin& owner) : plugin(owner) {}
    kx_return_t scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                              std::span<std::uint32_t> outputs) override {
      if (selector != 3 || inputs.size() != 1 || !outputs.empty()) {
        return kKxReturnBadArgument;
      }
      plugin.steps.push_back(inputs[0]);
      return plugin.step_returns;
    }
    kx_return_t structure_method(std::uint32_t /*selector*/, std::span<const std::byte> /*input*/,
                                 std::span<std::byte> /*output*/,
                                 std::size_t& /*output_size*/) override {
      return kKxReturnUnsupported;
    }
    FakePlugin& plugin;
  };

  std::vector<std::string> classes() const override { return {"AnyPlugin", "KxPlatformPlugin"}; }
  kx_return_t open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) override {
    types.push_back(type);
    if (open_returns == kKxReturnSuccess) {
      client = std::make_unique<Client>(*this);
    }
    return open_returns;
  }

  kx_return_t open_returns = kKxReturnSuccess;
  kx_return_t step_returns = kKxReturnSuccess;
  std::vector<std::uint32_t> types;
  std::vector<std::uint32_t> steps;
};

struct OtherDriver : kx::Driver {
  std::vector<std::string> classes() const override { return {"Other"}; }
  kx_return_t open(std::uint32_t /*type*/, std::unique_ptr<kx::UserClient>& /*client*/) override {
    return kKxReturnUnsupported;
  }
};

class PlatformPluginTest : public testing::Test {
 public:
  ~PlatformPluginTest() override { kx::install_machine({}); }

 protected:
  PlatformPluginTest() {
    effective_user = 0;
    // The plugin deep in the plane, behind and below others.
    kx::Node deep{std::make_shared<OtherDriver>(), {{nullptr, {{plugin, {}}}}}};
    kx::install_machine({{std::make_shared<OtherDriver>(), {}}, deep});
  }

  static std::string failure_to_connect() {
    return thrown<PlatformPluginException>([] { const PlatformPlugin platform; });
  }

  std::shared_ptr<FakePlugin> plugin = std::make_shared<FakePlugin>();
};

TEST_F(PlatformPluginTest, ThePluginIsFoundDeepInTheRegistryAndOpenedByItsType) {
  const PlatformPlugin platform;
  EXPECT_THAT(plugin->types, ElementsAre(0x50505543));
  EXPECT_THAT(plugin->steps, IsEmpty());
}

// The oddity: one reference stays for every connection that was ever opened.
TEST_F(PlatformPluginTest, TheFoundServiceStaysReferencedAndNothingElseDoes) {
  {
    const PlatformPlugin platform;
    EXPECT_EQ(kx::live_objects(), 2U);
  }
  EXPECT_EQ(kx::live_objects(), 1U);
  { const PlatformPlugin platform; }
  EXPECT_EQ(kx::live_objects(), 2U);
}

TEST_F(PlatformPluginTest, AStateIsItsStepFrom100Upward) {
  PlatformPlugin platform;
  EXPECT_FALSE(platform.set_state(0));
  EXPECT_FALSE(platform.set_state(3));
  EXPECT_THAT(plugin->steps, ElementsAre(100, 103));
}

TEST_F(PlatformPluginTest, TheDefaultStateIsStep0) {
  PlatformPlugin platform;
  EXPECT_FALSE(platform.default_state());
  EXPECT_FALSE(platform.set_step(42));
  EXPECT_THAT(plugin->steps, ElementsAre(0, 42));
}

TEST_F(PlatformPluginTest, AStateBeyondTheLastStepWrapsAround) {
  PlatformPlugin platform;
  platform.set_state(0xFFFFFFFF);
  EXPECT_THAT(plugin->steps, ElementsAre(99));
}

TEST_F(PlatformPluginTest, ARefusedStepThrowsItsCode) {
  PlatformPlugin platform;
  plugin->step_returns = kKxReturnBadArgument;
  EXPECT_EQ(thrown<PlatformPluginException>([&] { platform.set_state(99); }),
            "KxConnectMethodScalarIScalarO(): error kKxReturnBadArgument");
  EXPECT_EQ(thrown<PlatformPluginException>([&] { platform.default_state(); }),
            "KxConnectMethodScalarIScalarO(): error kKxReturnBadArgument");
}

TEST_F(PlatformPluginTest, ARefusedOpenThrowsItsCode) {
  plugin->open_returns = kKxReturnNotPermitted;
  EXPECT_EQ(failure_to_connect(), "KxServiceOpen(): error kKxReturnNotPermitted");
}

TEST_F(PlatformPluginTest, WithoutAPluginThereIsNoService) {
  kx::install_machine({{std::make_shared<OtherDriver>(), {}}});
  EXPECT_EQ(failure_to_connect(), "No service matching \"KxPlatformPlugin\"");
  EXPECT_EQ(kx::live_objects(), 0U);
}

TEST_F(PlatformPluginTest, AnOrdinaryUserIsRefused) {
  effective_user = 1000;
  EXPECT_EQ(failure_to_connect(), "Platform Plugin operations require superuser privileges");
  EXPECT_THAT(plugin->types, IsEmpty());
}

TEST_F(PlatformPluginTest, AConnectionThatIsGoneCannotBeTornDown) {
  PlatformPlugin platform;
  const unsigned int handle = platform.setup_connection();
  platform.teardown_connection(handle);
  EXPECT_EQ(thrown<PlatformPluginException>([&] { platform.teardown_connection(handle); }),
            "KxServiceClose(): error kKxReturnBadArgument");
}

}  // namespace

// In place of the C library's, so that the tests need no rights and see both sides.
uid_t geteuid() noexcept {
  return effective_user;
}
