#include "Kx/Kx.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>

#include "support/kx_driver.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int machines_composed = 0;

/// Which of `classes` each remaining entry of the iterator conforms to first; releases them all.
std::vector<std::string> walk(kx_object_t iterator, const std::vector<std::string>& classes) {
  std::vector<std::string> found;
  while (const kx_object_t entry = KxIteratorNext(iterator)) {
    std::string name = "place";
    for (const std::string& candidate : classes) {
      if (KxObjectConformsTo(entry, candidate.c_str())) {
        name = candidate;
        break;
      }
    }
    found.push_back(name);
    KxObjectRelease(entry);
  }
  return found;
}

class KxTest : public testing::Test {
 public:
  ~KxTest() override { EXPECT_EQ(kx::live_objects(), 0U); }

 protected:
};

// Root: a (below it b, below that c), a place (below it d), e.
std::vector<kx::Node> a_tree() {
  kx::Node b{make_driver({"B", "Base"}), {{make_driver({"C"}), {}}}};
  kx::Node a{make_driver({"A", "Base", "Root"}), {b}};
  kx::Node place{nullptr, {{make_driver({"D", "Base"}), {}}}};
  return {a, place, {make_driver({"E"}), {}}};
}

kx_object_t plane_iterator(std::uint32_t options) {
  kx_object_t iterator = 0;
  EXPECT_EQ(KxRegistryCreateIterator(master_port(), kKxServicePlane, options, &iterator), 0);
  return iterator;
}

// Runs in a process of its own under ctest; run by hand it must be the first.
TEST_F(KxTest, TheLinkedMachineIsComposedOnceWhenItIsFirstLookedAt) {
  EXPECT_EQ(machines_composed, 0);
  const kx_object_t first = first_service("Linked");
  const kx_object_t second = first_service("Linked");
  EXPECT_NE(first, 0U);
  EXPECT_NE(second, 0U);
  EXPECT_EQ(machines_composed, 1);
  KxObjectRelease(first);
  KxObjectRelease(second);
}

TEST_F(KxTest, ARecursiveIteratorWalksDepthFirst) {
  kx::install_machine(a_tree());
  const kx_object_t iterator = plane_iterator(kKxIterateRecursively);
  EXPECT_THAT(walk(iterator, {"A", "B", "C", "D", "E"}),
              ElementsAre("A", "B", "C", "place", "D", "E"));
  EXPECT_EQ(KxRegistryDisposeEnumerator(iterator), kKxReturnSuccess);
}

TEST_F(KxTest, APlainIteratorStaysAtTheRootsChildren) {
  kx::install_machine(a_tree());
  const kx_object_t iterator = plane_iterator(0);
  EXPECT_THAT(walk(iterator, {"A", "B", "C", "D", "E"}), ElementsAre("A", "place", "E"));
  EXPECT_EQ(KxRegistryDisposeEnumerator(iterator), kKxReturnSuccess);
}

TEST_F(KxTest, MatchingFindsDerivedServicesInRegistryOrder) {
  kx::install_machine(a_tree());
  const kx_object_t iterator = matching_iterator("Base");
  EXPECT_THAT(walk(iterator, {"A", "B", "C", "D", "E"}), ElementsAre("A", "B", "D"));
  EXPECT_EQ(KxObjectRelease(iterator), kKxReturnSuccess);
}

TEST_F(KxTest, MatchingNothingIsASuccessWithAnEmptyIterator) {
  kx::install_machine({});
  kx_object_t iterator = 0;
  EXPECT_EQ(KxServiceGetMatchingServices(master_port(), KxServiceMatching("A"), &iterator),
            kKxReturnSuccess);
  EXPECT_NE(iterator, 0U);
  EXPECT_THAT(walk(iterator, {}), IsEmpty());
  KxObjectRelease(iterator);
}

