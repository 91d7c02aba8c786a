#include "machines/linux/sensors/die_zones.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "machines/linux/sensors/processors.h"
#include "machines/linux/sysfs/attribute.h"

// Kernels make a zone for each die that they know of, package-<package>-die-<die>. On Intel's
// processors of several dies each die counts its own energy, and the package's is their sum. AMD's
// count once a socket: the register behind the zone of any die is the socket's, and since kernels
// began to tell the dies apart (6.10) a socket may have up to 13 such zones. Their sum would be
// that many times too large. So the vendor decides, and where this user may read the counters they
// are looked at: two that are not the same are counters of their own after all.

namespace linux_machine {
namespace {

// What a package can draw (1000 W) in the 10 ms in which all counters are read.
constexpr long long kReadApartUj = 10'000'000;

/// "package-0" of "package-0-die-1"; empty for a zone that is no die's.
std::string_view package_of(const RaplZone& zone) {
  const std::string_view name = zone.name;
  const std::size_t die = name.find("-die-");
  return die == std::string_view::npos ? std::string_view() : name.substr(0, die);
}

enum class Counters { one, of_each, unknown };

Counters compare(sysfs::Tree& tree, std::span<const RaplZone> dies) {
  std::vector<long long> energies_uj;
  for (const RaplZone& die : dies) {
    const auto energy_uj = sysfs::read_integer(tree, die.counter.attribute);
    if (!energy_uj) {
      return Counters::unknown;
    }
    energies_uj.push_back(*energy_uj);
  }
  return may_be_one_counter(energies_uj, dies.front().counter.limits.range_uj) ? Counters::one
                                                                               : Counters::of_each;
}

/// "folder (name)" becomes "folder (name: note)".
void add_note(RaplZone& zone, const std::string& note) {
  zone.description.insert(zone.description.size() - 1, ": " + note);
}

/// Adds to `kept` those of one package's dies that count.
void keep(sysfs::Tree& tree, std::span<RaplZone> dies, std::vector<RaplZone>& kept) {
  const Counters counters = compare(tree, dies);
  if (counters == Counters::of_each) {
    for (RaplZone& die : dies) {
      add_note(die, "a counter of its own");
      kept.push_back(std::move(die));
    }
    return;
  }
  const std::string others = std::to_string(dies.size() - 1) +
                             (dies.size() == 2 ? " other die shows it" : " other dies show it");
  add_note(dies.front(), "the counter of the whole package; " + others + " too" +
                             (counters == Counters::one ? "" : ", as on all of AMD's"));
  kept.push_back(std::move(dies.front()));
}

}  // namespace

bool may_be_one_counter(std::span<const long long> energies_uj, long long range_uj) {
  return std::all_of(energies_uj.begin(), energies_uj.end(), [&](long long energy_uj) {
    const long long apart_uj = std::llabs(energy_uj - energies_uj.front());
    return apart_uj <= kReadApartUj || std::llabs(range_uj - apart_uj) <= kReadApartUj;
  });
}

std::vector<RaplZone> without_mirrors(sysfs::Tree& tree, std::vector<RaplZone> zones) {
  const bool has_dies = std::any_of(zones.begin(), zones.end(),
                                    [](const RaplZone& zone) { return !package_of(zone).empty(); });
  if (!has_dies || !are_amd(tree)) {
    return zones;
  }
  std::vector<RaplZone> kept;
  for (auto first = zones.begin(); first != zones.end();) {
    const auto end = std::find_if(first, zones.end(), [&](const RaplZone& zone) {
      return package_of(zone) != package_of(*first);
    });
    if (end - first == 1 || package_of(*first).empty()) {
      std::move(first, end, std::back_inserter(kept));
    } else {
      keep(tree, {first, end}, kept);
    }
    first = end;
  }
  return kept;
}

}  // namespace linux_machine
