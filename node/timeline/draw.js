// Drawing: signs, bars and rows on a canvas. Only what can be seen is drawn, and what is narrower than
// a pixel or two is drawn once for all that falls together, so that a frame costs what the canvas is
// wide and not what the run is long.

const ROW_HEIGHT = 36;
const AXIS_HEIGHT = 26;
const BAR = { top: 9, height: 16 };
const ENTRY = { top: 28, height: 4 };
const LEAST_GAP = 5;  // between two marks, in pixels

const VERSIONS = ["IGMPv1", "IGMPv2", "IGMPv3", "MLDv1", "MLDv2", "unknown"];
const PAINTS = ["ground", "band", "ink", "faint", "line", "focus", "entry", "alarm", "query", "command",
                ...VERSIONS, ...VERSIONS.map((version) => `on-${version}`)];

// Older versions are striped, the oldest of three twice.
const STRIPES = { IGMPv1: 2, IGMPv2: 1, MLDv1: 1 };

// ---- Paints -------------------------------------------------------------------------------------

function readPaints() {
  const style = getComputedStyle(document.documentElement);
  return Object.fromEntries(PAINTS.map((name) => [name, style.getPropertyValue(`--${name}`).trim()]));
}

// The stripes lie over three pixels of eight; the rest has the plain colour.
function stripe(tile, color, count) {
  tile.strokeStyle = color;
  tile.lineWidth = 1.4;
  tile.beginPath();
  for (let shift = -8; shift <= 8; shift += 8 / count) {
    tile.moveTo(shift, 8);
    tile.lineTo(shift + 8, 0);
  }
  tile.stroke();
}

function fillFor(context, paints, version) {
  const count = STRIPES[version];
  if (!count) return paints[version];
  const canvas = document.createElement("canvas");
  canvas.width = canvas.height = 8;
  const tile = canvas.getContext("2d");
  tile.fillStyle = paints[version];
  tile.fillRect(0, 0, 8, 8);
  tile.globalAlpha = 0.38;
  stripe(tile, paints[`on-${version}`], count);
  return context.createPattern(canvas, "repeat");
}

function makeBrush(context, paints) {
  const fills = Object.fromEntries(VERSIONS.map((v) => [v, fillFor(context, paints, v)]));
  return { context, paints, fills, stamps: new Map() };
}

// ---- Signs --------------------------------------------------------------------------------------

function triangle(context, x, y, dx, dy) {
  context.beginPath();
  context.moveTo(x + dx * 5, y + dy * 5);
  context.lineTo(x - dx * 4 + dy * 5, y - dy * 4 + dx * 5);
  context.lineTo(x - dx * 4 - dy * 5, y - dy * 4 - dx * 5);
  context.closePath();
}

function circle(context, x, y) {
  context.beginPath();
  context.arc(x, y, 4.5, 0, 7);
}

function cross(context, x, y) {
  context.beginPath();
  context.moveTo(x - 4, y - 4);
  context.lineTo(x + 4, y + 4);
  context.moveTo(x + 4, y - 4);
  context.lineTo(x - 4, y + 4);
}

function hourglass(context, x, y) {
  context.beginPath();
  context.moveTo(x - 4.5, y - 6);
  context.lineTo(x + 4.5, y - 6);
  context.lineTo(x - 4.5, y + 6);
  context.lineTo(x + 4.5, y + 6);
  context.closePath();
}

function diamond(context, x, y) {
  context.beginPath();
  context.moveTo(x, y - 6);
  context.lineTo(x + 5, y);
  context.lineTo(x, y + 6);
  context.lineTo(x - 5, y);
  context.closePath();
}

function flag(context, x, y) {
  context.beginPath();
  context.moveTo(x, y + 7);
  context.lineTo(x, y - 7);
  context.lineTo(x + 9, y - 3.5);
  context.lineTo(x, y);
  context.closePath();
}

function tick(context, x, y) {
  context.beginPath();
  context.moveTo(x, y - 4);
  context.lineTo(x, y + 4);
}

function dot(context, x, y) {
  context.beginPath();
  context.arc(x, y, 2, 0, 7);
}

