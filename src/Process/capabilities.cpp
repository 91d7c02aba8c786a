#include "Process/capabilities.h"

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>

namespace {

using process::Capabilities;

struct Sets {
  Capabilities effective = 0;
  Capabilities permitted = 0;
  Capabilities inheritable = 0;
};

using KernelSets = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

constexpr int kBits = 32;  // in each of the kernel's two words

__user_cap_header_struct header_of_this_thread() {
  __user_cap_header_struct header{};
  header.version = _LINUX_CAPABILITY_VERSION_3;
  return header;
}

Capabilities joined(std::uint32_t low, std::uint32_t high) {
  return low | (Capabilities{high} << kBits);
}

bool get(Sets& sets) {
  __user_cap_header_struct header = header_of_this_thread();
  KernelSets words{};
  if (syscall(SYS_capget, &header, words.data()) != 0) {
    return false;
  }
  sets = {.effective = joined(words[0].effective, words[1].effective),
          .permitted = joined(words[0].permitted, words[1].permitted),
          .inheritable = joined(words[0].inheritable, words[1].inheritable)};
  return true;
}

bool set(const Sets& sets) {
  __user_cap_header_struct header = header_of_this_thread();
  KernelSets words{};
  for (int word = 0; word < _LINUX_CAPABILITY_U32S_3; ++word) {
    const int shift = word * kBits;
    words.at(static_cast<std::size_t>(word)) = {
        .effective = static_cast<std::uint32_t>(sets.effective >> shift),
        .permitted = static_cast<std::uint32_t>(sets.permitted >> shift),
        .inheritable = static_cast<std::uint32_t>(sets.inheritable >> shift)};
  }
  return syscall(SYS_capset, &header, words.data()) == 0;
}

bool may_be_root() {
  uid_t real = 0;
  uid_t effective = 0;
  uid_t saved = 0;
  getresuid(&real, &effective, &saved);
  return real == 0 || effective == 0 || saved == 0;
}

}  // namespace

namespace process {

Capabilities sys_nice() noexcept {
  return Capabilities{1} << CAP_SYS_NICE;
}

Capabilities read_everything() noexcept {
  return Capabilities{1} << CAP_DAC_READ_SEARCH;
}

void lower_capabilities() noexcept {
  Sets sets;
  if (!may_be_root() && get(sets)) {
    sets.effective = kNoCapabilities;
    set(sets);
  }
}

void keep_capabilities(Capabilities kept) noexcept {
  Sets sets;
  if (!may_be_root() && get(sets)) {
    set({.effective = sets.effective & kept,
         .permitted = sets.permitted & kept,
         .inheritable = sets.inheritable & kept});
  }
}

RaisedCapability::RaisedCapability(Capabilities wanted) noexcept {
  Sets sets;
  if (get(sets) && (sets.permitted & wanted) == wanted && (sets.effective & wanted) != wanted) {
    effective_before_ = sets.effective;
    sets.effective |= wanted;
    raised_ = set(sets);
  }
}

RaisedCapability::~RaisedCapability() {
  Sets sets;
  if (raised_ && get(sets)) {
    sets.effective = effective_before_;
    set(sets);
  }
}

}  // namespace process
