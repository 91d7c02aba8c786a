#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "SMC/SMC.h"
#include "SMC/SMCParamStruct.h"
#include "contract/machine_under_test.h"

// What every driver of a controller promises, whatever is behind it.

namespace {

enum : int { kSuccess = 0, kUnknownKey = 1, kReadOnlyKey = 2, kWrongSize = 3, kUnknownCommand = 4 };

/// Every name that a driver may have a key for.
std::vector<std::string> known_names() {
  std::vector<std::string> names = {"PC0C", "PD0C", "PS0C", "TC0P", "TA0P", "FS! "};
  for (const char* package : {"0", "1", "2", "9"}) {
    names.push_back(std::string("TC") + package + "D");
  }
  for (const char* fan : {"0", "1", "2", "3"}) {
    for (const char* what : {"Ac", "Tg", "Mx", "Mn"}) {
      names.push_back(std::string("F") + fan + what);
    }
  }
  return names;
}

class ControllerContract : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    machine_ = make_machine(GetParam());
    const auto drivers = machine_->drivers(kSMCServiceClass);
    ASSERT_EQ(drivers.size(), 1U);
    driver_ = drivers.front();
    client_ = connect();
  }

  std::unique_ptr<kx::UserClient> connect() {
    std::unique_ptr<kx::UserClient> client;
    EXPECT_EQ(driver_->open(kSMCConnectionType, client), kKxReturnSuccess);
    EXPECT_EQ(client->scalar_method(kSMCSelectorOpen, {}, {}), kKxReturnSuccess);
    return client;
  }

  kx_return_t call(const SMCParamStruct& request, SMCParamStruct& reply) {
    std::memset(&reply, 0xEE, sizeof reply);
    std::size_t size = 0;
    return client_->structure_method(kSMCSelectorTransaction, std::as_bytes(std::span(&request, 1)),
                                     std::as_writable_bytes(std::span(&reply, 1)), size);
  }

  SMCParamStruct transact(const std::string& name, std::uint8_t command,
                          std::uint32_t data_size = 0) {
    SMCParamStruct request{};
    request.key = SMC::key(name);
    request.command = command;
    request.info.dataSize = data_size;
    SMCParamStruct reply;
    result_ = call(request, reply);
    return reply;
  }

  /// The value as it is stored; the call must succeed.
  int read(const std::string& name) {
    const SMCParamStruct reply = transact(name, kSMCCommandRead);
    EXPECT_EQ(result_, kKxReturnSuccess) << name;
    return reply.bytes[0] * 256 + reply.bytes[1];
  }

  /// The result byte; the call must succeed.
  int write(const std::string& name, int stored) {
    SMCParamStruct request{};
    request.key = SMC::key(name);
    request.command = kSMCCommandWrite;
    request.info.dataSize = 2;
    request.bytes[0] = static_cast<unsigned char>(stored / 256);
    request.bytes[1] = static_cast<unsigned char>(stored % 256);
    SMCParamStruct reply;
    EXPECT_EQ(call(request, reply), kKxReturnSuccess) << name;
    return reply.result;
  }

  /// The names that this machine has a key for.
  std::vector<std::string> names() {
    std::vector<std::string> there = known_names();
    std::erase_if(there, [&](const std::string& name) {
      return transact(name, kSMCCommandKeyInfo).result != kSuccess;
    });
    return there;
  }

  std::unique_ptr<MachineUnderTest> machine_;
  std::shared_ptr<kx::Driver> driver_;
  std::unique_ptr<kx::UserClient> client_;
  kx_return_t result_ = kKxReturnSuccess;
};

TEST_P(ControllerContract, RefusesAnotherTypeOfConnection) {
  std::unique_ptr<kx::UserClient> client;
  EXPECT_EQ(driver_->open(0, client), kKxReturnUnsupported);
  EXPECT_EQ(client, nullptr);
}

TEST_P(ControllerContract, WantsItsHandShakesInOrder) {
  std::unique_ptr<kx::UserClient> client;
  ASSERT_EQ(driver_->open(kSMCConnectionType, client), kKxReturnSuccess);
  EXPECT_EQ(client->scalar_method(kSMCSelectorClose, {}, {}), kKxReturnError);
  EXPECT_EQ(client->scalar_method(7, {}, {}), kKxReturnUnsupported);
  EXPECT_EQ(client->scalar_method(kSMCSelectorOpen, {}, {}), kKxReturnSuccess);
  EXPECT_EQ(client->scalar_method(kSMCSelectorClose, {}, {}), kKxReturnSuccess);
}

TEST_P(ControllerContract, AnswersNothingBeforeTheHandShake) {
  std::unique_ptr<kx::UserClient> client;
  ASSERT_EQ(driver_->open(kSMCConnectionType, client), kKxReturnSuccess);
  client_.swap(client);
  transact("PC0C", kSMCCommandKeyInfo);
  EXPECT_EQ(result_, kKxReturnError);
}

TEST_P(ControllerContract, ShowsAtLeastOneKeyAndNoFourthFansTarget) {
  const std::vector<std::string> there = names();
  EXPECT_FALSE(there.empty());
  for (const std::string& name : there) {
    const bool of_fourth_fan_on = name[0] == 'F' && name[1] >= '3' && name[1] <= '9';
    EXPECT_FALSE(of_fourth_fan_on && name.ends_with("Tg")) << name;
  }
}

