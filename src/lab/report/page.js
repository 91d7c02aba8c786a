// Replaces the drawn charts by ones that can be zoomed.
(function () {
  "use strict";

  var data = JSON.parse(document.getElementById("data").textContent);
  var decoded = [];
  var charts = [];
  var busy = false;

  function numbers(index, Type) {
    if (!decoded[index]) {
      var text = atob(data.arrays[index]);
      var bytes = new Uint8Array(text.length);
      for (var i = 0; i < text.length; ++i) {
        bytes[i] = text.charCodeAt(i);
      }
      decoded[index] = new Type(bytes.buffer);
    }
    return decoded[index];
  }

  function decodedSeries(series) {
    var y = numbers(series.y, Float32Array);
    return {
      x: numbers(series.x, Float64Array),
      y: y,
      low: series.low === undefined ? y : numbers(series.low, Float32Array),
      high: series.high === undefined ? y : numbers(series.high, Float32Array)
    };
  }

  function colour(name) {
    return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
  }

  function short(value) {
    return String(Number(value.toPrecision(4)));
  }

  // Of a few points each is to be seen, those at the ends too.
  function isCloud(series) {
    return numbers(series.x, Float64Array).length > 60;
  }

  function hasFewPoints(figure) {
    return figure.series.some(function (series) {
      return series.style === "points" && !isCloud(series);
    });
  }

  // As wide as the room beside an axis: longer numbers would be cut off there.
  function tick(value) {
    var text = String(Number(value.toPrecision(6)));
    return text.length > 8 ? String(Number(value.toPrecision(4)).toExponential()) : text;
  }

  function hasBands(figure) {
    return figure.series.some(function (series) { return series.low !== undefined; });
  }

  function drawPhases(figure) {
    return function (canvas, area, graph) {
      canvas.save();
      canvas.font = "12px " + getComputedStyle(document.body).fontFamily;
      canvas.textBaseline = "top";
      figure.phases.forEach(function (phase) {
        var begin = graph.toDomXCoord(phase.begin);
        var end = Math.min(graph.toDomXCoord(phase.end), area.x + area.w);
        if (begin >= area.x && begin <= area.x + area.w) {
          canvas.strokeStyle = colour("--phase");
          canvas.setLineDash([2, 3]);
          canvas.beginPath();
          canvas.moveTo(Math.round(begin) + 0.5, area.y);
          canvas.lineTo(Math.round(begin) + 0.5, area.y + area.h);
          canvas.stroke();
        }
        begin = Math.max(begin, area.x);
        if (end - begin > canvas.measureText(phase.name).width + 8) {
          canvas.fillStyle = colour("--quiet");
          canvas.fillText(phase.name, begin + 4, area.y + 2);
        }
      });
      canvas.restore();
    };
  }

  // A series looks as it does in the legend.
  function looks(chart) {
    return chart.swatches.map(function (swatch) { return getComputedStyle(swatch); });
  }

  function dashes(look) {
    return look.strokeDasharray === "none" ? null : look.strokeDasharray.split(",").map(parseFloat);
  }

  function colours(chart) {
    return {
      colors: looks(chart).map(function (look) { return look.stroke; }),
      gridLineColor: colour("--grid"),
      axisLineColor: colour("--axis")
    };
  }

  function showValues(chart, row) {
    chart.legend.forEach(function (place, at) {
      var value = row < 0 ? null : chart.graph.getValue(row, at + 1);
      var middle = Array.isArray(value) ? value[1] : value;
      var known = typeof middle === "number" && isFinite(middle);
      place.textContent = known ? short(middle) + (chart.figure.unit && " " + chart.figure.unit) : "";
    });
  }

  function timed() {
    return charts.filter(function (chart) { return chart.figure.timed; });
  }

  // All charts over time show the same window, with rows made for it.
  function follow(window) {
    if (busy) {
      return;
    }
    busy = true;
    timed().forEach(function (chart) {
      chart.graph.updateOptions({
        dateWindow: window,
        file: chartRows.timed(chart, window, chart.graph.getArea().w)
      });
    });
    busy = false;
  }

  function sameWindow(one, other) {
    return one === other || (one && other && one[0] === other[0] && one[1] === other[1]);
  }

  // What stands at 0, 1, ... of an axis of names.
  function namedTicks(figure) {
    return function () {
      return figure.xNames.map(function (name, at) { return { v: at, label: name }; });
    };
  }

  // A point, and from its low bound to its high one a bar. Between two points nothing is known.
  function pointWithBar(at) {
    return function (graph, name, canvas, x, y, ink, size, row) {
      var value = graph.getValue(row, at + 1);
      if (Array.isArray(value) && value[0] !== value[2]) {
        var low = graph.toDomYCoord(value[0]);
        var high = graph.toDomYCoord(value[2]);
        canvas.beginPath();
        canvas.strokeStyle = ink;
        canvas.lineWidth = 1.3;
        canvas.moveTo(x, low);
        canvas.lineTo(x, high);
        [low, high].forEach(function (end) {
          canvas.moveTo(x - 4, end);
          canvas.lineTo(x + 4, end);
        });
        canvas.stroke();
      }
      Dygraph.Circles.DEFAULT(graph, name, canvas, x, y, ink, size);
    };
  }

  function options(chart) {
    var figure = chart.figure;
    var all = {
      labels: ["x"].concat(figure.series.map(function (series, at) { return "s" + at; })),
      series: {},
      legend: "never",
      customBars: hasBands(figure),
      connectSeparatedPoints: true,
      logscale: figure.yLog,
      strokeWidth: 1.6,
      fillAlpha: 0.18,
      gridLineWidth: 1,
      axisLabelFontSize: 12,
      highlightCircleSize: 3,
      labelsKMB: false,
      xRangePad: figure.xNames.length > 0 ? 40 : hasFewPoints(figure) && !figure.xLog ? 8 : 0,
      yRangePad: figure.phases.length > 0 ? 26 : 8,
      axes: {
        x: Object.assign({ logscale: figure.xLog, axisLabelFormatter: tick, valueFormatter: short,
          drawGrid: true }, figure.xNames.length > 0 ? { ticker: namedTicks(figure) } : {}),
        y: { axisLabelFormatter: tick, valueFormatter: short, axisLabelWidth: 54 }
      },
      underlayCallback: drawPhases(figure),
      highlightCallback: function (event, x, points, row) {
        (figure.timed ? timed() : [chart]).forEach(function (each) {
          showValues(each, row);
          if (each !== chart) {
            each.graph.setSelection(row);
          }
        });
      },
      unhighlightCallback: function () {
        (figure.timed ? timed() : [chart]).forEach(function (each) {
          showValues(each, -1);
          if (each !== chart) {
            each.graph.clearSelection();
          }
        });
      },
      drawCallback: function (graph, first) {
        if (first || !figure.timed || busy) {
          return;
        }
        var window = graph.dateWindow_ ? graph.xAxisRange() : null;
        if (!sameWindow(window, chart.window)) {
          timed().forEach(function (each) { each.window = window; });
          follow(window);
        }
      }
    };
    figure.series.forEach(function (series, at) {
      var points = series.style === "points";
      all.series["s" + at] = {
        strokeWidth: points ? 0 : 1.6,
        fillAlpha: points ? 0 : 0.18,
        drawPoints: points,
        drawPointCallback: pointWithBar(at),
        pointSize: points ? (isCloud(series) ? 2 : 4) : 1,
        stepPlot: series.style === "steps",
        strokePattern: points ? null : dashes(looks(chart)[at])
      };
    });
    return Object.assign(all, colours(chart));
  }

  // A loop, whose line goes back, stays a drawing.
  function canZoom(figure) {
    return figure.series.every(function (series) {
      return series.style === "points" || chartRows.ascends(numbers(series.x, Float64Array));
    });
  }

  // A name in the legend hides its curve, and shows it again.
  function makeSwitches(chart, place) {
    Array.from(place.parentNode.querySelectorAll(".legend li")).forEach(function (item, at) {
      function toggle() {
        var shown = item.getAttribute("aria-pressed") !== "true";
        item.setAttribute("aria-pressed", shown);
        chart.graph.setVisibility(at, shown);
      }
      item.tabIndex = 0;
      item.setAttribute("role", "button");
      item.setAttribute("aria-pressed", "true");
      item.addEventListener("click", toggle);
      item.addEventListener("keydown", function (event) {
        if (event.key === "Enter" || event.key === " ") {
          event.preventDefault();
          toggle();
        }
      });
    });
  }

  function makeChart(place, index) {
    var figure = data.figures[index];
    if (!canZoom(figure)) {
      return;
    }
    var chart = {
      figure: figure,
      window: null,
      legend: Array.from(place.parentNode.querySelectorAll(".legend .now")),
      swatches: Array.from(place.parentNode.querySelectorAll(".swatch .curve"))
    };
    var live = document.createElement("div");
    live.className = "live";
    place.appendChild(live);
    place.classList.add("is-live");
    var rows;
    if (figure.timed) {
      chart.xs = numbers(figure.series[0].x, Float64Array);
      chart.ys = figure.series.map(function (series) { return numbers(series.y, Float32Array); });
      chart.gaps = chartRows.gaps(chart.ys, chart.xs.length);
      rows = chartRows.timed(chart, null, Math.max(live.clientWidth, 200));
    } else {
      rows = chartRows.merged(figure.series.map(decodedSeries), figure, hasBands(figure));
    }
    if (rows.length === 0) {
      place.classList.remove("is-live");
      live.remove();
      return;
    }
    chart.graph = new Dygraph(live, rows, options(chart));
    charts.push(chart);
    makeSwitches(chart, place);
    chart.graph.ready(function () {
      document.body.dataset.drawn = Number(document.body.dataset.drawn || 0) + 1;
      document.body.dataset.drawnAfterMs = Math.round(performance.now());
    });
  }

  Array.from(document.querySelectorAll(".plot")).forEach(function (place) {
    makeChart(place, Number(place.dataset.figure));
  });

  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", function () {
    busy = true;
    charts.forEach(function (chart) { chart.graph.updateOptions(colours(chart)); });
    busy = false;
  });
})();
