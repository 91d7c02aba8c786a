#pragma once

#include <string_view>

namespace linux_machine {

/// Up to which temperature a processor is made to run, degrees Celsius, for one whose driver does
/// not tell: by vendor, family and model, from a text in the form of devices/system/cpu/modalias
/// ("cpu:type:x86,ven0002fam0019mod0061:feature:..."). Pure.
double design_limit_c(std::string_view modalias);

}  // namespace linux_machine
