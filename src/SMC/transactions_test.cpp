#include <gmock/gmock.h>

#include "SMC/SMC.h"
#include "support/controller_fixture.h"
#include "support/thrown.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class TransactionsTest : public ControllerTest {
 protected:
  static smc_key_data key_data(const char* name, const char* type, std::uint32_t size = 2,
                               std::uint32_t attributes = 0) {
    return {FakeController::code(name), {size, FakeController::code(type), attributes}};
  }

  /// The one request so far, as hexadecimal digits.
  std::string request() const {
    const auto requests = controller->requests();
    return requests.size() == 1 ? hex(requests[0]) : "not one request";
  }

  std::string failure_to_resolve(const char* name) {
    return thrown<SMCException>([&] { smc.get_key_infodata(SMC::key(name)); });
  }

  // Behind a pointer because its destructor, unlike a fixture's, may throw.
  std::unique_ptr<SMC> connection = std::make_unique<SMC>();
  SMC& smc = *connection;
};

TEST_F(TransactionsTest, AReadSendsTheKeyAndAllThreeWordsOfItsInfo) {
  SMCParamStruct reply{};
  smc.read(key_data("PC0C", "fp88", 2, 0xD4C3B2A1), reply);
  // Host order: every word is seen from its least significant byte.
  EXPECT_EQ(request(),
            "43304350"                                          // key
            "000000000000000000000000000000000000000000000000"  // version, powerLimit
            "02000000"
            "38387066"
            "a1b2c3d4"  // info
            "00"
            "00"
            "05"
            "00"
            "00000000"  // result, status, command, word
            "00000000000000000000000000000000"
            "00000000000000000000000000000000");  // bytes
  EXPECT_EQ(reply.bytes[0], 0x28);
  EXPECT_EQ(reply.bytes[1], 0x80);
}

TEST_F(TransactionsTest, AKeyInfoRequestHoldsTheKeyAlone) {
  const smc_key_info info = smc.get_key_infodata(SMC::key("F0Tg"));
  SMCParamStruct expected{};
  expected.key = 0x46305467;
  expected.command = 9;
  EXPECT_EQ(request(), hex(expected));
  EXPECT_EQ(info.dataSize, 2U);
  EXPECT_EQ(info.dataType, FakeController::code("fpe2"));
}

TEST_F(TransactionsTest, AWriteSendsTheKeyItsInfoAndTheEncodedBytes) {
  smc.write(key_data("F0Tg", "fpe2", 2, 0x80), 1500.0F);
  SMCParamStruct expected{};
  expected.key = 0x46305467;
  expected.info = {2, 0x66706532, 0x80};
  expected.command = 6;
  expected.bytes[0] = 0x17;
  expected.bytes[1] = 0x70;
  EXPECT_EQ(request(), hex(expected));
}

TEST_F(TransactionsTest, EachWriteEncodesByTheOverloadOfItsValue) {
  smc.write(key_data("F0Tg", "fpe2"), -1);
  EXPECT_EQ(controller->word("F0Tg"), 0xFFFCU);
  smc.write(key_data("F0Tg", "fpe2"), 2000U);
  EXPECT_EQ(controller->word("F0Tg"), 8000U);
  smc.write(key_data("F0Tg", "fpe2"), 0.25F);
  EXPECT_EQ(controller->word("F0Tg"), 1U);
  smc.write(key_data("MSW2", "ui16"), 65535);
  EXPECT_EQ(controller->word("MSW2"), 65535U);
  smc.write(key_data("MSW2", "ui16"), -7.0F);
  EXPECT_EQ(controller->word("MSW2"), 0U);
  EXPECT_EQ(thrown<SMCException>([&] { smc.write(key_data("F0Tg", "fpe2"), 4294967295U); }),
            "Value too large for SMC data type FPe2");
}

TEST_F(TransactionsTest, AWriteOutOfRangeSendsNothing) {
  EXPECT_EQ(thrown<SMCException>([&] { smc.write(key_data("F0Tg", "fpe2"), 9000); }),
            "Value too large for SMC data type FPe2");
  EXPECT_EQ(thrown<SMCException>([&] { smc.write(key_data("MSW2", "ui16"), 65536U); }),
            "Value too large for SMC 16-bit unsigned int");
  EXPECT_EQ(thrown<SMCException>([&] { smc.write(key_data("TC0D", "sp78"), 1.0F); }),
            "Unrecognized SMC data type 73703738");
  EXPECT_THAT(controller->requests(), IsEmpty());
}

