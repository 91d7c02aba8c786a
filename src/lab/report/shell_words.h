#pragma once

#include <string>
#include <vector>

namespace lab {

/// Words as a person types them in a shell: those that it would read otherwise stand in quotes.
std::string shell_words(const std::vector<std::string>& words);

}  // namespace lab
