#include <gtest/gtest.h>

#include <memory>
#include <ostream>

#include "Kx/Kx.h"
#include "Kx/object_table.h"
#include "support/kx_driver.h"

namespace {

/// Every way in which a handle can be no object of the kind that an operation wants.
enum class Kind { kNothing, kNeverMade, kMasterPort, kTaskPort, kIterator, kService, kConnection };

std::ostream& operator<<(std::ostream& stream, Kind kind) {
  constexpr const char* kNames[] = {"Nothing",  "NeverMade", "MasterPort", "TaskPort",
                                    "Iterator", "Service",   "Connection"};
  return stream << kNames[static_cast<int>(kind)];
}

class HandleTest : public testing::TestWithParam<Kind> {
 public:
  ~HandleTest() override { kx::install_machine({}); }

 protected:
  HandleTest() { kx::install_machine({{make_driver({"A"}), {}}}); }

  kx_object_t handle() {
    switch (GetParam()) {
      case Kind::kNothing:
        return 0;
      case Kind::kNeverMade:
        return 0xFFFFFFF0;
      case Kind::kMasterPort:
        return master_port();
      case Kind::kTaskPort:
        return KxTaskSelf();
      case Kind::kIterator:
        return matching_iterator("A");
      case Kind::kService:
        return first_service("A");
      case Kind::kConnection:
        return open_connection("A");
    }
    return 0;
  }

  static bool is(Kind kind) { return GetParam() == kind; }
  static kx_return_t good_if(bool good) { return good ? kKxReturnSuccess : kKxReturnBadArgument; }
};

TEST_P(HandleTest, OnlyAnIteratorHasANextEntry) {
  const kx_object_t iterator = handle();
  EXPECT_EQ(KxIteratorNext(iterator) != 0, is(Kind::kIterator));
}

TEST_P(HandleTest, OnlyAnIteratorIsDisposedOfAsOne) {
  const kx_object_t iterator = handle();
  EXPECT_EQ(KxRegistryDisposeEnumerator(iterator), good_if(is(Kind::kIterator)));
  EXPECT_EQ(KxRegistryDisposeEnumerator(iterator), kKxReturnBadArgument);
  EXPECT_EQ(KxIteratorNext(iterator), 0U);
}

TEST_P(HandleTest, OnlyAServiceConformsToAClass) {
  EXPECT_EQ(KxObjectConformsTo(handle(), "A"), is(Kind::kService));
}

TEST_P(HandleTest, OnlyServicesAndIteratorsAreReleasedAndOnlyOnce) {
  const kx_object_t object = handle();
  EXPECT_EQ(KxObjectRelease(object), good_if(is(Kind::kService) || is(Kind::kIterator)));
  EXPECT_EQ(KxObjectRelease(object), kKxReturnBadArgument);
  EXPECT_FALSE(KxObjectConformsTo(object, "A"));
}

TEST_P(HandleTest, OnlyAServiceIsOpened) {
  kx_object_t connection = 0;
  EXPECT_EQ(KxServiceOpen(handle(), KxTaskSelf(), 0, &connection), good_if(is(Kind::kService)));
  EXPECT_EQ(connection != 0, is(Kind::kService));
}

TEST_P(HandleTest, OnlyAConnectionIsCalled) {
  const kx_object_t connection = handle();
  EXPECT_EQ(KxConnectMethodScalarIScalarO(connection, 0, {}, {}), good_if(is(Kind::kConnection)));
  std::size_t size = 0;
  EXPECT_EQ(KxConnectMethodStructureIStructureO(connection, 0, 0, &size, nullptr, nullptr),
            good_if(is(Kind::kConnection)));
}

TEST_P(HandleTest, OnlyAConnectionIsClosedAndOnlyOnce) {
  const kx_object_t connection = handle();
  EXPECT_EQ(KxServiceClose(connection), good_if(is(Kind::kConnection)));
  EXPECT_EQ(KxServiceClose(connection), kKxReturnBadArgument);
  EXPECT_EQ(KxConnectMethodScalarIScalarO(connection, 0, {}, {}), kKxReturnBadArgument);
}

INSTANTIATE_TEST_SUITE_P(AllKinds, HandleTest,
                         testing::Values(Kind::kNothing, Kind::kNeverMade, Kind::kMasterPort,
                                         Kind::kTaskPort, Kind::kIterator, Kind::kService,
                                         Kind::kConnection),
                         testing::PrintToStringParamName());

class ArgumentTest : public testing::Test {
 public:
  ~ArgumentTest() override { kx::install_machine({}); }