TEST_F(KxTest, AServiceConformsToItsOwnClassAndToItsBaseClasses) {
  kx::install_machine(a_tree());
  const kx_object_t service = first_service("A");
  EXPECT_TRUE(KxObjectConformsTo(service, "A"));
  EXPECT_TRUE(KxObjectConformsTo(service, "Base"));
  EXPECT_TRUE(KxObjectConformsTo(service, "Root"));
  EXPECT_FALSE(KxObjectConformsTo(service, "B"));
  EXPECT_FALSE(KxObjectConformsTo(service, "a"));
  EXPECT_FALSE(KxObjectConformsTo(service, ""));
  KxObjectRelease(service);
}

TEST_F(KxTest, OpeningHandsTheTypeToTheDriverAndItsRefusalBack) {
  auto driver = make_driver({"A"});
  std::uint32_t asked = 0;
  driver->on_open = [&](std::uint32_t type) {
    asked = type;
    return kKxReturnNotPermitted;
  };
  kx::install_machine({{driver, {}}});
  const kx_object_t service = first_service("A");
  kx_object_t connection = 0;
  EXPECT_EQ(KxServiceOpen(service, KxTaskSelf(), 0x50505543, &connection), kKxReturnNotPermitted);
  EXPECT_EQ(asked, 0x50505543U);
  EXPECT_EQ(connection, 0U);
  KxObjectRelease(service);
}

TEST_F(KxTest, OpeningAPlaceIsUnsupported) {
  kx::install_machine({{nullptr, {}}});
  const kx_object_t iterator = plane_iterator(0);
  const kx_object_t place = KxIteratorNext(iterator);
  kx_object_t connection = 0;
  EXPECT_EQ(KxServiceOpen(place, KxTaskSelf(), 0, &connection), kKxReturnUnsupported);
  KxObjectRelease(place);
  KxObjectRelease(iterator);
}

TEST_F(KxTest, ADriverThatSaysSuccessWithoutAConnectionIsAnInternalError) {
  auto driver = make_driver({"A"});
  driver->makes_clients = false;
  kx::install_machine({{driver, {}}});
  const kx_object_t service = first_service("A");
  kx_object_t connection = 0;
  EXPECT_EQ(KxServiceOpen(service, KxTaskSelf(), 0, &connection), kKxReturnInternalError);
  KxObjectRelease(service);
}

TEST_F(KxTest, AScalarMethodGetsItsSelectorAndInputsAndFillsItsOutputs) {
  auto driver = make_driver({"A"});
  driver->scalar = [](std::uint32_t selector, auto inputs, auto outputs) {
    EXPECT_EQ(selector, 3U);
    EXPECT_THAT(inputs, ElementsAre(103));
    outputs[0] = 7;
    return kKxReturnIOError;
  };
  kx::install_machine({{driver, {}}});
  const kx_object_t connection = open_connection("A");
  const std::array<std::uint32_t, 1> inputs{103};
  std::array<std::uint32_t, 1> outputs{};
  EXPECT_EQ(KxConnectMethodScalarIScalarO(connection, 3, inputs, outputs), kKxReturnIOError);
  EXPECT_EQ(outputs[0], 7U);
  KxServiceClose(connection);
}

TEST_F(KxTest, AStructureMethodGetsItsRecordAndSaysHowMuchItReturned) {
  auto driver = make_driver({"A"});
  driver->structure = [](std::uint32_t selector, auto input, auto output, std::size_t& size) {
    EXPECT_EQ(selector, 2U);
    EXPECT_EQ(input.size(), 5U);
    EXPECT_EQ(output.size(), 8U);
    std::memcpy(output.data(), input.data(), 3);
    size = 3;
    return kKxReturnSuccess;
  };
  kx::install_machine({{driver, {}}});
  const kx_object_t connection = open_connection("A");
  char reply[8] = "-------";
  std::size_t size = sizeof reply;
  EXPECT_EQ(KxConnectMethodStructureIStructureO(connection, 2, 5, &size, "hello", reply),
            kKxReturnSuccess);
  EXPECT_EQ(size, 3U);
  EXPECT_STREQ(reply, "hel----");
  KxServiceClose(connection);
}

