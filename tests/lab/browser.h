#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace lab {

/// What became of a page in a browser.
struct OpenedPage {
  std::map<std::string, std::string> data;  ///< the data-* attributes of its body, at the end
  std::vector<std::string> console;         ///< lines on the console
};

/// Opens a file in headless Chromium, with empty settings. Ends it after a minute.
/// Nothing if no chromium is installed. Thread: waits for it.
std::optional<OpenedPage> open_in_browser(const std::string& path,
                                          const std::vector<std::string>& options = {});

}  // namespace lab
