#include "machines/simulated/controller.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "support/fake_simulation.h"
#include "support/milliseconds.h"

namespace simulated {
namespace {

/// One connection to a driver, and what a program says through it.
class Connection {
 public:
  explicit Connection(Controller& driver) {
    EXPECT_EQ(driver.open(1, client_), kKxReturnSuccess);
    EXPECT_EQ(scalar(0), kKxReturnSuccess);
  }

  kx_return_t scalar(std::uint32_t selector) { return client_->scalar_method(selector, {}, {}); }

  kx_return_t call(const SMCParamStruct& request, SMCParamStruct& reply,
                   std::uint32_t selector = 2) {
    std::size_t size = 0;
    const kx_return_t result =
        client_->structure_method(selector, std::as_bytes(std::span(&request, 1)),
                                  std::as_writable_bytes(std::span(&reply, 1)), size);
    EXPECT_EQ(size, result == kKxReturnSuccess ? 80U : 0U);
    return result;
  }

  SMCParamStruct transact(const char (&name)[5], std::uint8_t command) {
    SMCParamStruct request{};
    request.key = four_characters(name);
    request.command = command;
    SMCParamStruct reply;
    std::memset(&reply, 0xEE, sizeof reply);
    EXPECT_EQ(call(request, reply), kKxReturnSuccess);
    return reply;
  }

  SMCParamStruct read(const char (&name)[5]) { return transact(name, kSMCCommandRead); }
  SMCParamStruct describe(const char (&name)[5]) { return transact(name, kSMCCommandKeyInfo); }

  /// The result byte.
  int write(const char (&name)[5], const std::vector<unsigned char>& bytes) {
    SMCParamStruct reply{};
    EXPECT_EQ(call(write_request(name, bytes), reply), kKxReturnSuccess);
    return reply.result;
  }

  static SMCParamStruct write_request(const char (&name)[5],
                                      const std::vector<unsigned char>& bytes) {
    SMCParamStruct request{};
    request.key = four_characters(name);
    request.command = kSMCCommandWrite;
    request.info.dataSize = static_cast<std::uint32_t>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), request.bytes);
    return request;
  }

  kx::UserClient& client() { return *client_; }

 private:
  std::unique_ptr<kx::UserClient> client_;
};

std::vector<int> front(const SMCParamStruct& record, std::size_t count) {
  return {record.bytes, record.bytes + count};
}

class ControllerTest : public ::testing::Test {
 protected:
  FakeSurroundings fake_;
  Machine machine_{fake_.surroundings(2)};
  Controller driver_{machine_};
  Connection connection_{driver_};
};

TEST_F(ControllerTest, ShowsItselfUnderItsServiceClass) {
  EXPECT_EQ(driver_.classes(), std::vector<std::string>{"VeltoSMC"});
}

TEST_F(ControllerTest, RefusesAConnectionTypeItDoesNotKnow) {
  std::unique_ptr<kx::UserClient> client;
  EXPECT_EQ(driver_.open(0, client), kKxReturnUnsupported);
  EXPECT_EQ(driver_.open(2, client), kKxReturnUnsupported);
  EXPECT_EQ(client, nullptr);
}

TEST_F(ControllerTest, OpensForAnyUser) {
  fake_.effective_user = 1000;
  Connection another(driver_);
  EXPECT_EQ(another.read("TA0P").result, 0);
}

TEST_F(ControllerTest, AnswersNoTransactionOutsideOfItsHandShakes) {
  std::unique_ptr<kx::UserClient> client;
  ASSERT_EQ(driver_.open(1, client), kKxReturnSuccess);
  SMCParamStruct record{};
  std::size_t size = 0;
  const auto in = std::as_bytes(std::span(&record, 1));
  const auto out = std::as_writable_bytes(std::span(&record, 1));
  EXPECT_EQ(client->structure_method(2, in, out, size), kKxReturnError);
  EXPECT_EQ(client->scalar_method(0, {}, {}), kKxReturnSuccess);
  EXPECT_EQ(client->structure_method(2, in, out, size), kKxReturnSuccess);
  EXPECT_EQ(client->scalar_method(1, {}, {}), kKxReturnSuccess);
  EXPECT_EQ(client->structure_method(2, in, out, size), kKxReturnError);
}