 protected:
  ArgumentTest() { kx::install_machine({{make_driver({"A"}), {}}}); }
};

TEST_F(ArgumentTest, AStaleHandleIsNotTakenForALaterObject) {
  const kx_object_t stale = first_service("A");
  KxObjectRelease(stale);
  for (int i = 0; i < 1000; ++i) {
    EXPECT_NE(first_service("A"), stale);
  }
  EXPECT_FALSE(KxObjectConformsTo(stale, "A"));
}

TEST_F(ArgumentTest, TheMasterPortNeedsTheDefaultBootstrapPortAndAPlaceForItsResult) {
  kx_port_t master = 0;
  EXPECT_EQ(KxMasterPort(1, &master), kKxReturnBadArgument);
  EXPECT_EQ(KxMasterPort(0, nullptr), kKxReturnBadArgument);
}

TEST_F(ArgumentTest, MatchingNeedsAClassName) {
  EXPECT_EQ(KxServiceMatching(nullptr), nullptr);
}

TEST_F(ArgumentTest, AMatchingDictionaryIsConsumedByAFailureToo) {
  kx_object_t iterator = 0;
  EXPECT_EQ(KxServiceGetMatchingServices(0, KxServiceMatching("A"), &iterator),
            kKxReturnBadArgument);
  EXPECT_EQ(KxServiceGetMatchingServices(master_port(), KxServiceMatching("A"), nullptr),
            kKxReturnBadArgument);
  EXPECT_EQ(kx::live_objects(), 0U);
}

TEST_F(ArgumentTest, AMatchingDictionaryIsConsumedOnce) {
  KxMatching* const matching = KxServiceMatching("A");
  kx_object_t iterator = 0;
  EXPECT_EQ(KxServiceGetMatchingServices(master_port(), matching, &iterator), kKxReturnSuccess);
  EXPECT_EQ(KxServiceGetMatchingServices(master_port(), matching, &iterator), kKxReturnBadArgument);
  EXPECT_EQ(KxServiceGetMatchingServices(master_port(), nullptr, &iterator), kKxReturnBadArgument);
}

TEST_F(ArgumentTest, ARegistryIteratorNeedsTheMasterPortTheOnePlaneAndKnownOptions) {
  const kx_port_t master = master_port();
  kx_object_t iterator = 0;
  EXPECT_EQ(KxRegistryCreateIterator(0, kKxServicePlane, 1, &iterator), kKxReturnBadArgument);
  EXPECT_EQ(KxRegistryCreateIterator(master, nullptr, 1, &iterator), kKxReturnBadArgument);
  EXPECT_EQ(KxRegistryCreateIterator(master, "KxPower", 1, &iterator), kKxReturnBadArgument);
  EXPECT_EQ(KxRegistryCreateIterator(master, kKxServicePlane, 2, &iterator), kKxReturnBadArgument);
  EXPECT_EQ(KxRegistryCreateIterator(master, kKxServicePlane, 1, nullptr), kKxReturnBadArgument);
  EXPECT_EQ(kx::live_objects(), 0U);
}

TEST_F(ArgumentTest, NothingConformsToNoClass) {
  EXPECT_FALSE(KxObjectConformsTo(first_service("A"), nullptr));
}

TEST_F(ArgumentTest, OpeningNeedsTheCallingTaskAndAPlaceForItsResult) {
  const kx_object_t service = first_service("A");
  kx_object_t connection = 0;
  EXPECT_EQ(KxServiceOpen(service, 0, 0, &connection), kKxReturnBadArgument);
  EXPECT_EQ(KxServiceOpen(service, KxTaskSelf(), 0, nullptr), kKxReturnBadArgument);
  EXPECT_EQ(kx::live_objects(), 1U);
}

TEST_F(ArgumentTest, AStructureCallNeedsTheRecordsThatItsSizesPromise) {
  const kx_object_t connection = open_connection("A");
  char record[4] = {};
  std::size_t size = sizeof record;
  EXPECT_EQ(KxConnectMethodStructureIStructureO(connection, 0, 4, nullptr, record, record),
            kKxReturnBadArgument);
  EXPECT_EQ(KxConnectMethodStructureIStructureO(connection, 0, 4, &size, nullptr, record),
            kKxReturnBadArgument);
  EXPECT_EQ(KxConnectMethodStructureIStructureO(connection, 0, 4, &size, record, nullptr),
            kKxReturnBadArgument);
  EXPECT_EQ(KxConnectMethodStructureIStructureO(connection, 0, 4, &size, record, record),
            kKxReturnSuccess);
}

TEST(ObjectTable, GivesNoHandleThatIsAPort) {
  kx::ObjectTable objects;
  for (int i = 0; i < 10; ++i) {
    const kx_object_t handle = objects.add(std::make_shared<kx::Iterator>());
    EXPECT_NE(handle, 0U);
    EXPECT_NE(handle, KxTaskSelf());
    EXPECT_NE(handle, master_port());
  }
}

}  // namespace
