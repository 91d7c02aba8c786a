#include "machines/controller/key_service.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace controller {
namespace {

constexpr std::uint32_t kNobody = four_characters("none");

/// Keys of each width, and what becomes of them.
struct Bench {
  struct One {
    std::uint32_t code;
    const ValueType& type;
    bool writable;
    std::uint32_t stored;
  };
  std::vector<One> keys = {{four_characters("ByT1"), kUi8, true, 0x5A},
                           {four_characters("WrD2"), kUi16, true, 0x1234},
                           {four_characters("LoN4"), kUi32, true, 0x89ABCDEF},
                           {four_characters("TC0D"), kSp78, false, 0x2A40}};
  kx_return_t answer = kKxReturnSuccess;  ///< of reads and writes
  bool may_change = true;
  int reads = 0;
  std::vector<std::uint32_t> written;
  int connections = 0;  ///< open now
};

class BenchKeys final : public Keys {
 public:
  explicit BenchKeys(Bench& bench) : bench_(bench) { ++bench_.connections; }
  ~BenchKeys() override { --bench_.connections; }

  std::optional<std::size_t> find(std::uint32_t code) override {
    const auto at = std::find_if(bench_.keys.begin(), bench_.keys.end(),
                                 [&](const Bench::One& key) { return key.code == code; });
    return at == bench_.keys.end()
               ? std::nullopt
               : std::optional<std::size_t>(static_cast<std::size_t>(at - bench_.keys.begin()));
  }
  const ValueType& type(std::size_t key) override { return bench_.keys[key].type; }
  bool writable(std::size_t key) override { return bench_.keys[key].writable; }
  bool may_change() override { return bench_.may_change; }
  kx_return_t read(std::size_t key, std::uint32_t& stored) override {
    ++bench_.reads;
    stored = bench_.keys[key].stored;  // also where it fails: it must go no further
    return bench_.answer;
  }
  kx_return_t write(std::size_t /*key*/, std::uint32_t stored) override {
    bench_.written.push_back(stored);
    return bench_.answer;
  }

 private:
  Bench& bench_;
};

class KeyServiceTest : public testing::Test {
 protected:
  KeyServiceTest() { connect(); }

  void connect() {
    EXPECT_EQ(service.open(kSMCConnectionType, client), kKxReturnSuccess);
    EXPECT_EQ(client->scalar_method(kSMCSelectorOpen, {}, {}), kKxReturnSuccess);
  }

  kx_return_t transact(std::uint32_t key, std::uint8_t command,
                       const std::vector<std::uint8_t>& bytes = {}) {
    SMCParamStruct request{};
    request.key = key;
    request.command = command;
    request.info.dataSize = static_cast<std::uint32_t>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), request.bytes);
    std::memset(&reply, 0xEE, sizeof reply);
    size = kUntouchedSize;
    return client->structure_method(kSMCSelectorTransaction, std::as_bytes(std::span(&request, 1)),
                                    std::as_writable_bytes(std::span(&reply, 1)), size);
  }

  bool reply_untouched() const {
    SMCParamStruct untouched;
    std::memset(&untouched, 0xEE, sizeof untouched);
    return size == kUntouchedSize && std::memcmp(&untouched, &reply, sizeof reply) == 0;
  }

  std::vector<int> front(std::size_t count) const { return {reply.bytes, reply.bytes + count}; }

  static constexpr std::size_t kUntouchedSize = 7;

  Bench bench;
  KeyService service{[this] { return std::make_unique<BenchKeys>(bench); }};
  std::unique_ptr<kx::UserClient> client;
  SMCParamStruct reply;
  std::size_t size = kUntouchedSize;
};

TEST(KeyResult, HasTheBytesOfTheProtocol) {
  EXPECT_EQ(static_cast<int>(Result::success), 0);
  EXPECT_EQ(static_cast<int>(Result::unknown_key), 1);
  EXPECT_EQ(static_cast<int>(Result::read_only_key), 2);
  EXPECT_EQ(static_cast<int>(Result::wrong_size), 3);
  EXPECT_EQ(static_cast<int>(Result::unknown_command), 4);
}

TEST_F(KeyServiceTest, AFailingReadPassesItsCodeThroughAndNoBytes) {
  for (const kx_return_t code : {kKxReturnIOError, kKxReturnNotPermitted, kKxReturnError,
                                 kKxReturnExclusiveAccess, kKxReturnUnsupported}) {
    bench.answer = code;
    EXPECT_EQ(transact(four_characters("TC0D"), kSMCCommandRead), code);
    EXPECT_TRUE(reply_untouched());
  }
}

