#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "program/samples.h"
#include "program/tree_machine.h"
#include "program/vorn_program.h"
#include "support/machine/machine_file.h"

// The programs that are shipped, unchanged, on a machine whose files are mounted in place of the
// kernel's own, in a mount namespace that only the test sees.

namespace {

using program::As;
using program::Outcome;

/// Runs `check` in a child with the machine mounted; its status is what `check` returns.
int with_machine_mounted(const std::string& name, const std::function<int()>& check) {
  const pid_t child = fork();
  if (child == 0) {
    std::string folder = std::filesystem::temp_directory_path() / "vorn-sys-XXXXXX";
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mkdtemp(folder.data()) == nullptr) {
      _exit(77);
    }
    build_machine(read_machine(name), folder);
    const bool mounted = mount(folder.c_str(), "/sys", nullptr, MS_BIND, nullptr) == 0 &&
                         mount("none", "/run", "tmpfs", 0, nullptr) == 0;
    const int status = mounted ? check() : 77;
    std::filesystem::remove_all(folder);
    _exit(status);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Outcome run(const char* path, std::vector<std::string> arguments) {
  program::Command command = vorn(std::move(arguments), As::kRoot);
  command.path = path;
  return program::run(command);
}

std::string contents(const std::string& path) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  return line;
}

TEST(MountedSys, IsTheMachineThatTheProgramsSee) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  // Its frequencies all have as many digits: a plain file keeps the end of a longer text.
  const int status = with_machine_mounted("server_amd_epyc", [] {
    const Outcome keys = run(VORN_KEYS_PROGRAM, {"--list"});
    const std::string policy = "/sys/devices/system/cpu/cpufreq/policy0/";
    const std::string least = contents(policy + "scaling_min_freq");
    const std::string most = contents(policy + "scaling_max_freq");
    const Outcome load = run(VORN_PROGRAM, {"-c", "1", "-s", "0", "-p", "1", "-m", "-r", "10", "-k",
                                            "TC0D", "-k", "TC1D", "-t", "1"});
    const Samples samples = parse_samples(load.out);
    if (keys.out.find("TC0D\tsp78\t2\t41.25\tdegrees C") == std::string::npos) {
      return 1;
    }
    if (program::without_lateness(load.err) != "Power balancing restored\n" || load.status != 0) {
      return 2;
    }
    if (samples.empty() || samples.front()[1] != 41.25 || samples.front()[2] != 39) {
      return 3;
    }
    const bool given_back = contents(policy + "scaling_min_freq") == least &&
                            contents(policy + "scaling_max_freq") == most;
    return given_back ? 0 : 4;
  });
  if (status == 77) {
    GTEST_SKIP() << "may not mount here";
  }
  EXPECT_EQ(status, 0);
}

// As a chip on a dead bus: without a limit on waiting, the program would not end.
TEST(MountedSys, AnAttributeThatDoesNotAnswerCostsItsOwnKey) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  const int status = with_machine_mounted("two_socket_intel", [] {
    const std::string blocked = "devices/platform/coretemp.1/hwmon/hwmon2/temp1_input";
    std::filesystem::remove("/sys/" + blocked);
    if (mkfifo(("/sys/" + blocked).c_str(), 0444) != 0) {
      return 77;
    }
    const Outcome keys = run(VORN_KEYS_PROGRAM, {"--list"});
    if (keys.out.find("TC0D\tsp78\t2\t55\tdegrees C") == std::string::npos ||
        keys.out.find("F0Ac\tfpe2\t2\t1098\tRPM") == std::string::npos) {
      return 1;
    }
    return keys.err.find("vorn: TC1D: opening " + blocked + ": no answer within 5 s\n") ==
                   std::string::npos
               ? 2
               : 0;
  });
  if (status == 77) {
    GTEST_SKIP() << "may not mount here";
  }
  EXPECT_EQ(status, 0);
}

}  // namespace
