#include "contract/machine_under_test.h"

#include <algorithm>

#include "machines/linux/drivers/composition.h"
#include "machines/simulated/composition.h"
#include "support/fake_simulation.h"
#include "support/machine/late_cpufreq.h"
#include "support/machine/machine_file.h"
#include "support/machine/memory_tree.h"
#include "support/machine/mode_rules.h"
#include "support/machine/test_surroundings.h"

namespace {

constexpr std::int64_t kAppliedAfterNs = 30'000'000;

class Simulated final : public MachineUnderTest {
 public:
  std::vector<kx::Node> compose() override { return simulated::compose(machine_); }
  void become_user(uid_t user) override { surroundings_.effective_user = user; }

 private:
  simulated::FakeSurroundings surroundings_;
  simulated::Machine machine_{surroundings_.surroundings(2)};
};

class FromFile final : public MachineUnderTest {
 public:
  explicit FromFile(const std::string& name) : tree_(LateCpufreq::with_moving(read_machine(name))) {
    let_modes_rule(tree_);
  }

  std::vector<kx::Node> compose() override { return linux_machine::compose(machine_); }
  void become_user(uid_t user) override { surroundings_.user = user; }

 private:
  MemoryTree tree_;
  LateCpufreq cpufreq_{tree_, [this] { return surroundings_.now_ns.load(); }, kAppliedAfterNs};
  TestSurroundings surroundings_{cpufreq_};
  linux_machine::Machine machine_{surroundings_.surroundings};
};

void collect(const std::vector<kx::Node>& nodes, const std::string& class_name,
             std::vector<std::shared_ptr<kx::Driver>>& found) {
  for (const kx::Node& node : nodes) {
    if (node.driver) {
      const std::vector<std::string> classes = node.driver->classes();
      if (std::find(classes.begin(), classes.end(), class_name) != classes.end()) {
        found.push_back(node.driver);
      }
    }
    collect(node.children, class_name, found);
  }
}

}  // namespace

std::vector<std::shared_ptr<kx::Driver>> MachineUnderTest::drivers(const std::string& class_name) {
  std::vector<std::shared_ptr<kx::Driver>> found;
  collect(compose(), class_name, found);
  return found;
}

std::unique_ptr<MachineUnderTest> make_machine(const std::string& name) {
  if (name == "simulated") {
    return std::make_unique<Simulated>();
  }
  return std::make_unique<FromFile>(name);
}

std::vector<std::string> machines_with(const std::string& class_name) {
  std::vector<std::string> names = all_machines();
  names.emplace_back("simulated");
  std::erase_if(names, [&](const std::string& name) {
    return make_machine(name)->drivers(class_name).empty();
  });
  return names;
}
