#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machines/linux/fans/fan_survey.h"
#include "machines/linux/sysfs/result.h"

/// The numbers that a user has given to fans, in a file beside the measured curves:
///
///   vorn fan numbers 1
///   F0 devices/platform/nct6775.656 fan2
namespace linux_machine {

/// What a user asks for: "F0=DEVICE/fan2", or "F0=" to take the number away.
struct AssignmentWish {
  std::size_t number = 0;
  std::string device;  ///< as a user names it; empty: none
  int channel = 0;
};

/// None if the text is no wish.
std::optional<AssignmentWish> parse_wish(std::string_view text);

/// What the folder's file says; nothing if it cannot be used: `wrong` then says why.
std::vector<Assignment> load_assigned(const std::string& folder, std::string& wrong);

/// Replaces the file: no number and no fan is there twice.
sysfs::Result<sysfs::Done> save_assigned(const std::string& folder,
                                         const std::vector<Assignment>& assigned);

/// Where the numbers are kept.
std::string assignment_path(const std::string& folder);

}  // namespace linux_machine
