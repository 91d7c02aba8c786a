#include "lab/browser.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace lab {

namespace {

constexpr std::chrono::seconds kLongest{60};

/// A folder for one browser, gone with the object.
class Profile {
 public:
  Profile() {
    std::string name = (std::filesystem::temp_directory_path() / "lab_browser_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error(std::string("no folder for a browser: ") + std::strerror(errno));
    }
    folder_ = name;
  }
  Profile(const Profile&) = delete;
  Profile& operator=(const Profile&) = delete;
  ~Profile() {
    std::error_code ignored;  // processes of the browser may still write there
    std::filesystem::remove_all(folder_, ignored);
  }
  std::string file(const std::string& name) const { return (folder_ / name).string(); }

 private:
  std::filesystem::path folder_;
};

std::string contents(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

/// Starts chromium as the leader of a process group; nothing if there is none.
std::optional<pid_t> start(const Profile& profile, std::vector<std::string> arguments) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  constexpr mode_t kOwner = 0600;
  posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, profile.file("out").c_str(), O_WRONLY | O_CREAT,
                                   kOwner);
  posix_spawn_file_actions_addopen(&files, 2, profile.file("err").c_str(), O_WRONLY | O_CREAT,
                                   kOwner);
  posix_spawnattr_t group;
  posix_spawnattr_init(&group);
  posix_spawnattr_setflags(&group, POSIX_SPAWN_SETPGROUP);
  std::vector<char*> pointers;
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, arguments[0].c_str(), &files, &group, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  posix_spawnattr_destroy(&group);
  if (error == ENOENT) {
    return std::nullopt;
  }
  if (error != 0) {
    throw std::runtime_error(std::string("chromium: ") + std::strerror(error));
  }
  return child;
}

void wait_for(pid_t child) {
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (waitpid(child, nullptr, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > end) {
      kill(-child, SIGKILL);
      waitpid(child, nullptr, 0);
      throw std::runtime_error("chromium did not end");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

OpenedPage page_of(const std::string& dom, const std::string& log) {
  OpenedPage page;
  static const std::regex kBody("<body[^>]*>");
  static const std::regex kData("data-([a-z-]+)=\"([^\"]*)\"");
  if (std::smatch body; std::regex_search(dom, body, kBody)) {
    const std::string attributes = body.str();
    for (std::sregex_iterator each(attributes.begin(), attributes.end(), kData), end; each != end;
         ++each) {
      page.data[(*each)[1]] = (*each)[2];
    }
  }
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(":CONSOLE") != std::string::npos) {
      page.console.push_back(line);
    }
  }
  return page;
}

}  // namespace

std::optional<OpenedPage> open_in_browser(const std::string& path,
                                          const std::vector<std::string>& options) {
  const Profile profile;
  std::vector<std::string> arguments{"chromium",
                                     "--headless=new",
                                     "--no-sandbox",
                                     "--disable-gpu",
                                     "--disable-quic",
                                     "--no-first-run",
                                     "--disable-background-networking",
                                     "--disable-component-update",
                                     "--disable-sync",
                                     "--user-data-dir=" + profile.file("profile"),
                                     "--enable-logging=stderr",
                                     "--window-size=1280,1000",
                                     "--dump-dom"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.push_back("file://" + path);
  const std::optional<pid_t> browser = start(profile, arguments);
  if (!browser.has_value()) {
    return std::nullopt;
  }
  wait_for(*browser);
  return page_of(contents(profile.file("out")), contents(profile.file("err")));
}

}  // namespace lab
