#include <csignal>
#include <iostream>
#include <optional>

#include "Inspection/inspection.h"
#include "Process/standard_descriptors.h"
#include "SMC/SMC.h"
#include "keys/console.h"
#include "keys/listing.h"
#include "keys/options.h"
#include "vorn/version.h"

namespace {

constexpr int kWell = 0;
constexpr int kNotWell = 1;
constexpr int kWrongCommandLine = 2;

int list() {
  try {
    return keys::list_keys(std::cout) ? kWell : kNotWell;
  } catch (const SMCException& failure) {
    std::cerr << failure << "\nNo controller was found on this machine; --check says what it lacks."
              << std::endl;
    return kNotWell;
  }
}

int check() {
  bool all = true;
  for (const inspection::Finding& finding : inspection::check()) {
    all = all && finding.well;
    std::cout << (finding.well ? "ok     " : "lacks  ") << finding.text << '\n';
    if (!finding.remedy.empty()) {
      std::cout << "       -> " << finding.remedy << '\n';
    }
  }
  return all ? kWell : kNotWell;
}

int calibrate() {
  std::signal(SIGTSTP, SIG_IGN);  // nobody would watch over a fan that is held meanwhile
  return inspection::calibrate(keys::make_console()) ? kWell : kNotWell;
}

}  // namespace

int main(int argc, char* argv[]) {
  process::hold_standard_descriptors();
  const std::optional<keys::Action> action = keys::parse_arguments(argc, argv);
  if (!action) {
    std::cerr << keys::usage(argv[0]);
    return kWrongCommandLine;
  }
  switch (*action) {
    case keys::Action::list:
      return list();
    case keys::Action::check:
      return check();
    case keys::Action::calibrate:
      return calibrate();
    case keys::Action::restore:
      return inspection::restore(keys::make_console()) ? kWell : kNotWell;
    case keys::Action::help:
      std::cout << keys::usage(argv[0]);
      return kWell;
    case keys::Action::version:
      std::cout << version << std::endl;
      return kWell;
  }
  return kWrongCommandLine;
}