TEST_F(ControllerTest, CloseHandShakeNeedsAnOpenOne) {
  EXPECT_EQ(connection_.scalar(1), kKxReturnSuccess);
  EXPECT_EQ(connection_.scalar(1), kKxReturnError);
  EXPECT_EQ(connection_.scalar(0), kKxReturnSuccess);
  EXPECT_EQ(connection_.scalar(0), kKxReturnSuccess);
}

TEST_F(ControllerTest, RefusesSelectorsThatItDoesNotKnow) {
  SMCParamStruct record{};
  EXPECT_EQ(connection_.scalar(2), kKxReturnUnsupported);
  EXPECT_EQ(connection_.scalar(3), kKxReturnUnsupported);
  EXPECT_EQ(connection_.call(record, record, 0), kKxReturnUnsupported);
  EXPECT_EQ(connection_.call(record, record, 3), kKxReturnUnsupported);
}

TEST_F(ControllerTest, RefusesHandShakesWithArguments) {
  std::uint32_t word = 0;
  EXPECT_EQ(connection_.client().scalar_method(0, {&word, 1}, {}), kKxReturnBadArgument);
  EXPECT_EQ(connection_.client().scalar_method(0, {}, {&word, 1}), kKxReturnBadArgument);
}

TEST_F(ControllerTest, RefusesRecordsOfAnotherSize) {
  std::array<std::byte, 100> in{};
  std::array<std::byte, 100> out{};
  std::size_t size = 7;
  auto call = [&](std::size_t in_size, std::size_t out_size) {
    return connection_.client().structure_method(2, std::span(in).first(in_size),
                                                 std::span(out).first(out_size), size);
  };
  EXPECT_EQ(call(79, 80), kKxReturnBadArgument);
  EXPECT_EQ(call(81, 80), kKxReturnBadArgument);
  EXPECT_EQ(call(0, 80), kKxReturnBadArgument);
  EXPECT_EQ(call(80, 79), kKxReturnBadArgument);
  EXPECT_EQ(size, 7U);
  EXPECT_EQ(call(80, 100), kKxReturnSuccess);
  EXPECT_EQ(size, 80U);
}

TEST_F(ControllerTest, DescribesEveryKeyBySizeAndType) {
  for (const Key& key : all_keys()) {
    SMCParamStruct request{};
    request.key = key.code;
    request.command = kSMCCommandKeyInfo;
    SMCParamStruct reply{};
    ASSERT_EQ(connection_.call(request, reply), kKxReturnSuccess);
    EXPECT_EQ(reply.key, key.code);
    EXPECT_EQ(reply.info.dataSize, key.type.size);
    EXPECT_EQ(reply.info.dataType, key.type.code);
    EXPECT_EQ(reply.result, 0);
  }
}

TEST_F(ControllerTest, DescribesAnUnknownKeyAsOneOfNoBytes) {
  const SMCParamStruct reply = connection_.describe("F9Tg");
  EXPECT_EQ(reply.info.dataSize, 0U);
  EXPECT_EQ(reply.info.dataType, 0U);
  EXPECT_EQ(reply.result, static_cast<int>(controller::Result::unknown_key));
}

TEST_F(ControllerTest, ReadsAnUnknownKeyAsZeros) {
  const SMCParamStruct reply = connection_.read("F9Tg");
  EXPECT_EQ(front(reply, 32), std::vector<int>(32, 0));
  EXPECT_EQ(reply.result, static_cast<int>(controller::Result::unknown_key));
}