TEST_F(KxTest, ADriverThatClaimsMoreThanItsRoomIsAnInternalError) {
  auto driver = make_driver({"A"});
  driver->structure = [](auto, auto, auto output, std::size_t& size) {
    size = output.size() + 1;
    return kKxReturnSuccess;
  };
  kx::install_machine({{driver, {}}});
  const kx_object_t connection = open_connection("A");
  char reply[4] = {};
  std::size_t size = sizeof reply;
  EXPECT_EQ(KxConnectMethodStructureIStructureO(connection, 2, 0, &size, nullptr, reply),
            kKxReturnInternalError);
  EXPECT_EQ(size, 0U);
  KxServiceClose(connection);
}

TEST_F(KxTest, ClosingEndsTheDriversConnectionAtOnce) {
  auto driver = make_driver({"A"});
  int closed = 0;
  driver->on_close = [&] { ++closed; };
  kx::install_machine({{driver, {}}});
  const kx_object_t connection = open_connection("A");
  EXPECT_EQ(closed, 0);
  EXPECT_EQ(KxServiceClose(connection), kKxReturnSuccess);
  EXPECT_EQ(closed, 1);
}

TEST_F(KxTest, AConnectionAndItsServiceOutliveEachOther) {
  kx::install_machine({{make_driver({"A"}), {}}});
  const kx_object_t connection = open_connection("A");  // has released the service
  EXPECT_EQ(KxConnectMethodScalarIScalarO(connection, 0, {}, {}), kKxReturnSuccess);
  const kx_object_t service = first_service("A");
  KxServiceClose(connection);
  EXPECT_TRUE(KxObjectConformsTo(service, "A"));
  KxObjectRelease(service);
}

TEST_F(KxTest, AnIteratorKeepsNoneOfItsEntriesToItself) {
  kx::install_machine({{make_driver({"A"}), {}}});
  const kx_object_t iterator = matching_iterator("A");
  const kx_object_t service = KxIteratorNext(iterator);
  EXPECT_EQ(KxObjectRelease(iterator), kKxReturnSuccess);
  EXPECT_TRUE(KxObjectConformsTo(service, "A"));
  EXPECT_EQ(KxObjectRelease(service), kKxReturnSuccess);
}

TEST_F(KxTest, LiveObjectsCountsEveryHandleAndMatchingDictionary) {
  kx::install_machine({{make_driver({"A"}), {}}});
  KxMatching* const matching = KxServiceMatching("A");
  EXPECT_EQ(kx::live_objects(), 1U);
  kx_object_t iterator = 0;
  KxServiceGetMatchingServices(master_port(), matching, &iterator);
  EXPECT_EQ(kx::live_objects(), 1U);
  const kx_object_t service = KxIteratorNext(iterator);
  EXPECT_EQ(kx::live_objects(), 2U);
  kx_object_t connection = 0;
  KxServiceOpen(service, KxTaskSelf(), 0, &connection);
  EXPECT_EQ(kx::live_objects(), 3U);
  KxServiceClose(connection);
  KxObjectRelease(service);
  KxObjectRelease(iterator);
}

TEST_F(KxTest, InstallingAMachineForgetsEveryObjectAndDestroysTheOldDrivers) {
  auto driver = make_driver({"A"});
  const std::weak_ptr<TestDriver> watched = driver;
  kx::install_machine({{std::move(driver), {}}});
  const kx_object_t connection = open_connection("A");
  const kx_object_t service = first_service("A");
  KxServiceMatching("A");
  kx::install_machine({{make_driver({"A"}), {}}});
  EXPECT_EQ(kx::live_objects(), 0U);
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(KxServiceClose(connection), kKxReturnBadArgument);
  EXPECT_FALSE(KxObjectConformsTo(service, "A"));
}

}  // namespace

std::vector<kx::Node> kx::compose_machine() {
  ++machines_composed;
  return {{make_driver({"Linked"}), {}}};
}
