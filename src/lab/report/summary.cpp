#include "lab/report/summary.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "lab/report/clean_text.h"
#include "lab/report/number_text.h"
#include "lab/report/text_lines.h"

namespace lab {

namespace {

std::string in_letters(std::string text, Letters letters) {
  constexpr std::string_view kDegree = "°";
  constexpr std::string_view kWord = "deg";
  for (std::size_t at = text.find(kDegree); letters == Letters::ascii && at != std::string::npos;
       at = text.find(kDegree, at)) {
    text.replace(at, kDegree.size(), kWord);
  }
  return text;
}

TextCell text_cell(const ResultTable::Cell& cell, Letters letters) {
  if (const auto* plain = std::get_if<std::string>(&cell)) {
    return {.parts = {in_letters(clean_text(*plain), letters)}};
  }
  const EstimateText said = estimate_text(std::get<Estimate>(cell));
  return {.parts = {said.value, in_letters(clean_text(said.unit), letters),
                    said.interval.empty() ? "" : "(" + said.interval + ")"},
          .number = true};
}

void write_table(std::ostream& out, const ResultTable& table, Letters letters,
                 std::size_t columns) {
  std::vector<std::string> head;
  std::transform(table.head.begin(), table.head.end(), std::back_inserter(head),
                 [&](const std::string& name) { return in_letters(clean_text(name), letters); });
  std::vector<std::vector<TextCell>> rows;
  for (const auto& row : table.rows) {
    std::vector<TextCell>& cells = rows.emplace_back();
    std::transform(row.begin(), row.end(), std::back_inserter(cells),
                   [&](const ResultTable::Cell& cell) { return text_cell(cell, letters); });
  }
  out << '\n';
  if (!table.title.empty()) {
    out << wrapped(in_letters(table.title, letters), columns);
  }
  out << text_table(head, rows);
}

}  // namespace

void write_summary(std::ostream& out, const Answer& answer, Letters letters, std::size_t columns) {
  if (!answer.decided) {
    out << wrapped("The data cannot decide this question.", columns);
  }
  for (const std::string& sentence : answer.sentences) {
    out << wrapped(in_letters(sentence, letters), columns);
  }
  for (const ResultTable& table : answer.tables) {
    write_table(out, table, letters, columns);
  }
  if (!answer.warnings.empty()) {
    out << '\n';
  }
  for (const std::string& warning : answer.warnings) {
    out << wrapped(in_letters(warning, letters), columns, "Warning: ");
  }
}

}  // namespace lab
