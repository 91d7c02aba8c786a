#include "machines/linux/checkup/file_capabilities.h"

#include <endian.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

using Names = std::vector<std::string>;

enum class Effective { yes, no };

class FileCapabilities : public testing::Test {
 protected:
  FileCapabilities() { std::ofstream(program()) << "a program\n"; }

  std::string program() const { return world_.folder() + "/vorn"; }

  /// Grants capabilities as setcap does. Returns why that cannot be done here; empty if it could.
  std::string grant(std::uint32_t permitted, Effective effective) {
    vfs_cap_data data{};
    data.magic_etc =
        htole32(VFS_CAP_REVISION_2 | (effective == Effective::yes ? VFS_CAP_FLAGS_EFFECTIVE : 0U));
    data.data[0].permitted = htole32(permitted);
    return setxattr(program().c_str(), "security.capability", &data, sizeof data, 0) == 0
               ? ""
               : std::string("no capability can be given to a file here: ") + std::strerror(errno);
  }

 private:
  MemoryTree unused_;
  TestSurroundings world_{unused_};
};

#define GRANT_OR_SKIP(permitted, effective)                                  \
  do {                                                                       \
    if (const std::string why = grant(permitted, effective); !why.empty()) { \
      GTEST_SKIP() << why;                                                   \
    }                                                                        \
  } while (false)

constexpr std::uint32_t kNice = 1U << CAP_SYS_NICE;
constexpr std::uint32_t kReadSearch = 1U << CAP_DAC_READ_SEARCH;
constexpr std::uint32_t kOverride = 1U << CAP_DAC_OVERRIDE;
constexpr std::uint32_t kKill = 1U << CAP_KILL;

TEST_F(FileCapabilities, OfAFileThatIsNotThereAreNone) {
  EXPECT_EQ(file_capabilities(program() + "-elsewhere"), Names{});
}

TEST_F(FileCapabilities, OfAnOrdinaryFileAreNone) {
  EXPECT_EQ(file_capabilities(program()), Names{});
}

TEST_F(FileCapabilities, AreNamedAsSetcapNamesThem) {
  GRANT_OR_SKIP(kNice | kReadSearch, Effective::yes);
  EXPECT_EQ(file_capabilities(program()), (Names{"cap_sys_nice", "cap_dac_read_search"}));
}

TEST_F(FileCapabilities, AreThoseOfTheFileAlone) {
  GRANT_OR_SKIP(kNice, Effective::yes);
  EXPECT_EQ(file_capabilities(program()), Names{"cap_sys_nice"});
  GRANT_OR_SKIP(kReadSearch, Effective::yes);
  EXPECT_EQ(file_capabilities(program()), Names{"cap_dac_read_search"});
}

TEST_F(FileCapabilities, ThatLetWriteEverythingLetReadEverything) {
  GRANT_OR_SKIP(kOverride, Effective::yes);
  EXPECT_EQ(file_capabilities(program()), Names{"cap_dac_read_search"});
}

TEST_F(FileCapabilities, ThatARunCannotUseAreLeftOut) {
  GRANT_OR_SKIP(kKill, Effective::yes);
  EXPECT_EQ(file_capabilities(program()), Names{});
}

// A run opens its files with what is in force from its start.
TEST_F(FileCapabilities, ThatAreNotEffectiveGrantNothing) {
  GRANT_OR_SKIP(kNice | kReadSearch, Effective::no);
  EXPECT_EQ(file_capabilities(program()), Names{});
}

}  // namespace
}  // namespace linux_machine
