#include "lab/report/report_assets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace lab {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class AFolderOfAssets : public testing::Test {
 protected:
  AFolderOfAssets() { std::filesystem::create_directory(folder_); }
  ~AFolderOfAssets() override { std::filesystem::remove_all(folder_); }

  void has(const std::string& name, const std::string& contents) const {
    std::ofstream(folder_ + "/" + name) << contents;
  }

  const std::string folder_ = testing::TempDir() + "assets." + std::to_string(getpid());
};

TEST_F(AFolderOfAssets, IsReadWithoutTheCommentsThatBrowsersWouldFollow) {
  has("dygraph.min.js", "one();\n//# sourceMappingURL=dygraph.min.js.map");
  has("dygraph.min.css", "a{}\n/*# sourceMappingURL=dygraph.min.css.map */\nb{}");
  const ReportAssets assets = assets_in(folder_);
  EXPECT_EQ(assets.problem, "");
  EXPECT_EQ(assets.script, "one();\n");
  EXPECT_EQ(assets.style, "a{}\n\nb{}");
}

TEST_F(AFolderOfAssets, NamesTheFileThatIsMissingAndThePackageThatHasIt) {
  has("dygraph.min.css", "a{}");
  const ReportAssets assets = assets_in(folder_);
  EXPECT_THAT(assets.problem, AllOf(HasSubstr("dygraph.min.js: No such file or directory"),
                                    HasSubstr("libjs-dygraphs")));
  EXPECT_EQ(assets.style, "");
}

TEST_F(AFolderOfAssets, IsRefusedWhenItWouldEndTheElementThatItStandsIn) {
  has("dygraph.min.js", "write('</script>');");
  has("dygraph.min.css", "a{}");
  EXPECT_THAT(assets_in(folder_).problem, HasSubstr("cannot stand in a page"));
}

}  // namespace
}  // namespace lab
