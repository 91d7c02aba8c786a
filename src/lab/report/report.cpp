#include "lab/report/report.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string>

#include "lab/report/chart_data.h"
#include "lab/report/clean_text.h"
#include "lab/report/figure.h"
#include "lab/report/page_parts.h"
#include "lab/report/page_pieces.h"

namespace lab {

namespace {

/// Of one series. A screen has some thousand columns; more points are there to be zoomed into.
constexpr std::size_t kMostInAReport = 120'000;
/// Of all series: each takes 5.3 bytes of the file.
constexpr std::size_t kMostValues = 1'000'000;

std::size_t most_points(const Table& samples) {
  return std::min(kMostInAReport, kMostValues / std::max<std::size_t>(samples.columns.size(), 1));
}

/// The script elements carry this word and the page allows no script without it, so that nothing
/// that a label smuggles in could run. It follows from the page, so that a page is always the same.
std::string nonce(const std::string& page) {
  std::uint64_t hash = 0xcbf29ce484222325;  // FNV-1a
  for (const char c : page) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  }
  std::array<char, 16> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), hash, 16);
  return {text.data(), end.ptr};
}

void write_head(std::ostream& out, const Run& run, const ReportAssets& assets,
                const std::string& word) {
  out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
         "script-src 'nonce-"
      << word
      << "'; style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>"
      << html_text(run_title(run.info)) << "</title>\n<style>\n"
      << assets.style << '\n'
      << kPageStyle << "</style>\n</head>\n";
}

void write_scripts(std::ostream& out, const std::vector<Figure>& figures,
                   const ReportAssets& assets, const std::string& word) {
  if (assets.script.empty() || figures.empty()) {
    return;
  }
  out << "<script type=\"application/json\" id=\"data\">" << chart_data(figures) << "</script>\n"
      << "<script nonce=\"" << word << "\">" << assets.script << "</script>\n"
      << "<script nonce=\"" << word << "\">\n"
      << kPageScript << "</script>\n";
}

}  // namespace

void write_report(std::ostream& out, const Run& run, const Answer& answer,
                  const ReportAssets& assets) {
  const std::vector<Figure> drawn = figures(run, answer, most_points(run.samples));
  const std::string page = "<main>\n" + heading_part(run, answer) + answer_part(answer) +
                           charts_part(drawn, assets.problem) + measured_part(run) +
                           warnings_part(run, answer) + repeat_part(run) + "</main>\n";
  const std::string word = nonce(page);
  write_head(out, run, assets, word);
  out << "<body>\n" << page;
  write_scripts(out, drawn, assets, word);
  out << "</body>\n</html>\n";
}

}  // namespace lab
