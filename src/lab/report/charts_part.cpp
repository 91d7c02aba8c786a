#include "lab/report/clean_text.h"
#include "lab/report/html.h"
#include "lab/report/number_text.h"
#include "lab/report/page_parts.h"
#include "lab/report/svg_chart.h"

namespace lab {

namespace {

std::string swatch(const Series& series, Ink ink) {
  const bool points = series.style == Series::Style::points;
  return "<svg class=\"swatch\" viewBox=\"0 0 26 10\" aria-hidden=\"true\"><path class=\"curve "
         "ink" +
         std::to_string(ink.colour) +
         (points ? " points\" d=\"M5 5h0M13 5h0M21 5h0\""
                 : " dash" + std::to_string(ink.dash) + "\" d=\"M1 5H25\"") +
         "/></svg>";
}

std::string legend(const Figure& figure) {
  std::string items;
  for (std::size_t i = 0; i < figure.chart.series.size(); ++i) {
    const Series& series = figure.chart.series[i];
    items += html::element("li", swatch(series, figure.inks[i]) +
                                     html::text("span class=\"name\"", series.name) +
                                     html::element("span class=\"now\"", ""));
  }
  return html::element("ul class=\"legend\"", items);
}

/// What a point stands for, where not every sample is drawn; the same for all over time.
std::string thinned_note(const std::vector<Figure>& figures) {
  for (const Figure& figure : figures) {
    if (figure.samples_in_a_pair > 1) {
      return html::text("p class=\"hint\"", "Over time, the least and the largest value of every " +
                                                number_text(figure.samples_in_a_pair, 2) +
                                                " samples are drawn.");
    }
  }
  return "";
}

std::string description(const Figure& figure) {
  std::string names;
  for (const Series& series : figure.chart.series) {
    names += (names.empty() ? "" : "; ") + series.name;
  }
  return figure.chart.title + ": " + figure.chart.y_label + " against " + figure.chart.x_label +
         ", of " + names;
}

std::string figure_html(const Figure& figure, std::size_t index) {
  const Chart& chart = figure.chart;
  std::string html = html::text("h3", chart.title);
  if (!chart.note.empty()) {
    html += html::text("p class=\"note\"", chart.note);
  }
  html = html::element("figcaption", html) + legend(figure);
  html += html::text("div class=\"y-label\"", chart.y_label);
  html +=
      html::element("div class=\"plot\" data-figure=\"" + std::to_string(index) +
                        "\" role=\"group\" aria-label=\"" + html_text(description(figure)) + "\"",
                    svg_chart(figure));
  html += html::text("div class=\"x-label\"", chart.x_label);
  return html::element("figure", html) + "\n";
}

}  // namespace

std::string charts_part(const std::vector<Figure>& figures, const std::string& problem) {
  if (figures.empty()) {
    return "";
  }
  std::string html = html::element("h2", "Charts");
  if (problem.empty()) {
    html += html::text("p class=\"hint live-only\"",
                       "Drag across a chart to zoom, drag with Shift to pan, double-click to see "
                       "all. Charts over time zoom together. Click a name to hide its curve.");
  } else {
    html += html::text("p class=\"hint\"", "The charts cannot be zoomed: " + problem + ".");
  }
  html += thinned_note(figures);
  for (std::size_t i = 0; i < figures.size(); ++i) {
    html += figure_html(figures[i], i);
  }
  return html::element("section id=\"charts\"", html) + "\n";
}

}  // namespace lab
