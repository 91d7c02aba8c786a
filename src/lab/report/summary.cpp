#include "lab/report/summary.h"

#include <algorithm>
#include <iterator>

#include "lab/report/clean_text.h"
#include "lab/report/number_text.h"
#include "lab/report/text_lines.h"

namespace lab {

namespace {

TextCell text_cell(const ResultTable::Cell& cell) {
  if (const auto* plain = std::get_if<std::string>(&cell)) {
    return {.parts = {clean_text(*plain)}};
  }
  const EstimateText said = estimate_text(std::get<Estimate>(cell));
  return {.parts = {said.value, clean_text(said.unit),
                    said.interval.empty() ? "" : "(" + said.interval + ")"},
          .number = true};
}

void write_table(std::ostream& out, const ResultTable& table, std::size_t columns) {
  std::vector<std::string> head;
  std::transform(table.head.begin(), table.head.end(), std::back_inserter(head),
                 [](const std::string& name) { return clean_text(name); });
  std::vector<std::vector<TextCell>> rows;
  for (const auto& row : table.rows) {
    std::vector<TextCell>& cells = rows.emplace_back();
    std::transform(row.begin(), row.end(), std::back_inserter(cells), text_cell);
  }
  out << '\n';
  if (!table.title.empty()) {
    out << wrapped(table.title, columns);
  }
  out << text_table(head, rows);
}

}  // namespace

void write_summary(std::ostream& out, const Answer& answer, std::size_t columns) {
  if (!answer.decided) {
    out << wrapped("The data cannot decide this question.", columns);
  }
  for (const std::string& sentence : answer.sentences) {
    out << wrapped(sentence, columns);
  }
  for (const ResultTable& table : answer.tables) {
    write_table(out, table, columns);
  }
  if (!answer.warnings.empty()) {
    out << '\n';
  }
  for (const std::string& warning : answer.warnings) {
    out << wrapped(warning, columns, "Warning: ");
  }
}

}  // namespace lab