TEST_F(KeyServiceTest, AFailingWritePassesItsCodeThroughAndNoBytes) {
  bench.answer = kKxReturnExclusiveAccess;
  EXPECT_EQ(transact(four_characters("WrD2"), kSMCCommandWrite, {0, 1}), kKxReturnExclusiveAccess);
  EXPECT_TRUE(reply_untouched());
}

TEST_F(KeyServiceTest, AFailureEndsNoConnection) {
  bench.answer = kKxReturnIOError;
  transact(four_characters("TC0D"), kSMCCommandRead);
  bench.answer = kKxReturnSuccess;
  EXPECT_EQ(transact(four_characters("TC0D"), kSMCCommandRead), kKxReturnSuccess);
  EXPECT_EQ(front(3), (std::vector<int>{0x2A, 0x40, 0}));
}

TEST_F(KeyServiceTest, ReadsAsManyBytesAsTheTypeHas) {
  transact(four_characters("ByT1"), kSMCCommandRead);
  EXPECT_EQ(front(2), (std::vector<int>{0x5A, 0}));
  transact(four_characters("LoN4"), kSMCCommandRead);
  EXPECT_EQ(front(5), (std::vector<int>{0x89, 0xAB, 0xCD, 0xEF, 0}));
  EXPECT_EQ(reply.info.dataSize, 4U);
  EXPECT_EQ(reply.info.dataType, four_characters("ui32"));
}

TEST_F(KeyServiceTest, WritesAsManyBytesAsTheTypeHas) {
  EXPECT_EQ(transact(four_characters("ByT1"), kSMCCommandWrite, {0xA5}), kKxReturnSuccess);
  EXPECT_EQ(transact(four_characters("WrD2"), kSMCCommandWrite, {0xFE, 0xDC}), kKxReturnSuccess);
  EXPECT_EQ(transact(four_characters("LoN4"), kSMCCommandWrite, {0x80, 1, 2, 0xFF}),
            kKxReturnSuccess);
  EXPECT_EQ(bench.written, (std::vector<std::uint32_t>{0xA5, 0xFEDC, 0x800102FF}));
  EXPECT_EQ(reply.result, 0);
}

TEST_F(KeyServiceTest, WritesNothingOfAnotherSizeOrToWhatCannotBeWritten) {
  EXPECT_EQ(transact(four_characters("WrD2"), kSMCCommandWrite, {1}), kKxReturnSuccess);
  EXPECT_EQ(reply.result, static_cast<int>(Result::wrong_size));
  EXPECT_EQ(transact(four_characters("TC0D"), kSMCCommandWrite, {1, 2, 3}), kKxReturnSuccess);
  EXPECT_EQ(reply.result, static_cast<int>(Result::read_only_key))
      << "before its size is looked at";
  EXPECT_EQ(transact(kNobody, kSMCCommandWrite, {1, 2}), kKxReturnSuccess);
  EXPECT_EQ(reply.result, static_cast<int>(Result::unknown_key));
  EXPECT_TRUE(bench.written.empty());
}

TEST_F(KeyServiceTest, ReadsNothingToDescribeAKey) {
  EXPECT_EQ(transact(four_characters("TC0D"), kSMCCommandKeyInfo), kKxReturnSuccess);
  EXPECT_EQ(bench.reads, 0);
  EXPECT_EQ(front(2), (std::vector<int>{0, 0}));
}

TEST_F(KeyServiceTest, ReadsOnForWhoMayNotWrite) {
  bench.may_change = false;
  EXPECT_EQ(transact(four_characters("WrD2"), kSMCCommandWrite, {0, 1}), kKxReturnNotPermitted);
  EXPECT_TRUE(reply_untouched());
  EXPECT_EQ(transact(four_characters("WrD2"), kSMCCommandRead), kKxReturnSuccess);
  EXPECT_EQ(front(2), (std::vector<int>{0x12, 0x34}));
  EXPECT_TRUE(bench.written.empty());
}

TEST_F(KeyServiceTest, MakesTheKeysAnewForEachConnection) {
  EXPECT_EQ(bench.connections, 1);
  std::unique_ptr<kx::UserClient> other;
  ASSERT_EQ(service.open(kSMCConnectionType, other), kKxReturnSuccess);
  EXPECT_EQ(bench.connections, 2);
  client.reset();
  other.reset();
  EXPECT_EQ(bench.connections, 0);
}

TEST_F(KeyServiceTest, MakesNoKeysForAnUnknownType) {
  std::unique_ptr<kx::UserClient> other;
  EXPECT_EQ(service.open(2, other), kKxReturnUnsupported);
  EXPECT_EQ(bench.connections, 1);
}

}  // namespace
}  // namespace controller
