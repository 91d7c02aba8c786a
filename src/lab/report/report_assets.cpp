#include "lab/report/report_assets.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>

namespace lab {

namespace {

/// The text without its "sourceMappingURL" comment, which a browser's tools would follow.
std::string without_source_map(std::string text, const std::string& open,
                               const std::string& close) {
  for (std::size_t at = text.find(open); at != std::string::npos; at = text.find(open, at)) {
    const std::size_t end = text.find(close, at + open.size());
    text.erase(at, end == std::string::npos ? end : end + close.size() - at);
  }
  return text;
}

/// Sets `problem` if there is no such file.
std::string contents(const std::string& path, std::string& problem) {
  errno = 0;
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  if (in) {
    text << in.rdbuf();
  }
  if (!in || text.str().empty()) {
    problem = "cannot read " + path + ": " + (errno != 0 ? std::strerror(errno) : "it is empty") +
              " (install the package libjs-dygraphs)";
  }
  return text.str();
}

}  // namespace

ReportAssets assets_in(const std::string& folder) {
  ReportAssets assets;
  assets.style = without_source_map(contents(folder + "/dygraph.min.css", assets.problem),
                                    "/*# sourceMappingURL", "*/");
  assets.script = without_source_map(contents(folder + "/dygraph.min.js", assets.problem),
                                     "//# sourceMappingURL", "\n");
  // What would end the element that it stands in.
  if (assets.script.find("</script") != std::string::npos ||
      assets.style.find("</style") != std::string::npos) {
    assets.problem = "the files in " + folder + " cannot stand in a page";
  }
  if (!assets.problem.empty()) {
    assets.script.clear();
    assets.style.clear();
  }
  return assets;
}

ReportAssets installed_assets() {
  return assets_in(VORN_DYGRAPHS_FOLDER);
}

}  // namespace lab
