#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// The platform driver framework: how a program finds a driver's service, opens a connection to
/// it and calls its methods. Twelve operations over 32-bit object handles; handle 0 is no object.
///
/// Every object handle that an operation returns (iterator, service, connection) is one reference
/// that its receiver owns and gives up with KxObjectRelease, KxRegistryDisposeEnumerator or
/// KxServiceClose. A handle that names no live object of the right kind gets
/// kKxReturnBadArgument (or 0, or false), never a crash. Thread: any; the calls of one connection
/// must not overlap.
using kx_return_t = int;
using kx_object_t = std::uint32_t;
using kx_port_t = std::uint32_t;

struct KxMatching;  ///< what KxServiceMatching asks for; consumed by KxServiceGetMatchingServices

constexpr kx_return_t kKxReturnSuccess = 0;
constexpr kx_return_t kKxReturnError = static_cast<kx_return_t>(0xE00002BCU);
constexpr kx_return_t kKxReturnBadArgument = static_cast<kx_return_t>(0xE00002C2U);
constexpr kx_return_t kKxReturnExclusiveAccess = static_cast<kx_return_t>(0xE00002C5U);
constexpr kx_return_t kKxReturnUnsupported = static_cast<kx_return_t>(0xE00002C7U);
constexpr kx_return_t kKxReturnInternalError = static_cast<kx_return_t>(0xE00002C9U);
constexpr kx_return_t kKxReturnIOError = static_cast<kx_return_t>(0xE00002CAU);
constexpr kx_return_t kKxReturnNotPermitted = static_cast<kx_return_t>(0xE00002E2U);

constexpr const char* kKxServicePlane = "KxService";  ///< the one plane of the registry
constexpr std::uint32_t kKxIterateRecursively = 1;    ///< option of KxRegistryCreateIterator

/// The calling task's own port, the `owning_task` of KxServiceOpen.
kx_port_t KxTaskSelf();

/// Sets `*master` to the port of the registry behind `bootstrap` (0: the default one).
kx_return_t KxMasterPort(kx_port_t bootstrap, kx_port_t* master);

/// Returns a description of the services whose class is, or derives from, `class_name`; null if
/// `class_name` is null. Owned by the caller until KxServiceGetMatchingServices consumes it.
KxMatching* KxServiceMatching(const char* class_name);

/// Sets `*iterator` to a new iterator over the matching services, in registry order; an iterator
/// over nothing is a success. Consumes `matching` on success and on failure.
kx_return_t KxServiceGetMatchingServices(kx_port_t master, KxMatching* matching,
                                         kx_object_t* iterator);

/// Sets `*iterator` to a new iterator over the entries of `plane`: the root's children, or with
/// kKxIterateRecursively every entry below the root, depth first.
kx_return_t KxRegistryCreateIterator(kx_port_t master, const char* plane, std::uint32_t options,
                                     kx_object_t* iterator);

/// The next entry, as a new reference; 0 at the end.
kx_object_t KxIteratorNext(kx_object_t iterator);

/// Releases an iterator made by KxRegistryCreateIterator.
kx_return_t KxRegistryDisposeEnumerator(kx_object_t iterator);

/// Whether the class of `object` is, or derives from, `class_name`.
bool KxObjectConformsTo(kx_object_t object, const char* class_name);

/// Gives up one reference to `object`.
kx_return_t KxObjectRelease(kx_object_t object);

/// Opens a user-client connection of `type` to `service`; the driver decides whether it may.
kx_return_t KxServiceOpen(kx_object_t service, kx_port_t owning_task, std::uint32_t type,
                          kx_object_t* connection);

/// Closes a connection and frees its handle.
kx_return_t KxServiceClose(kx_object_t connection);

/// Calls method `selector` with scalar inputs and outputs, each 32 bits wide.
kx_return_t KxConnectMethodScalarIScalarO(kx_object_t connection, std::uint32_t selector,
                                          std::span<const std::uint32_t> inputs,
                                          std::span<std::uint32_t> outputs);

/// Calls method `selector` with a record of `input_size` bytes in, and out at most `*output_size`
/// bytes, which the call sets to the size that the driver returned.
kx_return_t KxConnectMethodStructureIStructureO(kx_object_t connection, std::uint32_t selector,
                                                std::size_t input_size, std::size_t* output_size,
                                                const void* input, void* output);
