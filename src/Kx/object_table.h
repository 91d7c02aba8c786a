#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <variant>

#include "Kx/registry.h"

namespace kx {

/// A walk over a snapshot of entries. Thread: any; each entry is taken once.
struct Iterator {
  Entries entries;
  std::atomic<std::size_t> next{0};
};

/// The live objects by handle. A handle is one reference: what it refers to lives on for a call
/// that is under way on it when the handle is given up. Handles are not used again before the
/// 32-bit counter has gone round, so a stale one is found out.
///
/// Thread: any. The lock is never held while an object is destroyed, which may take long.
class ObjectTable {
 public:
  template <class Object>
  kx_object_t add(std::shared_ptr<Object> object) {
    const std::lock_guard<std::mutex> lock(mutex_);
    do {
      ++last_;
    } while (last_ < kFirstHandle || objects_.find(last_) != objects_.end());
    objects_.emplace(last_, std::move(object));
    return last_;
  }

  /// What `handle` refers to; null if that is no live Object.
  template <class Object>
  std::shared_ptr<Object> find(kx_object_t handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto at = objects_.find(handle);
    const auto* object =
        at == objects_.end() ? nullptr : std::get_if<std::shared_ptr<Object>>(&at->second);
    return object == nullptr ? nullptr : *object;
  }

  /// As find, and the handle is gone; the caller's copy may be the last one.
  template <class Object>
  std::shared_ptr<Object> take(kx_object_t handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto at = objects_.find(handle);
    auto* object =
        at == objects_.end() ? nullptr : std::get_if<std::shared_ptr<Object>>(&at->second);
    if (object == nullptr) {
      return nullptr;
    }
    std::shared_ptr<Object> taken = std::move(*object);
    objects_.erase(at);
    return taken;
  }

  void clear() {
    Objects forgotten;
    const std::lock_guard<std::mutex> lock(mutex_);
    forgotten.swap(objects_);
  }

  std::size_t size() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return objects_.size();
  }

 private:
  using Objects =
      std::unordered_map<kx_object_t,
                         std::variant<std::shared_ptr<Iterator>, std::shared_ptr<const Entry>,
                                      std::shared_ptr<UserClient>>>;

  /// Above every port, so that a port passed for an object is found out.
  static constexpr kx_object_t kFirstHandle = 0x100;

  std::mutex mutex_;
  Objects objects_;
  kx_object_t last_ = 0;
};

}  // namespace kx
