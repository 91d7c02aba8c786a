#pragma once

#include <CLI/CLI.hpp>

namespace lab {

/// Of an option: a number from `least` to `most`. "nan" is none: it compares with nothing.
CLI::Validator number_from(double least, double most);

}  // namespace lab
