// Makes the rows of the charts. They are thinned to what the screen can show, as the file's own
// points were: the least and the largest value of neighbours, so that every peak is seen at every
// zoom.
var chartRows = (function () {
  "use strict";

  // The first row at or after x.
  function rowAt(xs, x) {
    var low = 0;
    var high = xs.length;
    while (low < high) {
      var middle = (low + high) >> 1;
      if (xs[middle] < x) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return low;
  }

  // Rows in which no series has a value: a gap, which no bucket may swallow.
  function gaps(series, count) {
    var found = [];
    for (var row = 0; row < count; ++row) {
      if (series.every(function (y) { return y[row] !== y[row]; })) {
        found.push(row);
      }
    }
    return found;
  }

  // Where buckets of the rows from begin to end begin, and their end.
  function buckets(begin, end, most, empty) {
    var begins = [];
    var i;
    for (i = 0; i <= most; ++i) {
      begins.push(begin + Math.floor(i * (end - begin) / most));
    }
    empty.forEach(function (gap) {
      if (gap >= begin && gap + 1 <= end) {
        begins.push(gap, gap + 1);
      }
    });
    begins.sort(function (a, b) { return a - b; });
    return begins.filter(function (row, at) { return at === 0 || row !== begins[at - 1]; });
  }

  function addExtremes(rows, at, y, begin, end) {
    var least = -1;
    var largest = -1;
    for (var row = begin; row < end; ++row) {
      if (y[row] === y[row]) {
        if (least < 0 || y[row] < y[least]) {
          least = row;
        }
        if (largest < 0 || y[row] > y[largest]) {
          largest = row;
        }
      }
    }
    rows[at].push(least < 0 ? NaN : y[Math.min(least, largest)]);
    rows[at + 1].push(least < 0 ? NaN : y[Math.max(least, largest)]);
  }

  // The rows of a chart over time that are seen through the window, and the ends of the whole.
  function timed(chart, window, width) {
    var xs = chart.xs;
    var begin = window ? Math.max(0, rowAt(xs, window[0]) - 1) : 0;
    var end = window ? Math.min(xs.length, rowAt(xs, window[1]) + 2) : xs.length;
    var rows = [];
    var i;
    if (end - begin <= 4 * width) {
      for (i = begin; i < end; ++i) {
        rows.push([xs[i]]);
        chart.ys.forEach(function (y) { rows[rows.length - 1].push(y[i]); });
      }
    } else {
      var begins = buckets(begin, end, width, chart.gaps);
      for (i = 0; i + 1 < begins.length; ++i) {
        rows.push([xs[begins[i]]], [xs[begins[i + 1] - 1]]);
        chart.ys.forEach(function (y) {
          addExtremes(rows, 2 * i, y, begins[i], begins[i + 1]);
        });
      }
    }
    var nothing = chart.ys.map(function () { return NaN; });
    if (begin > 0) {
      rows.unshift([xs[0]].concat(nothing));
    }
    if (end < xs.length) {
      rows.push([xs[xs.length - 1]].concat(nothing));
    }
    return rows;
  }

  // A point of a series: with its band, where it has one that the chart can show.
  function point(series, at, yLog, bands) {
    var y = isFinite(series.y[at]) ? series.y[at] : NaN;
    if (!bands) {
      return y;
    }
    var low = series.low[at];
    var high = series.high[at];
    var shown = isFinite(low) && isFinite(high) && (!yLog || low > 0);
    return shown ? [low, y, high] : [y, y, y];
  }

  // The rows of a chart whose series have each their own x: null where a series has no point. A
  // series with several points at one x has as many rows there.
  function merged(all, figure, bands) {
    var byX = new Map();
    all.forEach(function (series, at) {
      for (var i = 0; i < series.x.length; ++i) {
        var x = series.x[i];
        if (!isFinite(x) || (figure.xLog && x <= 0)) {
          continue;
        }
        if (!byX.has(x)) {
          byX.set(x, []);
        }
        var rows = byX.get(x);
        var row = rows.find(function (each) { return !each.taken[at]; });
        if (!row) {
          row = { taken: {}, values: [x].concat(all.map(function () {
            return bands ? [null, null, null] : null;
          })) };
          rows.push(row);
        }
        row.taken[at] = true;
        row.values[at + 1] = point(series, i, figure.yLog, bands);
      }
    });
    var sorted = Array.from(byX.keys()).sort(function (a, b) { return a - b; });
    return [].concat.apply([], sorted.map(function (x) {
      return byX.get(x).map(function (row) { return row.values; });
    }));
  }

  // Whether a line along these points goes from left to right, as those that can be zoomed must.
  function ascends(xs) {
    for (var i = 1; i < xs.length; ++i) {
      if (xs[i] < xs[i - 1]) {
        return false;
      }
    }
    return true;
  }

  return { gaps: gaps, timed: timed, merged: merged, ascends: ascends };
})();
