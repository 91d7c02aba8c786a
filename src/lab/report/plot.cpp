#include "lab/report/plot.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

#include "lab/folder/whole_file.h"
#include "lab/plan/plan_error.h"
#include "lab/report/figure.h"
#include "lab/report/gnuplot_process.h"
#include "lab/report/gnuplot_script.h"

namespace lab {

namespace {

/// Points of one series: two for each pixel of a wide picture.
constexpr std::size_t kMostInAPicture = 4000;

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

Picture picture_of(const std::string& path) {
  const std::string name = lower(path);
  if (name.ends_with(".png")) {
    return Picture::png;
  }
  if (name.ends_with(".svg")) {
    return Picture::svg;
  }
  if (name.ends_with(".pdf")) {
    return Picture::pdf;
  }
  throw PlanError("cannot tell the kind of picture from the name " + path +
                  " (let it end in .png, .svg or .pdf)");
}

std::optional<std::size_t> whole_number(const std::string& text) {
  std::size_t number = 0;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
  return end.ec == std::errc() && end.ptr == text.data() + text.size()
             ? std::optional<std::size_t>(number)
             : std::nullopt;
}

bool is_chosen(const Figure& figure, std::size_t number, const std::string& which) {
  if (which.empty()) {
    return figure.of_samples;
  }
  if (const std::optional<std::size_t> wanted = whole_number(which)) {
    return *wanted == number;
  }
  return lower(figure.chart.title).find(lower(which)) != std::string::npos;
}

std::string offered(const std::vector<Figure>& all) {
  std::string text;
  for (std::size_t i = 0; i < all.size(); ++i) {
    text += (i == 0 ? "" : "; ") + std::to_string(i + 1) + " " + all[i].chart.title;
  }
  return text;
}

}  // namespace

void plot(const Run& run, const Answer& answer, const std::string& path, const std::string& which) {
  const Picture picture = picture_of(path);
  const std::vector<Figure> all = figures(run, answer, kMostInAPicture);
  std::vector<Figure> chosen;
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (is_chosen(all[i], i + 1, which)) {
      chosen.push_back(all[i]);
    }
  }
  if (all.empty()) {
    throw PlotError("the run has no samples, so there is nothing to draw");
  }
  if (chosen.empty()) {
    throw PlanError(which.empty()
                        ? "the run has no samples over time (choose a chart: " + offered(all) + ")"
                        : "there is no chart \"" + which + "\" (there are: " + offered(all) + ")");
  }
  write_whole(path, run_gnuplot(gnuplot_script(chosen, picture)));
}

}  // namespace lab
