// Put into a report by its test: notes what a person would see and do as attributes of the body.
(function () {
  "use strict";

  var noted = document.body.dataset;
  var plots = Array.from(document.querySelectorAll(".plot"));
  var refused = 0;
  addEventListener("securitypolicyviolation", function () { ++refused; });

  // Whether a canvas has a pixel of the colour of the first curve in its chart's legend.
  function isDrawn(plot) {
    var canvas = plot.querySelector(".live canvas");
    if (!canvas) {
      return false;
    }
    var copy = document.createElement("canvas");
    copy.width = canvas.width;
    copy.height = canvas.height;
    var context = copy.getContext("2d", { willReadFrequently: true });
    context.drawImage(canvas, 0, 0);
    var pixels = context.getImageData(0, 0, copy.width, copy.height).data;
    var wanted = getComputedStyle(plot.parentNode.querySelector(".swatch .curve")).stroke;
    for (var i = 0; i < pixels.length; i += 4) {
      if (pixels[i + 3] === 255 &&
          wanted === "rgb(" + [pixels[i], pixels[i + 1], pixels[i + 2]].join(", ") + ")") {
        return true;
      }
    }
    return false;
  }

  function axes() {
    return plots.map(function (plot) {
      return Array.from(plot.querySelectorAll(".dygraph-axis-label-x")).map(function (label) {
        return label.textContent;
      }).join(" ");
    });
  }

  function mouse(type, target, x, y) {
    target.dispatchEvent(new MouseEvent(type, {
      bubbles: true, cancelable: true, view: window, button: 0, detail: 1, clientX: x, clientY: y
    }));
  }

  function useTheCharts() {
    noted.axesBefore = axes().join("|");
    var canvas = plots[plots.length - 1].querySelectorAll(".live canvas")[1];
    var box = canvas.getBoundingClientRect();
    var y = box.top + box.height / 2;
    mouse("mousedown", canvas, box.left + 250, y);
    mouse("mousemove", document, box.left + 300, y);
    mouse("mousemove", document, box.left + 450, y);
    mouse("mouseup", document, box.left + 450, y);
    noted.axesZoomed = axes().join("|");
    noted.drawnZoomed = plots.filter(isDrawn).length;
    mouse("mousemove", canvas, box.left + 200, y);
    noted.values = Array.from(document.querySelectorAll(".now")).filter(function (place) {
      return place.textContent !== "";
    }).length;
    mouse("mousedown", canvas, box.left + 200, y);
    mouse("mouseup", document, box.left + 200, y);
    mouse("dblclick", canvas, box.left + 200, y);
    noted.axesAfter = axes().join("|");
  }

  function hideACurve() {
    var plot = plots[plots.length - 1];
    plot.parentNode.querySelector(".legend li").click();
    noted.hidden = !isDrawn(plot);
    plot.parentNode.querySelector(".legend li").click();
    noted.shown = isDrawn(plot);
  }

  function selected() {
    getSelection().selectAllChildren(document.querySelector("main"));
    return getSelection().toString();
  }

  addEventListener("load", function () {
    noted.plots = plots.length;
    noted.colourful = plots.filter(isDrawn).length;
    noted.requests = performance.getEntriesByType("resource").length;
    noted.paper = getComputedStyle(document.body).backgroundColor;
    noted.wider = document.documentElement.scrollWidth > innerWidth;
    noted.selected = selected().replace(/\s+/g, " ").slice(0, 400);
    useTheCharts();
    hideACurve();
    setTimeout(function () { noted.refused = refused; }, 0);
  });
})();
