#include "machines/power_plugin/plugin_service.h"

#include <gtest/gtest.h>

#include <array>

namespace power_plugin {
namespace {

constexpr std::uint32_t kType = 0x50505543;

/// What was asked, in words, and what is answered.
struct Record {
  std::vector<std::string> asked;
  bool may_change = true;
  kx_return_t answer = kKxReturnSuccess;
};

class RecordedPStates final : public PStates {
 public:
  explicit RecordedPStates(Record& record) : record_(record) {}

  bool may_change() override { return record_.may_change; }
  kx_return_t claim() override { return note("claim"); }
  void release() override { note("release"); }
  kx_return_t force(std::uint32_t pstate) override {
    return note("force " + std::to_string(pstate));
  }
  kx_return_t give_back() override { return note("give back"); }

 private:
  kx_return_t note(std::string what) {
    record_.asked.push_back(std::move(what));
    return record_.answer;
  }

  Record& record_;
};

using Asked = std::vector<std::string>;

class PluginServiceTest : public testing::Test {
 protected:
  void connect() {
    ASSERT_EQ(service.open(kType, client), kKxReturnSuccess);
    record.asked.clear();
  }
  kx_return_t step(std::uint32_t n) { return client->scalar_method(3, {&n, 1}, {}); }

  Record record;
  PluginService service{"OwnPlugin", std::make_unique<RecordedPStates>(record)};
  std::unique_ptr<kx::UserClient> client;
};

TEST_F(PluginServiceTest, IsOfItsOwnClassAndAKindOfPlatformPlugin) {
  EXPECT_EQ(service.classes(), (Asked{"OwnPlugin", "KxPlatformPlugin"}));
}

TEST_F(PluginServiceTest, ClaimsThePStatesAsLongAsItsConnectionIsOpen) {
  ASSERT_EQ(service.open(kType, client), kKxReturnSuccess);
  EXPECT_EQ(record.asked, Asked{"claim"});
  client.reset();
  EXPECT_EQ(record.asked, (Asked{"claim", "release"}));
}

TEST_F(PluginServiceTest, PassesOnWhyTheyCannotBeClaimed) {
  for (const kx_return_t code : {kKxReturnExclusiveAccess, kKxReturnIOError}) {
    record.answer = code;
    EXPECT_EQ(service.open(kType, client), code);
    EXPECT_EQ(client, nullptr);
  }
  EXPECT_EQ(record.asked, (Asked{"claim", "claim"})) << "nothing is to be released";
}

TEST_F(PluginServiceTest, ClaimsNothingForWhoMayNot) {
  record.may_change = false;
  EXPECT_EQ(service.open(kType, client), kKxReturnNotPermitted);
  EXPECT_EQ(client, nullptr);
  EXPECT_EQ(record.asked, Asked{});
}

TEST_F(PluginServiceTest, ClaimsNothingForAnUnknownType) {
  EXPECT_EQ(service.open(0, client), kKxReturnUnsupported);
  EXPECT_EQ(client, nullptr);
  EXPECT_EQ(record.asked, Asked{});
}

TEST_F(PluginServiceTest, CountsPStatesFromStep100) {
  connect();
  EXPECT_EQ(step(100), kKxReturnSuccess);
  EXPECT_EQ(step(143), kKxReturnSuccess);
  EXPECT_EQ(step(0xFFFFFFFF), kKxReturnSuccess) << "what there is, the machine knows";
  EXPECT_EQ(record.asked, (Asked{"force 0", "force 43", "force 4294967195"}));
}

TEST_F(PluginServiceTest, GivesBackAtStep0) {
  connect();
  EXPECT_EQ(step(0), kKxReturnSuccess);
  EXPECT_EQ(record.asked, Asked{"give back"});
}

TEST_F(PluginServiceTest, RefusesTheStepsBetween) {
  connect();
  EXPECT_EQ(step(1), kKxReturnBadArgument);
  EXPECT_EQ(step(99), kKxReturnBadArgument);
  EXPECT_EQ(record.asked, Asked{});
}

TEST_F(PluginServiceTest, PassesOnWhatTheMachineAnswers) {
  connect();
  for (const kx_return_t code :
       {kKxReturnBadArgument, kKxReturnIOError, kKxReturnExclusiveAccess, kKxReturnNotPermitted}) {
    record.answer = code;
    EXPECT_EQ(step(105), code);
    EXPECT_EQ(step(0), code);
  }
}

TEST_F(PluginServiceTest, AsksNothingForOtherMethods) {
  connect();
  std::array<std::uint32_t, 2> words{100, 0};
  std::size_t size = 7;
  EXPECT_EQ(client->scalar_method(2, std::span(words).first(1), {}), kKxReturnUnsupported);
  EXPECT_EQ(client->scalar_method(3, words, {}), kKxReturnBadArgument);
  EXPECT_EQ(client->scalar_method(3, std::span(words).first(1), std::span(words).last(1)),
            kKxReturnBadArgument);
  EXPECT_EQ(client->structure_method(3, {}, {}, size), kKxReturnUnsupported);
  EXPECT_EQ(size, 7U);
  EXPECT_EQ(record.asked, Asked{});
}

}  // namespace
}  // namespace power_plugin
