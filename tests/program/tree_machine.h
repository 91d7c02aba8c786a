#pragma once

#include <stdlib.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/machine/live_tree.h"
#include "support/program.h"

/// A machine of files in a folder of its own, and the programs on it.
class TreeMachine {
 public:
  /// Time passes `pace` times as fast as on the wall for the machine's fans and meters, and for
  /// the programs' waiting for them.
  explicit TreeMachine(const std::string& name, int pace = 1)
      : folder_(make_folder()), pace_(pace), tree_(built(name), pace) {}
  ~TreeMachine() { std::filesystem::remove_all(folder_); }
  TreeMachine(const TreeMachine&) = delete;
  TreeMachine& operator=(const TreeMachine&) = delete;

  program::Command vorn(std::vector<std::string> arguments,
                        program::As as = program::As::kRoot) const {
    return command(VORN_ON_TREE_PROGRAM, "vorn", std::move(arguments), as);
  }
  program::Command keys(std::vector<std::string> arguments,
                        program::As as = program::As::kRoot) const {
    return command(VORN_KEYS_ON_TREE_PROGRAM, "vorn-keys", std::move(arguments), as);
  }

  /// The command with a copy of its program that is set-user-id root, for an ordinary user. The
  /// machine's files are opened by everybody: their state is kept by opening them anew.
  program::Command set_user_id(program::Command command) const {
    namespace fs = std::filesystem;
    const std::string copy = folder_ + "/" + fs::path(command.path).filename().string();
    fs::copy_file(command.path, copy, fs::copy_options::skip_existing);
    if (chmod(copy.c_str(), 04755) != 0) {
      throw std::runtime_error("no set-user-id copy");
    }
    for (const auto& file : fs::recursive_directory_iterator(folder_ + "/sys")) {
      if (file.is_regular_file() && !file.is_symlink()) {
        fs::permissions(file, fs::perms::others_write, fs::perm_options::add);
      }
    }
    command.path = copy;
    command.as = program::As::kOrdinaryUser;
    return command;
  }

  LiveTree& tree() { return tree_; }
  const std::string& folder() const { return folder_; }

  /// Whether nothing is left to be given back within a second, as guardians promise: a second of
  /// 500 short sleeps at ordinary priority, like theirs, which is longer where other programs keep
  /// ordinary ones waiting.
  bool is_given_back_in_a_second() const {
    bool given_back = false;
    std::thread([this, &given_back] {
      for (int tries = 0; tries < 500 && !given_back; ++tries) {
        given_back = tree_.left_to_give_back().empty();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
    }).join();
    return given_back;
  }

 private:
  static std::string make_folder() {
    std::string name = std::filesystem::temp_directory_path() / "vorn-tree-XXXXXX";
    if (mkdtemp(name.data()) == nullptr || chmod(name.c_str(), 0755) != 0) {
      throw std::runtime_error("no folder for the machine");
    }
    return name;
  }
  const std::string& built(const std::string& name) const {
    LiveTree::build(name, folder_);
    return folder_;
  }
  program::Command command(const char* path, const char* called, std::vector<std::string> arguments,
                           program::As as) const {
    program::Command command;
    command.path = path;
    command.called = called;
    command.arguments = std::move(arguments);
    command.as = as;
    command.environment = {"VORN_TREE=" + folder_, "VORN_TREE_PACE=" + std::to_string(pace_)};
    return command;
  }

  const std::string folder_;
  const int pace_;
  LiveTree tree_;
};
