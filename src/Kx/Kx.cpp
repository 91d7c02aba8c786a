#include "Kx/Kx.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Kx/driver.h"
#include "Kx/object_table.h"
#include "Kx/registry.h"

struct KxMatching {
  std::string class_name;
};

namespace {

constexpr kx_port_t kTaskPort = 1;
constexpr kx_port_t kMasterPort = 2;

/// Everything that the framework holds. A lock here is held for a look-up, never while a driver
/// runs: a driver may be slow, and may be in use by another thread.
struct Framework {
  kx::ObjectTable objects;

  std::mutex mutex;  ///< guards what follows
  std::unordered_map<const KxMatching*, std::unique_ptr<KxMatching>> matchings;
  std::shared_ptr<const kx::Registry> installed;  ///< null: the linked machine stands
};

// Never destroyed: a thread that is still running while the process exits may yet call.
Framework& framework() {
  static Framework* const the_framework = new Framework;
  return *the_framework;
}

std::shared_ptr<const kx::Registry> registry() {
  {
    Framework& state = framework();
    const std::lock_guard<std::mutex> lock(state.mutex);
    if (state.installed) {
      return state.installed;
    }
  }
  static const auto* const linked = new std::shared_ptr<const kx::Registry>(
      std::make_shared<const kx::Registry>(kx::build_registry(kx::compose_machine())));
  return *linked;
}

kx_object_t add_iterator(kx::Entries entries) {
  auto iterator = std::make_shared<kx::Iterator>();
  iterator->entries = std::move(entries);
  return framework().objects.add(std::move(iterator));
}

std::unique_ptr<KxMatching> consume(KxMatching* matching) {
  Framework& state = framework();
  const std::lock_guard<std::mutex> lock(state.mutex);
  const auto at = state.matchings.find(matching);
  if (at == state.matchings.end()) {
    return nullptr;
  }
  std::unique_ptr<KxMatching> consumed = std::move(at->second);
  state.matchings.erase(at);
  return consumed;
}

kx_return_t result_of_release(bool was_live) {
  return was_live ? kKxReturnSuccess : kKxReturnBadArgument;
}

}  // namespace

kx_port_t KxTaskSelf() {
  return kTaskPort;
}

kx_return_t KxMasterPort(kx_port_t bootstrap, kx_port_t* master) {
  if (bootstrap != 0 || master == nullptr) {
    return kKxReturnBadArgument;
  }
  *master = kMasterPort;
  return kKxReturnSuccess;
}

KxMatching* KxServiceMatching(const char* class_name) {
  if (class_name == nullptr) {
    return nullptr;
  }
  auto matching = std::make_unique<KxMatching>(KxMatching{class_name});
  KxMatching* const handle = matching.get();
  Framework& state = framework();
  const std::lock_guard<std::mutex> lock(state.mutex);
  state.matchings.emplace(handle, std::move(matching));
  return handle;
}

kx_return_t KxServiceGetMatchingServices(kx_port_t master, KxMatching* matching,
                                         kx_object_t* iterator) {
  const std::unique_ptr<KxMatching> wanted = consume(matching);
  if (!wanted || master != kMasterPort || iterator == nullptr) {
    return kKxReturnBadArgument;
  }
  kx::Entries matches;
  const auto registered = registry();
  std::copy_if(registered->depth_first.begin(), registered->depth_first.end(),
               std::back_inserter(matches),
               [&](const auto& entry) { return kx::conforms_to(*entry, wanted->class_name); });
  *iterator = add_iterator(std::move(matches));
  return kKxReturnSuccess;
}

kx_return_t KxRegistryCreateIterator(kx_port_t master, const char* plane, std::uint32_t options,
                                     kx_object_t* iterator) {
  if (master != kMasterPort || plane == nullptr || std::strcmp(plane, kKxServicePlane) != 0 ||
      (options & ~kKxIterateRecursively) != 0 || iterator == nullptr) {
    return kKxReturnBadArgument;
  }
  const bool recursive = (options & kKxIterateRecursively) != 0;
  const auto registered = registry();
  *iterator = add_iterator(recursive ? registered->depth_first : registered->top);
  return kKxReturnSuccess;
}

