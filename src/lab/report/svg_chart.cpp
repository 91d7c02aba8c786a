#include "lab/report/svg_chart.h"

#include <cmath>

#include "lab/report/axis.h"
#include "lab/report/clean_text.h"
#include "lab/report/number_text.h"
#include "lab/report/thinning.h"

namespace lab {

namespace {

constexpr double kWidth = 900;
constexpr double kHeight = 270;
constexpr double kLeft = 62;
constexpr double kRight = 14;
constexpr double kTop = 18;
constexpr double kBottom = 26;
constexpr std::size_t kMostDrawn = 1600;
/// A phase that is narrower has no room for its name.
constexpr double kNarrowestName = 48;

std::string pixels(double value) {
  return number_text(std::round(value * 10) / 10, 6);
}

void append(std::vector<double>& all, const std::vector<double>& more) {
  all.insert(all.end(), more.begin(), more.end());
}

std::vector<double> all_x(const Chart& chart) {
  std::vector<double> values;
  for (const Series& series : chart.series) {
    append(values, series.x);
  }
  return values;
}

std::vector<double> all_y(const Chart& chart) {
  std::vector<double> values;
  for (const Series& series : chart.series) {
    append(values, series.y);
    append(values, series.low);
    append(values, series.high);
  }
  return values;
}

std::vector<Axis::Tick> named_ticks(const std::vector<std::string>& names) {
  std::vector<Axis::Tick> ticks;
  ticks.reserve(names.size());
  for (const std::string& name : names) {
    ticks.push_back({.value = static_cast<double>(ticks.size()), .text = html_text(name)});
  }
  return ticks;
}

class Drawing {
 public:
  explicit Drawing(const Figure& figure)
      : x_(figure.chart.x_scale,
           figure.chart.x_names.empty() ? Axis::Margin::none : Axis::Margin::some,
           all_x(figure.chart)),
        y_(figure.chart.y_scale, Axis::Margin::some, all_y(figure.chart)),
        x_ticks_(figure.chart.x_names.empty() ? x_.ticks(10) : named_ticks(figure.chart.x_names)) {}

  double x(double value) const { return kLeft + x_.place(value) * (kWidth - kLeft - kRight); }
  double y(double value) const {
    return kHeight - kBottom - y_.place(value) * (kHeight - kTop - kBottom);
  }

  std::string grid() const {
    std::string svg;
    for (const Axis::Tick& tick : y_.ticks(6)) {
      const std::string at = pixels(y(tick.value));
      svg += "<path class=\"grid\" d=\"M" + pixels(kLeft) + " " + at + "H" +
             pixels(kWidth - kRight) + "\"/>";
      svg += "<text x=\"" + pixels(kLeft - 6) + "\" y=\"" + at +
             "\" dy=\".35em\" text-anchor=\"end\">" + tick.text + "</text>";
    }
    for (const Axis::Tick& tick : x_ticks_) {
      const std::string at = pixels(x(tick.value));
      svg += "<path class=\"grid\" d=\"M" + at + " " + pixels(kTop) + "V" +
             pixels(kHeight - kBottom) + "\"/>";
      svg += "<text x=\"" + at + "\" y=\"" + pixels(kHeight - 6) + "\" text-anchor=\"middle\">" +
             tick.text + "</text>";
    }
    return svg;
  }

  std::string phases(const std::vector<NamedStretch>& stretches) const {
    std::string svg;
    for (const NamedStretch& phase : stretches) {
      const double begin = x(phase.begin);
      svg += "<path class=\"phase\" d=\"M" + pixels(begin) + " " + pixels(4) + "V" +
             pixels(kHeight - kBottom) + "\"/>";
      if (x(phase.end) - begin >= kNarrowestName) {
        svg += "<text class=\"phase-name\" x=\"" + pixels(begin + 4) + "\" y=\"14\">" +
               html_text(phase.name) + "</text>";
      }
    }
    return svg;
  }

  std::string line(const std::vector<double>& xs, const std::vector<double>& ys,
                   Series::Style style) const {
    std::string path;
    bool pen_down = false;
    for (std::size_t i = 0; i < xs.size(); ++i) {
      const double at = x(xs[i]);
      const double to = y(ys[i]);
      if (!std::isfinite(at) || !std::isfinite(to)) {
        pen_down = false;
        continue;
      }
      if (style == Series::Style::points) {
        path += "M" + pixels(at) + " " + pixels(to) + "h0";
      } else if (!pen_down) {
        path += "M" + pixels(at) + " " + pixels(to);
      } else if (style == Series::Style::steps) {
        path += "H" + pixels(at) + "V" + pixels(to);
      } else {
        path += "L" + pixels(at) + " " + pixels(to);
      }
      pen_down = true;
    }
    return path;
  }

  /// From the low bound of each point to its high one.
  std::string bars(const Series& series) const {
    constexpr double kEnd = 4;  // of a bar, to each side
    std::string path;
    for (std::size_t i = 0; i < series.x.size(); ++i) {
      const double at = x(series.x[i]);
      const double low = y(series.low[i]);
      const double high = y(series.high[i]);
      if (std::isfinite(at) && std::isfinite(low) && std::isfinite(high) && low != high) {
        path += "M" + pixels(at) + " " + pixels(low) + "V" + pixels(high);
        for (const double end : {low, high}) {
          path += "M" + pixels(at - kEnd) + " " + pixels(end) + "h" + pixels(2 * kEnd);
        }
      }
    }
    return path;
  }

  /// There along the low bounds and back along the high ones; a gap ends a piece.
  std::string band(const Series& series) const {
    std::string path;
    std::string back;
    for (std::size_t i = 0; i <= series.x.size(); ++i) {
      const bool drawn = i < series.x.size() && std::isfinite(x(series.x[i])) &&
                         std::isfinite(y(series.low[i])) && std::isfinite(y(series.high[i]));
      if (drawn) {
        const std::string at = pixels(x(series.x[i]));
        path += (back.empty() ? "M" : "L") + at + " " + pixels(y(series.low[i]));
        back.insert(0, "L" + at + " " + pixels(y(series.high[i])));
      } else if (!back.empty()) {
        path += back + "Z";
        back.clear();
      }
    }
    return path;
  }

 private:
  Axis x_;
  Axis y_;
  std::vector<Axis::Tick> x_ticks_;
};

std::string class_of(const Series& series, Ink ink) {
  return "ink" + std::to_string(ink.colour) +
         (series.style == Series::Style::points ? " points" : " dash" + std::to_string(ink.dash));
}

}  // namespace

std::string svg_chart(const Figure& figure) {
  const Drawing drawing(figure);
  std::string svg = "<svg class=\"drawn\" viewBox=\"0 0 " + pixels(kWidth) + " " + pixels(kHeight) +
                    "\" role=\"img\" aria-label=\"" + html_text(figure.chart.title) + "\">";
  svg += drawing.grid() + drawing.phases(figure.phases);
  for (std::size_t i = 0; i < figure.chart.series.size(); ++i) {
    const Series series = thinned(figure.chart.series[i], kMostDrawn);
    const std::string ink = class_of(series, figure.inks[i]);
    if (series.low.size() == series.x.size() && series.high.size() == series.x.size()) {
      const bool bars = series.style == Series::Style::points;
      svg += std::string("<path class=\"") + (bars ? "bars " : "band ") + ink + "\" d=\"" +
             (bars ? drawing.bars(series) : drawing.band(series)) + "\"/>";
    }
    svg += "<path class=\"curve " + ink + "\" d=\"" +
           drawing.line(series.x, series.y, series.style) + "\"/>";
  }
  return svg + "</svg>";
}

}  // namespace lab