function stop(context, x, y) {
  context.beginPath();
  context.rect(x - 5, y - 5, 10, 10);
}

const upwards = (context, x, y) => triangle(context, x, y, 0, -1);
const downwards = (context, x, y) => triangle(context, x, y, 0, 1);
const backwards = (context, x, y) => triangle(context, x, y, -1, 0);

// How a mark looks, where in its row it stands, and what it is called. What is drawn last is on top.
const SIGNS = {
  "passed-over": { path: dot, paint: "faint", at: 17, name: "passed over (link-local group)" },
  "report": { path: tick, paint: "faint", at: 30, name: "report heard" },
  "told": { path: upwards, paint: "faint", at: 18, name: "report sent" },
  "asked": { path: downwards, paint: "query", isFilled: true, at: 5, name: "query sent" },
  "heard-query": { path: upwards, paint: "query", at: 5, name: "query heard" },
  "leave": { path: backwards, paint: "ink", at: 17, name: "leave heard" },
  "left": { path: stop, paint: "ink", isFilled: true, at: 17, name: "left" },
  "timeout": { path: hourglass, paint: "ink", isFilled: true, at: 17, name: "aged" },
  "cleared": { path: diamond, paint: "command", isFilled: true, at: 17, name: "cleared by a command" },
  "lost": { path: diamond, paint: "alarm", at: 17, name: "lost with the link" },
  "refused": { path: cross, paint: "alarm", at: 7, name: "refused" },
  "trouble": { path: cross, paint: "alarm", at: 30, name: "entry not removed" },
  "router": { path: circle, paint: "query", isFilled: true, at: 17, name: "router found" },
  "router-lost": { path: circle, paint: "query", at: 17, name: "router lost" },
  "link-up": { path: upwards, paint: "ink", isFilled: true, at: 17, name: "link up" },
  "link-down": { path: downwards, paint: "alarm", isFilled: true, at: 17, name: "link down" },
  "command": { path: flag, paint: "command", isFilled: true, at: 19, name: "command" },
};

// With a rim of the ground, so that it stands out from a bar.
function paintSign(context, paints, sign) {
  sign.path(context, 0, 0);
  context.lineJoin = "round";
  context.strokeStyle = paints.ground;
  context.lineWidth = sign.isFilled ? 3 : 4.5;
  context.stroke();
  if (sign.isFilled) {
    context.fillStyle = context.strokeStyle = paints[sign.paint];
    context.lineWidth = 1;
    context.fill();
    context.stroke();
  } else {
    context.strokeStyle = paints[sign.paint];
    context.lineWidth = 2;
    context.stroke();
  }
}

const STAMP = 24;  // pixels, with room for the widest sign

// A sign is painted once, at the resolution of the canvas, and stamped from then on.
function stampOf({ context, paints, stamps }, name) {
  if (!stamps.has(name)) {
    const ratio = context.getTransform().a;
    const canvas = document.createElement("canvas");
    canvas.width = canvas.height = Math.ceil(STAMP * ratio);
    const stamp = canvas.getContext("2d");
    stamp.setTransform(ratio, 0, 0, ratio, STAMP * ratio / 2, STAMP * ratio / 2);
    paintSign(stamp, paints, SIGNS[name]);
    stamps.set(name, canvas);
  }
  return stamps.get(name);
}

// On whole pixels, or it would be smeared.
function drawSign(brush, name, x, y) {
  const left = Math.round(x) - STAMP / 2;
  brush.context.drawImage(stampOf(brush, name), left, Math.round(y) - STAMP / 2, STAMP, STAMP);
}

// ---- Time ---------------------------------------------------------------------------------------

const SECOND = 1e6;
const STEPS = [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14400, 21600, 43200, 86400]
  .map((seconds) => seconds * SECOND);

// The microseconds between two ticks that are at least so many apart.
function tickStep(least) {
  if (least > STEPS.at(-1)) return Math.ceil(least / STEPS.at(-1)) * STEPS.at(-1);
  if (least >= SECOND) return STEPS.find((step) => step >= least);
  const power = 10 ** Math.floor(Math.log10(Math.max(least, 1)));
  return [1, 2, 5, 10].map((factor) => factor * power).find((step) => step >= least);
}