kx_object_t KxIteratorNext(kx_object_t iterator) {
  const auto walk = framework().objects.find<kx::Iterator>(iterator);
  if (!walk) {
    return 0;
  }
  const std::size_t position = walk->next++;
  return position < walk->entries.size() ? framework().objects.add(walk->entries[position]) : 0;
}

kx_return_t KxRegistryDisposeEnumerator(kx_object_t iterator) {
  return result_of_release(framework().objects.take<kx::Iterator>(iterator) != nullptr);
}

bool KxObjectConformsTo(kx_object_t object, const char* class_name) {
  const auto entry = framework().objects.find<const kx::Entry>(object);
  return entry && class_name != nullptr && kx::conforms_to(*entry, class_name);
}

kx_return_t KxObjectRelease(kx_object_t object) {
  // A connection is given up with KxServiceClose alone.
  kx::ObjectTable& objects = framework().objects;
  return result_of_release(objects.take<const kx::Entry>(object) != nullptr ||
                           objects.take<kx::Iterator>(object) != nullptr);
}

kx_return_t KxServiceOpen(kx_object_t service, kx_port_t owning_task, std::uint32_t type,
                          kx_object_t* connection) {
  const auto entry = framework().objects.find<const kx::Entry>(service);
  if (!entry || owning_task != kTaskPort || connection == nullptr) {
    return kKxReturnBadArgument;
  }
  if (!entry->driver) {
    return kKxReturnUnsupported;
  }
  std::unique_ptr<kx::UserClient> client;
  const kx_return_t result = entry->driver->open(type, client);
  if (result != kKxReturnSuccess) {
    return result;
  }
  if (!client) {
    return kKxReturnInternalError;
  }
  *connection = framework().objects.add(std::shared_ptr<kx::UserClient>(std::move(client)));
  return kKxReturnSuccess;
}

kx_return_t KxServiceClose(kx_object_t connection) {
  return result_of_release(framework().objects.take<kx::UserClient>(connection) != nullptr);
}

kx_return_t KxConnectMethodScalarIScalarO(kx_object_t connection, std::uint32_t selector,
                                          std::span<const std::uint32_t> inputs,
                                          std::span<std::uint32_t> outputs) {
  const auto client = framework().objects.find<kx::UserClient>(connection);
  return client ? client->scalar_method(selector, inputs, outputs) : kKxReturnBadArgument;
}

kx_return_t KxConnectMethodStructureIStructureO(kx_object_t connection, std::uint32_t selector,
                                                std::size_t input_size, std::size_t* output_size,
                                                const void* input, void* output) {
  const auto client = framework().objects.find<kx::UserClient>(connection);
  if (!client || output_size == nullptr || (input == nullptr && input_size != 0) ||
      (output == nullptr && *output_size != 0)) {
    return kKxReturnBadArgument;
  }
  const std::size_t room = *output_size;
  std::size_t returned = 0;
  const kx_return_t result =
      client->structure_method(selector, {static_cast<const std::byte*>(input), input_size},
                               {static_cast<std::byte*>(output), room}, returned);
  if (returned > room) {  // the driver broke its contract: what it says cannot be relied upon
    *output_size = 0;
    return kKxReturnInternalError;
  }
  *output_size = returned;
  return result;
}

void kx::install_machine(std::vector<Node> machine) {
  Framework& state = framework();
  auto next = std::make_shared<const Registry>(build_registry(std::move(machine)));
  state.objects.clear();
  // Both swapped out under the lock and destroyed after it: the old drivers go with them.
  decltype(state.matchings) forgotten;
  const std::lock_guard<std::mutex> lock(state.mutex);
  forgotten.swap(state.matchings);
  state.installed.swap(next);
}

std::size_t kx::live_objects() {
  Framework& state = framework();
  const std::size_t handles = state.objects.size();
  const std::lock_guard<std::mutex> lock(state.mutex);
  return handles + state.matchings.size();
}
