#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "Kx/Kx.h"
#include "support/kx_driver.h"

namespace {

/// A driver whose scalar method waits, once entered, until it is let go.
struct SlowDriver {
  SlowDriver() {
    driver->scalar = [this](auto, auto, auto) {
      entered.set_value();
      let_go.get_future().wait();
      EXPECT_FALSE(closed);
      return kKxReturnSuccess;
    };
    driver->on_close = [this] { closed = true; };
    kx::install_machine({{driver, {}}, {make_driver({"Other"}), {}}});
  }
  ~SlowDriver() { kx::install_machine({}); }

  std::shared_ptr<TestDriver> driver = make_driver({"Slow"});
  std::promise<void> entered;
  std::promise<void> let_go;
  std::atomic<bool> closed{false};
};

TEST(KxThreadTest, OtherConnectionsWorkWhileADriverIsSlow) {
  SlowDriver slow;
  const kx_object_t connection = open_connection("Slow");
  std::thread caller([&] { KxConnectMethodScalarIScalarO(connection, 0, {}, {}); });
  slow.entered.get_future().wait();

  const kx_object_t other = open_connection("Other");
  EXPECT_EQ(KxConnectMethodScalarIScalarO(other, 0, {}, {}), kKxReturnSuccess);
  EXPECT_EQ(KxServiceClose(other), kKxReturnSuccess);

  slow.let_go.set_value();
  caller.join();
  KxServiceClose(connection);
}

TEST(KxThreadTest, AConnectionClosedDuringACallLivesUntilTheCallReturns) {
  SlowDriver slow;
  const kx_object_t connection = open_connection("Slow");
  kx_return_t result = kKxReturnError;
  std::thread caller([&] { result = KxConnectMethodScalarIScalarO(connection, 0, {}, {}); });
  slow.entered.get_future().wait();

  EXPECT_EQ(KxServiceClose(connection), kKxReturnSuccess);
  EXPECT_EQ(KxConnectMethodScalarIScalarO(connection, 0, {}, {}), kKxReturnBadArgument);
  EXPECT_FALSE(slow.closed);

  slow.let_go.set_value();
  caller.join();
  EXPECT_EQ(result, kKxReturnSuccess);
  EXPECT_TRUE(slow.closed);
  EXPECT_EQ(kx::live_objects(), 0U);
}

TEST(KxThreadTest, AnOpenThatIsSlowHoldsUpNobody) {
  SlowDriver slow;
  slow.driver->on_open = [&](auto) {
    slow.entered.set_value();
    slow.let_go.get_future().wait();
    return kKxReturnSuccess;
  };
  kx_object_t connection = 0;
  std::thread opener([&] { connection = open_connection("Slow"); });
  slow.entered.get_future().wait();
  KxServiceClose(open_connection("Other"));
  slow.let_go.set_value();
  opener.join();
  EXPECT_EQ(KxServiceClose(connection), kKxReturnSuccess);
}

TEST(KxThreadTest, ThreadsThatFindOpenCallAndCloseAtOnceDoNotDisturbEachOther) {
  auto driver = make_driver({"A"});
  std::atomic<int> calls{0};
  std::atomic<int> closes{0};
  driver->scalar = [&](auto, auto, auto) {
    ++calls;
    return kKxReturnSuccess;
  };
  driver->on_close = [&] { ++closes; };
  kx::install_machine({{driver, {}}});
  constexpr int kThreads = 4;
  constexpr int kRounds = 2000;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < kRounds; ++round) {
        const kx_object_t connection = open_connection("A");
        EXPECT_EQ(KxConnectMethodScalarIScalarO(connection, 0, {}, {}), kKxReturnSuccess);
        EXPECT_EQ(KxServiceClose(connection), kKxReturnSuccess);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(calls, kThreads * kRounds);
  EXPECT_EQ(closes, kThreads * kRounds);
  EXPECT_EQ(kx::live_objects(), 0U);
  kx::install_machine({});
}

TEST(KxThreadTest, ThreadsThatShareAnIteratorTakeEachEntryOnce) {
  std::vector<kx::Node> machine;
  constexpr int kServices = 1000;
  machine.reserve(kServices);
  for (int i = 0; i < kServices; ++i) {
    machine.push_back({make_driver({"A"}), {}});
  }
  kx::install_machine(std::move(machine));
  const kx_object_t iterator = matching_iterator("A");
  std::atomic<int> taken{0};
  const auto take_all = [&] {
    while (const kx_object_t entry = KxIteratorNext(iterator)) {
      ++taken;
      KxObjectRelease(entry);
    }
  };
  std::thread other(take_all);
  take_all();
  other.join();
  EXPECT_EQ(taken, kServices);
  KxObjectRelease(iterator);
  EXPECT_EQ(kx::live_objects(), 0U);
  kx::install_machine({});
}

}  // namespace