const two = (number) => String(number).padStart(2, "0");

// "12.5 s", or "1:02:03" from a minute on; so many digits as the step needs.
function timeText(time, step = 1000) {
  const digits = Math.min(Math.max(Math.ceil(6 - Math.log10(step) - 1e-9), 0), 6);
  const perSecond = 10 ** digits;
  const units = Math.round(time / 10 ** (6 - digits));
  const seconds = Math.floor(units / perSecond);
  const fraction = digits ? `.${String(units % perSecond).padStart(digits, "0")}` : "";
  if (seconds < 60) return `${seconds}${fraction} s`;
  const minutes = Math.floor(seconds / 60);
  const rest = `${two(seconds % 60)}${fraction}`;
  return minutes < 60 ? `${minutes}:${rest}` : `${Math.floor(minutes / 60)}:${two(minutes % 60)}:${rest}`;
}

// A piece of the run on so many pixels.
function makeScale(from, to, width) {
  const perPixel = (to - from) / width;
  return {
    from, to, width, perPixel,
    x: (time) => (time - from) / perPixel,
    time: (x) => from + x * perPixel,
  };
}

function ticksOf(scale) {
  const step = tickStep(scale.perPixel * 90);
  const ticks = [];
  for (let time = Math.ceil(scale.from / step) * step; time <= scale.to; time += step) ticks.push(time);
  return { step, ticks };
}

function drawAxis({ context, paints }, scale) {
  const { step, ticks } = ticksOf(scale);
  context.fillStyle = paints.ground;
  context.fillRect(0, 0, scale.width, AXIS_HEIGHT);
  context.font = "12px system-ui, 'DejaVu Sans', sans-serif";
  context.fillStyle = paints.faint;
  context.textAlign = "left";
  context.textBaseline = "middle";
  for (const time of ticks) {
    context.fillRect(Math.round(scale.x(time)), AXIS_HEIGHT - 7, 1, 7);
    context.fillText(timeText(time, step), scale.x(time) + 4, AXIS_HEIGHT / 2);
  }
  context.fillRect(0, AXIS_HEIGHT - 1, scale.width, 1);
}

function drawGrid({ context, paints }, scale, top, height) {
  context.fillStyle = paints.line;
  for (const time of ticksOf(scale).ticks) context.fillRect(Math.round(scale.x(time)), top, 1, height);
}

// ---- Rows ---------------------------------------------------------------------------------------

// The first of a sorted list that is not before; spans are looked for by their ends.
function lowerBound(list, time, key) {
  let low = 0;
  let high = list.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (list[middle][key] < time) low = middle + 1;
    else high = middle;
  }
  return low;
}

// Calls each with what is to be drawn of bars or entries. What ends within the pixel in which it begins
// stands for all that do.
function eachSpan(spans, scale, each) {
  let index = lowerBound(spans, scale.from, "end");
  while (index < spans.length && spans[index].start <= scale.to) {
    const span = spans[index];
    const left = Math.max(scale.x(span.start), -2);
    const right = Math.min(scale.x(span.end), scale.width + 2);
    each(span, left, Math.max(right - left, 1));
    const next = right - left < 1 ? lowerBound(spans, span.start + scale.perPixel, "end") : 0;
    index = Math.max(index + 1, next);
  }
}

// Likewise with marks of one sign.
function eachMark(marks, scale, each) {
  const margin = 10 * scale.perPixel;
  let index = lowerBound(marks, scale.from - margin, "start");
  while (index < marks.length && marks[index].start <= scale.to + margin) {
    each(marks[index], scale.x(marks[index].start));
    const next = lowerBound(marks, marks[index].start + LEAST_GAP * scale.perPixel, "start");
    index = Math.max(index + 1, next);
  }
}

const filterText = ({ filter, sources }) => {
  if (filter === undefined) return "began before this page";
  if (filter === "exclude") return sources.length ? `all but ${sources.join(", ")}` : "all sources";
  return `only ${sources.join(", ")}`;
};