TEST_F(ControllerTest, ReadsEachTypeWithTheHighestByteFirstAndZerosBehind) {
  fake_.pass(70'000 * kMs, 0);
  EXPECT_EQ(front(connection_.read("TA0P"), 3), (std::vector<int>{25, 0, 0}));        // sp78
  EXPECT_EQ(front(connection_.read("F0Mx"), 3), (std::vector<int>{0x51, 0x40, 0}));   // fpe2
  EXPECT_EQ(front(connection_.read("FCnt"), 2), (std::vector<int>{3, 0}));            // ui8
  EXPECT_EQ(front(connection_.read("Uptm"), 5), (std::vector<int>{0, 0, 0, 70, 0}));  // ui32
  EXPECT_EQ(front(connection_.read("PC0C"), 3), (std::vector<int>{0x0C, 0xBC, 0}));   // fp88
  EXPECT_EQ(connection_.write("FS! ", {0x81, 0x02}), 0);
  EXPECT_EQ(front(connection_.read("FS! "), 3), (std::vector<int>{0x81, 0x02, 0}));  // ui16
}

TEST_F(ControllerTest, WrittenTargetAndForceBitsMoveTheFan) {
  EXPECT_EQ(connection_.write("F1Tg", {0x2E, 0xE0}), 0);  // 3000
  EXPECT_EQ(connection_.write("FS! ", {0x00, 0x02}), 0);
  EXPECT_EQ(machine_.inspect().fans().force_bits(), 2);
  EXPECT_EQ(machine_.inspect().fans().target_rpm(1), 3000);
  fake_.pass(30'000 * kMs, 0);
  EXPECT_EQ(front(connection_.read("F1Ac"), 2), (std::vector<int>{0x2E, 0xE0}));
  EXPECT_EQ(front(connection_.read("F0Ac"), 2), (std::vector<int>{0x0C, 0x80}));  // 800
}

TEST_F(ControllerTest, ClearedForceBitLeavesTheTarget) {
  connection_.write("F0Tg", {0x2E, 0xE0});
  connection_.write("FS! ", {0, 1});
  connection_.write("FS! ", {0, 0});
  EXPECT_EQ(machine_.inspect().fans().force_bits(), 0);
  EXPECT_EQ(front(connection_.read("F0Tg"), 2), (std::vector<int>{0x2E, 0xE0}));
}

TEST_F(ControllerTest, RefusesWritesOfOrdinaryUsersWithAReturnCode) {
  fake_.effective_user = 1000;
  for (const auto& request :
       {Connection::write_request("FS! ", {0, 1}), Connection::write_request("PC0C", {0, 1}),
        Connection::write_request("F9Tg", {0, 1})}) {
    SMCParamStruct reply{};
    EXPECT_EQ(connection_.call(request, reply), kKxReturnNotPermitted);
  }
  EXPECT_EQ(machine_.inspect().fans().force_bits(), 0);
}

TEST_F(ControllerTest, RefusesWritesOfReadOnlyKeysAndOfUnknownOnesWithTheResultByte) {
  EXPECT_EQ(connection_.write("F0Mx", {0, 1}), static_cast<int>(controller::Result::read_only_key));
  EXPECT_EQ(connection_.write("F0Ac", {0, 1}), static_cast<int>(controller::Result::read_only_key));
  EXPECT_EQ(connection_.write("F9Tg", {0, 1}), static_cast<int>(controller::Result::unknown_key));
}

TEST_F(ControllerTest, RefusesWritesOfAnotherSizeAndChangesNothing) {
  EXPECT_EQ(connection_.write("FS! ", {1}), static_cast<int>(controller::Result::wrong_size));
  EXPECT_EQ(connection_.write("FS! ", {1, 2, 3}), static_cast<int>(controller::Result::wrong_size));
  EXPECT_EQ(machine_.inspect().fans().force_bits(), 0);
}

TEST_F(ControllerTest, RefusesAnUnknownCommandWithTheResultByte) {
  EXPECT_EQ(connection_.transact("FS! ", 0).result,
            static_cast<int>(controller::Result::unknown_command));
  EXPECT_EQ(connection_.transact("FS! ", 7).result,
            static_cast<int>(controller::Result::unknown_command));
}

// What each thread writes it alone writes, so the last of it must stand; the thread sanitizer
// watches the rest.
TEST_F(ControllerTest, TwoConnectionsServeSeveralThreadsAtOnce) {
  Surroundings real = real_surroundings();
  real.effective_user = [] { return uid_t{0}; };
  Machine machine(real);
  Controller driver(machine);
  const auto work = [&](auto& target) {
    Connection connection(driver);
    for (int i = 0; i <= 2000; ++i) {
      connection.write(target, {static_cast<unsigned char>(i >> 8), static_cast<unsigned char>(i)});
      connection.write("FS! ", {0, static_cast<unsigned char>(i & 7)});
      EXPECT_EQ(connection.read("PC0C").result, 0);
      EXPECT_EQ(front(connection.read(target), 2), (std::vector<int>{i >> 8, i & 0xFF}));
    }
  };
  std::atomic<bool> done = false;
  std::thread reader([&] {
    while (!done) {
      EXPECT_LE(machine.inspect().fans().force_bits(), 7);
    }
  });
  std::thread first([&] { work("F0Tg"); });
  std::thread second([&] { work("F1Tg"); });
  first.join();
  second.join();
  done = true;
  reader.join();
  EXPECT_EQ(machine.inspect().fans().target_rpm(0), 500);
  EXPECT_EQ(machine.inspect().fans().target_rpm(1), 500);
}

}  // namespace
}  // namespace simulated