TEST_P(ControllerContract, DescribesEachKeyInTwoBytesOfATypeThatClientsDecode) {
  const std::set<std::string> decoded = {"fp88", "fpe2", "sp78", "ui16"};
  for (const std::string& name : names()) {
    const SMCParamStruct reply = transact(name, kSMCCommandKeyInfo);
    EXPECT_EQ(result_, kKxReturnSuccess);
    EXPECT_EQ(reply.info.dataSize, 2U) << name;
    EXPECT_TRUE(decoded.contains(SMC::name(reply.info.dataType))) << name;
    EXPECT_EQ(reply.key, SMC::key(name));
    EXPECT_EQ(SMC::name(reply.info.dataType) == "sp78", name.starts_with("T")) << name;
  }
}

TEST_P(ControllerContract, HasNoOtherKeys) {
  for (const char* name : {"XXXX", "f0tg", "F3Tg", "FS!x"}) {
    const SMCParamStruct reply = transact(name, kSMCCommandKeyInfo);
    EXPECT_EQ(result_, kKxReturnSuccess);
    EXPECT_EQ(reply.result, kUnknownKey);
    EXPECT_EQ(reply.info.dataSize, 0U);
    EXPECT_EQ(transact(name, kSMCCommandRead).result, kUnknownKey);
    EXPECT_EQ(transact(name, kSMCCommandWrite, 2).result, kUnknownKey);
  }
}

TEST_P(ControllerContract, KnowsThreeCommands) {
  EXPECT_EQ(transact(names().front(), 0).result, kUnknownCommand);
  EXPECT_EQ(transact(names().front(), 4).result, kUnknownCommand);
}

TEST_P(ControllerContract, RefusesRecordsOfAnotherSize) {
  std::array<std::byte, 40> small{};
  std::size_t size = 0;
  EXPECT_EQ(client_->structure_method(kSMCSelectorTransaction, small, small, size),
            kKxReturnBadArgument);
  EXPECT_EQ(client_->structure_method(9, small, small, size), kKxReturnUnsupported);
}

TEST_P(ControllerContract, RefusesWritesOfWhatCanOnlyBeRead) {
  for (const std::string& name : names()) {
    if (name.starts_with("P") || name.starts_with("T") || name.ends_with("Ac")) {
      EXPECT_EQ(transact(name, kSMCCommandWrite, 2).result, kReadOnlyKey) << name;
    }
  }
}

TEST_P(ControllerContract, RefusesWritesOfAnotherSize) {
  for (const std::string& name : names()) {
    if (name == "FS! " || name.ends_with("Tg")) {
      EXPECT_EQ(transact(name, kSMCCommandWrite, 1).result, kWrongSize) << name;
    }
  }
}

TEST_P(ControllerContract, IsWrittenBySuperusersOnly) {
  machine_->become_user(1000);
  for (const std::string& name : names()) {
    transact(name, kSMCCommandWrite, 2);
    EXPECT_EQ(result_, kKxReturnNotPermitted) << name;
    transact(name, kSMCCommandKeyInfo);
    EXPECT_EQ(result_, kKxReturnSuccess) << name;
  }
}

TEST_P(ControllerContract, ReadsZeroForceBitsBeforeAnythingIsForced) {
  const SMCParamStruct reply = transact("FS! ", kSMCCommandRead);
  if (reply.result == kSuccess) {
    EXPECT_EQ(result_, kKxReturnSuccess);
    EXPECT_EQ(reply.bytes[0], 0);
    EXPECT_EQ(reply.bytes[1], 0);
  }
}

TEST_P(ControllerContract, ForcesAFanToATargetAndGivesItBack) {
  if (GetParam() == "trouble_everywhere") {
    GTEST_SKIP() << "forces nothing while its thermometers are silent";
  }
  const std::vector<std::string> there = names();
  for (std::uint16_t fan = 0; fan < 3; ++fan) {
    const std::string number = "F" + std::to_string(fan);
    const std::string target = number + "Tg";
    const bool controllable = std::find(there.begin(), there.end(), target) != there.end();
    if (!controllable || read(number + "Ac") == 0) {
      continue;  // at rest: a header without a fan
    }
    const auto bit = static_cast<std::uint16_t>(1U << fan);
    EXPECT_EQ(write("FS! ", bit), kSuccess);
    EXPECT_EQ(read("FS! "), bit);
    EXPECT_EQ(write(target, 1000 * 4), kSuccess) << "in quarters";
    EXPECT_EQ(read(target), 1000 * 4);
    EXPECT_EQ(read("FS! "), bit) << "a target changes no bit";
    EXPECT_EQ(write("FS! ", 0), kSuccess);
    EXPECT_EQ(read("FS! "), 0);
    EXPECT_EQ(read(target), 1000 * 4) << "the target is left as it is";
    EXPECT_EQ(write("FS! ", 0), kSuccess) << "again, with nothing forced";
  }
}

TEST_P(ControllerContract, ServesConnectionsBesideEachOther) {
  const std::vector<std::string> there = names();
  const std::unique_ptr<kx::UserClient> other = connect();
  EXPECT_EQ(client_->scalar_method(kSMCSelectorClose, {}, {}), kKxReturnSuccess);
  client_ = connect();
  EXPECT_EQ(names(), there);
}

INSTANTIATE_TEST_SUITE_P(Machines, ControllerContract,
                         testing::ValuesIn(machines_with(kSMCServiceClass)),
                         [](const auto& machine) { return machine.param; });

}  // namespace
