#include "lab/report/inks.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace lab {

namespace {

bool is_letter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

bool has_word(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != std::string_view::npos;
       at = text.find(word, at + 1)) {
    const std::size_t end = at + word.size();
    if ((at == 0 || !is_letter(text[at - 1])) && (end == text.size() || !is_letter(text[end]))) {
      return true;
    }
  }
  return false;
}

Ink next_ink(std::size_t known) {
  const int index = static_cast<int>(known);
  return {.colour = index % Ink::kColours, .dash = index / Ink::kColours % Ink::kDashes};
}

bool look_alike(const Series& one, Ink ink, const Series& other, Ink other_ink) {
  const bool both_lines =
      one.style != Series::Style::points && other.style != Series::Style::points;
  return (both_lines || one.style == other.style) && ink.colour == other_ink.colour &&
         ink.dash == other_ink.dash;
}

}  // namespace

// The columns of the load have the last colours, which few keys reach; what was asked is dashed, to
// lie above what was delivered.
Inks::Inks(const std::vector<std::string>& names)
    : shares_{{std::string(kAskedColumn), {.colour = 5, .dash = 1}},
              {std::string(kDeliveredColumn), {.colour = 6}},
              {std::string(kOthersColumn), {.colour = 7}}} {
  for (const std::string& name : names) {
    known_.try_emplace(name, next_ink(known_.size()));
  }
}

Ink Inks::by_name(const std::string& text) {
  for (const auto& [name, ink] : shares_) {
    if (text.starts_with(name)) {
      return ink;
    }
  }
  const std::pair<const std::string, Ink>* best = nullptr;
  for (const auto& entry : known_) {
    if (!entry.first.empty() && has_word(text, entry.first) &&
        (best == nullptr || entry.first.size() > best->first.size())) {
      best = &entry;
    }
  }
  return best != nullptr ? best->second
                         : known_.try_emplace(text, next_ink(known_.size())).first->second;
}

std::vector<Ink> Inks::of(const std::vector<Series>& series) {
  std::vector<Ink> inks;
  for (const Series& one : series) {
    Ink ink = by_name(one.name);
    for (int tries = 0; tries < Ink::kDashes; ++tries) {
      bool free = true;
      for (std::size_t i = 0; i < inks.size(); ++i) {
        free = free && !look_alike(one, ink, series[i], inks[i]);
      }
      if (free) {
        break;
      }
      ink.dash = (ink.dash + 1) % Ink::kDashes;
    }
    inks.push_back(ink);
  }
  return inks;
}

}  // namespace lab
