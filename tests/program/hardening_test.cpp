#include <elf.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "program/vorn_program.h"

// What the programs are protected by that may run with more rights than their user has.

namespace {

/// A program file, of the bits of this machine.
class Elf {
 public:
  explicit Elf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(in), {});
  }

  const Elf64_Ehdr& header() const { return at<Elf64_Ehdr>(0); }

  std::vector<Elf64_Phdr> segments(Elf64_Word type) const {
    std::vector<Elf64_Phdr> found;
    for (unsigned n = 0; n < header().e_phnum; ++n) {
      const auto& one = at<Elf64_Phdr>(header().e_phoff + n * sizeof(Elf64_Phdr));
      if (one.p_type == type) {
        found.push_back(one);
      }
    }
    return found;
  }

  bool binds_at_its_start() const {
    for (const Elf64_Phdr& dynamic : segments(PT_DYNAMIC)) {
      for (std::size_t n = 0; n < dynamic.p_filesz / sizeof(Elf64_Dyn); ++n) {
        const auto& entry = at<Elf64_Dyn>(dynamic.p_offset + n * sizeof(Elf64_Dyn));
        if ((entry.d_tag == DT_FLAGS && (entry.d_un.d_val & DF_BIND_NOW) != 0) ||
            (entry.d_tag == DT_FLAGS_1 && (entry.d_un.d_val & DF_1_NOW) != 0)) {
          return true;
        }
      }
    }
    return false;
  }

  bool names(const std::string& symbol) const { return bytes_.find(symbol) != std::string::npos; }

 private:
  template <class Part>
  const Part& at(std::size_t offset) const {
    return *reinterpret_cast<const Part*>(bytes_.data() + offset);
  }

  std::string bytes_;
};

TEST(Hardening, OfEveryProgramThatShips) {
  if (program::kSanitized) {
    GTEST_SKIP() << "of what ships";
  }
  for (const char* path : {VORN_PROGRAM, VORN_KEYS_PROGRAM, VORN_ENGINE_PROGRAM}) {
    const Elf elf(path);
    EXPECT_EQ(elf.header().e_type, ET_DYN) << path << " lies where it always lies";
    EXPECT_EQ(elf.segments(PT_GNU_RELRO).size(), 1U) << path;
    EXPECT_TRUE(elf.binds_at_its_start()) << path << ": its tables stay writable";
    EXPECT_TRUE(elf.names("__stack_chk_fail")) << path << " does not check its stack";
    for (const Elf64_Phdr& stack : elf.segments(PT_GNU_STACK)) {
      EXPECT_EQ(stack.p_flags & PF_X, 0U) << path;
    }
  }
}

}  // namespace