function textsOf(bar) {
  const version = bar.version === "unknown" ? "?" : bar.version;
  const short = version.replace(/^[A-Z]+/, "");
  const waits = bar.isWaiting ? ", last members asked" : "";
  return [`${version}${waits} · ${filterText(bar)}`, `${version}${waits}`, version, short];
}

function drawBarText({ context, paints }, bar, left, width, y) {
  const text = textsOf(bar).find((each) => context.measureText(each).width < width - 12);
  if (!text) return;
  context.fillStyle = paints[bar.isWaiting ? "ink" : `on-${bar.version}`];
  // Stripes must not run through the letters.
  if (STRIPES[bar.version] && !bar.isWaiting) {
    context.strokeStyle = paints[bar.version];
    context.lineWidth = 3;
    context.lineJoin = "round";
    context.strokeText(text, left + 7, y);
  }
  context.fillText(text, left + 7, y);
}

// While the last members are asked the bar is an outline on a tinted ground.
function drawBar(brush, bar, left, width, top) {
  const { context, paints, fills } = brush;
  context.fillStyle = fills[bar.version];
  context.globalAlpha = bar.isWaiting ? 0.3 : 1;
  context.fillRect(left, top, width, BAR.height);
  context.globalAlpha = 1;
  if (bar.isWaiting && width > 3) {
    context.strokeStyle = paints[bar.version];
    context.lineWidth = 1.5;
    context.strokeRect(left + 0.75, top + 0.75, width - 1.5, BAR.height - 1.5);
  } else if (width > 3) {
    context.fillStyle = paints.ground;
    context.fillRect(left + width - 1, top, 1, BAR.height);
  }
  if (width > 24) drawBarText(brush, bar, Math.max(left, 0), width + Math.min(left, 0), top + 8.5);
}

// One that the switch did not take is a broken line.
function drawEntry({ context, paints }, entry, left, width, top) {
  context.fillStyle = paints[entry.isDone ? "entry" : "alarm"];
  if (entry.isDone) {
    context.fillRect(left, top, width, ENTRY.height);
    return;
  }
  for (let x = 0; x < width; x += 8) context.fillRect(left + x, top, Math.min(4, width - x), ENTRY.height);
}

const SIGN_ORDER = Object.keys(SIGNS);

// Marks by their sign, in the order in which they are drawn: made once for a row.
function marksBySign(row) {
  if (!row.bySign) {
    row.bySign = new Map(SIGN_ORDER.map((sign) => [sign, []]));
    for (const mark of row.marks) row.bySign.get(mark.sign).push(mark);
  }
  return row.bySign;
}

function drawRow(brush, row, scale, top) {
  const { context, paints } = brush;
  if (row.kind !== "group") {
    context.fillStyle = paints.band;
    context.fillRect(0, top, scale.width, ROW_HEIGHT);
  }
  context.fillStyle = paints.line;
  context.fillRect(0, top + ROW_HEIGHT - 1, scale.width, 1);
  drawGrid(brush, scale, top, ROW_HEIGHT);
  context.font = "11.5px system-ui, 'DejaVu Sans', sans-serif";
  context.textBaseline = "middle";
  eachSpan(row.entries, scale, (entry, left, width) => drawEntry(brush, entry, left, width, top + ENTRY.top));
  eachSpan(row.bars, scale, (bar, left, width) => drawBar(brush, bar, left, width, top + BAR.top));
  for (const [sign, marks] of marksBySign(row)) {
    eachMark(marks, scale, (mark, x) => drawSign(brush, sign, x, top + SIGNS[sign].at));
  }
}

// A command concerns all rows.
function drawCommandLines({ context, paints }, node, scale, top, bottom) {
  context.strokeStyle = paints.command;
  context.globalAlpha = 0.55;
  context.lineWidth = 1;
  context.setLineDash([3, 4]);
  context.beginPath();
  eachMark(node.marks, scale, (mark, x) => {
    context.moveTo(Math.round(x) + 0.5, top);
    context.lineTo(Math.round(x) + 0.5, bottom);
  });
  context.stroke();
  context.setLineDash([]);
  context.globalAlpha = 1;
}