TEST_F(TransactionsTest, AWriteWithANonZeroResultIsAnError) {
  controller->answer(0, {kKxReturnSuccess, 1, {}, {}});
  EXPECT_EQ(thrown<SMCException>([&] { smc.write(key_data("F0Tg", "fpe2"), 1.0F); }),
            "SMC result error during write");
  controller->answer(0, {kKxReturnSuccess, 0xFF, {}, {}});
  EXPECT_EQ(thrown<SMCException>([&] { smc.write(key_data("MSW2", "ui16"), 1); }),
            "SMC result error during write");
  EXPECT_EQ(thrown<SMCException>([&] { smc.write(key_data("none", "ui16"), 1U); }),
            "SMC result error during write");
}

TEST_F(TransactionsTest, AReadWithANonZeroResultReturnsItsBytes) {
  controller->answer(0, {kKxReturnSuccess, 0x84, {}, {}});
  EXPECT_EQ(smc.get_float(key_data("PC0C", "fp88")), 40.5F);
  EXPECT_EQ(smc.get_float(key_data("none", "fp88")), 0.0F);
}

TEST_F(TransactionsTest, AKeyInfoWithANonZeroResultIsTakenAsItIs) {
  controller->answer(0, {kKxReturnSuccess, 0x84, smc_key_info{2, 0x1234, 0x5678}, {}});
  const smc_key_info info = smc.get_key_infodata(SMC::key("none"));
  EXPECT_EQ(info.dataSize, 2U);
  EXPECT_EQ(info.dataType, 0x1234U);
  EXPECT_EQ(info.dataAttributes, 0x5678U);
}

TEST_F(TransactionsTest, AKeyOfAnyOtherSizeIsNotResolved) {
  EXPECT_EQ(failure_to_resolve("MSDI"), "Expected data size 2 for SMC key \"MSDI\", instead got 1");
  EXPECT_EQ(failure_to_resolve("none"), "Expected data size 2 for SMC key \"none\", instead got 0");
  controller->answer(0, {kKxReturnSuccess, {}, smc_key_info{4294967295U, 0, 0}, {}});
  EXPECT_EQ(failure_to_resolve("FS! "),
            "Expected data size 2 for SMC key \"FS! \", instead got 4294967295");
}

TEST_F(TransactionsTest, AFailedDriverCallThrowsFromEveryTransaction) {
  const std::string text = "KxConnectMethodStructureIStructureO(): error kKxReturnNotPermitted";
  const smc_key_data key = key_data("F0Tg", "fpe2");
  for (std::size_t transaction = 0; transaction < 5; ++transaction) {
    controller->answer(transaction, {kKxReturnNotPermitted, {}, {}, {}});
  }
  EXPECT_EQ(failure_to_resolve("F0Tg"), text);
  EXPECT_EQ(thrown<SMCException>([&] { smc.get_short(key); }), text);
  EXPECT_EQ(thrown<SMCException>([&] { smc.get_float(key); }), text);
  EXPECT_EQ(thrown<SMCException>([&] { smc.write(key, 1); }), text);
  SMCParamStruct reply{};
  EXPECT_EQ(thrown<SMCException>([&] { smc.read(key, reply); }), text);
  EXPECT_THAT(controller->requests(), SizeIs(5));
}

TEST_F(TransactionsTest, AShortIsTheFirstTwoBytesOfAKeyOfWhateverType) {
  EXPECT_EQ(smc.get_short(key_data("MSW2", "ui16")), 0xBEEF);
  EXPECT_EQ(smc.get_short(key_data("MSW2", "flag", 7)), 0xBEEF);
}

TEST_F(TransactionsTest, AFloatIsReadByTheTypeThatTheCallerKeeps) {
  EXPECT_EQ(smc.get_float(key_data("PC0C", "fp88")), 40.5F);
  EXPECT_EQ(smc.get_float(key_data("PC0C", "fpe2")), 2592.0F);
  EXPECT_EQ(smc.get_float(key_data("TC0D", "sp78")), 42.25F);
}

TEST_F(TransactionsTest, AFloatOfAnotherWidthIsUnrecognized) {
  EXPECT_EQ(thrown<SMCException>([&] { smc.get_float(key_data("PC0C", "fpc4")); }),
            "Unrecognized SMC fixed point integer width");
  EXPECT_EQ(thrown<SMCException>([&] { smc.get_float(key_data("PC0C", "sp69")); }),
            "Unrecognized SMC signed fixed point integer width");
}

using TransactionsDeathTest = TransactionsTest;

TEST_F(TransactionsDeathTest, AFloatOfAnIntegerKeyAborts) {
  EXPECT_DEATH(smc.get_float(key_data("MSW2", "ui16")),
               HasSubstr("Assertion failed: (is_fixed_point(type)), function "
                         "unpack_fixed_point, file src/SMC.\n"));
}

}  // namespace
