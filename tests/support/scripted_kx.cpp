#include "support/scripted_kx.h"

#include <sstream>

struct KxMatching {};

namespace {

using scripted_kx::script;

constexpr kx_port_t kTask = 3;
constexpr kx_port_t kMaster = 7;
constexpr kx_object_t kIterator = 10;
constexpr kx_object_t kConnection = 11;
constexpr kx_object_t kFirstEntry = 20;

KxMatching the_matching;
std::size_t next_entry = 0;

std::string object(std::uint32_t handle) {
  switch (handle) {
    case kTask:
      return "task";
    case kMaster:
      return "master";
    case kIterator:
      return "iterator";
    case kConnection:
      return "connection";
    default:
      return handle >= kFirstEntry ? "entry " + std::to_string(handle - kFirstEntry)
                                   : std::to_string(handle);
  }
}

void note(const std::string& operation, const std::string& arguments) {
  scripted_kx::calls().push_back(operation + "(" + arguments + ")");
}

}  // namespace

scripted_kx::Script& scripted_kx::script() {
  static Script the_script;
  return the_script;
}

std::vector<std::string>& scripted_kx::calls() {
  static std::vector<std::string> the_calls;
  return the_calls;
}

void scripted_kx::reset() {
  script() = {};
  calls().clear();
  next_entry = 0;
}

kx_port_t KxTaskSelf() {
  return kTask;
}

kx_return_t KxMasterPort(kx_port_t bootstrap, kx_port_t* master) {
  note("KxMasterPort", std::to_string(bootstrap));
  *master = kMaster;
  return script().master_port;
}

KxMatching* KxServiceMatching(const char* class_name) {
  note("KxServiceMatching", class_name);
  return script().matching ? &the_matching : nullptr;
}

kx_return_t KxServiceGetMatchingServices(kx_port_t master, KxMatching* matching,
                                         kx_object_t* iterator) {
  note("KxServiceGetMatchingServices",
       object(master) + (matching == &the_matching ? ", matching" : ", another"));
  *iterator = kIterator;
  return script().matching_services;
}

kx_return_t KxRegistryCreateIterator(kx_port_t master, const char* plane, std::uint32_t options,
                                     kx_object_t* iterator) {
  note("KxRegistryCreateIterator", object(master) + ", " + plane + ", " + std::to_string(options));
  *iterator = kIterator;
  return script().registry_iterator;
}

kx_object_t KxIteratorNext(kx_object_t iterator) {
  note("KxIteratorNext", object(iterator));
  if (next_entry >= script().entries.size()) {
    return 0;
  }
  return kFirstEntry + static_cast<kx_object_t>(next_entry++);
}

kx_return_t KxRegistryDisposeEnumerator(kx_object_t iterator) {
  note("KxRegistryDisposeEnumerator", object(iterator));
  return kKxReturnSuccess;
}

bool KxObjectConformsTo(kx_object_t entry, const char* class_name) {
  note("KxObjectConformsTo", object(entry) + ", " + class_name);
  return script().entries.at(entry - kFirstEntry) == class_name;
}

kx_return_t KxObjectRelease(kx_object_t released) {
  note("KxObjectRelease", object(released));
  return kKxReturnSuccess;
}

kx_return_t KxServiceOpen(kx_object_t service, kx_port_t owning_task, std::uint32_t type,
                          kx_object_t* connection) {
  std::ostringstream arguments;
  arguments << object(service) << ", " << object(owning_task) << ", 0x" << std::hex << type;
  note("KxServiceOpen", arguments.str());
  *connection = kConnection;
  return script().open;
}

kx_return_t KxServiceClose(kx_object_t connection) {
  note("KxServiceClose", object(connection));
  return script().close;
}

kx_return_t KxConnectMethodScalarIScalarO(kx_object_t connection, std::uint32_t selector,
                                          std::span<const std::uint32_t> inputs,
                                          std::span<std::uint32_t> outputs) {
  std::string arguments = object(connection) + ", " + std::to_string(selector);
  for (const std::uint32_t input : inputs) {
    arguments += ", in " + std::to_string(input);
  }
  arguments += ", " + std::to_string(outputs.size()) + " out";
  note("KxConnectMethodScalarIScalarO", arguments);
  const auto scripted = script().scalar.find(selector);
  return scripted == script().scalar.end() ? kKxReturnSuccess : scripted->second;
}

kx_return_t KxConnectMethodStructureIStructureO(kx_object_t connection, std::uint32_t selector,
                                                std::size_t input_size, std::size_t* output_size,
                                                const void* /*input*/, void* /*output*/) {
  note("KxConnectMethodStructureIStructureO", object(connection) + ", " + std::to_string(selector) +
                                                  ", " + std::to_string(input_size) + " in, " +
                                                  std::to_string(*output_size) + " out");
  return script().structure;
}
