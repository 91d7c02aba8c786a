#include <csignal>
#include <iostream>
#include <optional>

#include "Inspection/inspection.h"
#include "Process/capabilities.h"
#include "Process/standard_descriptors.h"
#include "SMC/SMC.h"
#include "keys/console.h"
#include "keys/listing.h"
#include "keys/options.h"
#include "keys/record_file.h"
#include "vorn/privilege.h"
#include "vorn/version.h"

namespace {

constexpr int kWell = 0;
constexpr int kNotWell = 1;
constexpr int kWrongCommandLine = 2;

int list() {
  try {
    return vorn_keys::list_keys(std::cout) ? kWell : kNotWell;
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
  return inspection::calibrate(vorn_keys::make_console()) ? kWell : kNotWell;
}

/// The files of a record are the caller's.
void take_the_callers_rights() {
  process::lower_capabilities();
  uid.relinquish();
}

int record(const std::string& file) {
  take_the_callers_rights();
  return vorn_keys::record_into(file, vorn_keys::make_console()) ? kWell : kNotWell;
}

int list_record(const std::string& file) {
  take_the_callers_rights();
  return vorn_keys::use_record_of(file, vorn_keys::make_console()) ? list() : kNotWell;
}

}  // namespace

int main(int argc, char* argv[]) {
  process::hold_standard_descriptors();
  const std::optional<vorn_keys::Request> request = vorn_keys::parse_arguments(argc, argv);
  if (!request) {
    std::cerr << vorn_keys::usage(argv[0]);
    return kWrongCommandLine;
  }
  switch (request->action) {
    case vorn_keys::Action::list:
      return list();
    case vorn_keys::Action::check:
      return check();
    case vorn_keys::Action::calibrate:
      return calibrate();
    case vorn_keys::Action::assign:
      return inspection::assign(request->operand, vorn_keys::make_console()) ? kWell : kNotWell;
    case vorn_keys::Action::restore:
      return inspection::restore(vorn_keys::make_console()) ? kWell : kNotWell;
    case vorn_keys::Action::record:
      return record(request->operand);
    case vorn_keys::Action::list_record:
      return list_record(request->operand);
    case vorn_keys::Action::help:
      std::cout << vorn_keys::usage(argv[0]);
      return kWell;
    case vorn_keys::Action::version:
      std::cout << version << std::endl;
      return kWell;
  }
  return kWrongCommandLine;
}
