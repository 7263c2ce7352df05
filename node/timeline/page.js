// The page: what of the run is shown, what is pointed at, and what the controls do.

const element = (id) => document.getElementById(id);

const model = buildModel(JSON.parse(element("events").textContent));
const LEAST_SPAN = 100;  // microseconds; no two events need more room between them
const MARGIN = 0.015;    // of the whole range, on either side

const canvas = element("canvas");
const chart = element("chart");

// What is seen: the rows that pass the filter, and a piece of time.
const view = { rows: model.rows, from: 0, to: 1, cursor: null, chosen: null, selection: null };
let brush = null;

// ---- Making things ------------------------------------------------------------------------------

function make(tag, text = "", className = "") {
  const made = document.createElement(tag);
  made.textContent = text;
  if (className) made.className = className;
  return made;
}

function sizeCanvas(target, width, height) {
  const ratio = window.devicePixelRatio || 1;
  target.width = Math.round(width * ratio);
  target.height = Math.round(height * ratio);
  target.style.width = `${width}px`;
  target.style.height = `${height}px`;
  const context = target.getContext("2d");
  context.setTransform(ratio, 0, 0, ratio, 0, 0);
  return context;
}

// ---- Drawing ------------------------------------------------------------------------------------

const width = () => canvas.clientWidth;
const scale = () => makeScale(view.from, view.to, width());

let isDue = false;
function redraw() {
  if (isDue) return;
  isDue = true;
  requestAnimationFrame(() => {
    isDue = false;
    draw();
  });
}

const firstSeen = () => Math.max(Math.floor(chart.scrollTop / ROW_HEIGHT), 0);

function draw() {
  const now = scale();
  const height = canvas.clientHeight;
  brush.context.fillStyle = brush.paints.ground;
  brush.context.fillRect(0, 0, now.width, height);
  let top = AXIS_HEIGHT + firstSeen() * ROW_HEIGHT - chart.scrollTop;
  let index = firstSeen();
  for (; index < view.rows.length && top < height; index += 1, top += ROW_HEIGHT) {
    drawRow(brush, view.rows[index], now, top);
  }
  drawCommandLines(brush, model.rows[0], now, AXIS_HEIGHT, Math.min(top, height));
  drawAxis(brush, now);
  drawCursor(now, height);
  placeRing(now);
}

function drawCursor(now, height) {
  const { context, paints } = brush;
  if (view.selection) {
    const [left, right] = view.selection.map(now.x).sort((a, b) => a - b);
    context.fillStyle = paints.query;
    context.globalAlpha = 0.2;
    context.fillRect(left, 0, right - left, height);
    context.globalAlpha = 1;
  }
  if (view.cursor === null) return;
  context.fillStyle = paints.faint;
  context.globalAlpha = 0.5;
  context.fillRect(Math.round(view.cursor), 0, 1, height);
  context.globalAlpha = 1;
}

function layOut() {
  element("space").style.height = `${AXIS_HEIGHT + view.rows.length * ROW_HEIGHT}px`;
  const labels = element("labels").offsetWidth;
  const context = sizeCanvas(canvas, chart.clientWidth - labels, chart.clientHeight);
  brush = makeBrush(context, readPaints());
  showLabels();
  redraw();
}

// Only of the rows that can be seen.
function showLabels() {
  const first = firstSeen();
  const count = Math.ceil(chart.clientHeight / ROW_HEIGHT) + 1;
  const labels = view.rows.slice(first, first + count).map((row, index) => labelOf(row, first + index));
  element("labels").replaceChildren(...labels);
}

function labelOf(row, index) {
  const label = make("div", "", `label ${row.kind}`);
  label.style.top = `${AXIS_HEIGHT + index * ROW_HEIGHT}px`;
  if (view.chosen?.row === row) label.classList.add("chosen");
  if (row.kind === "group") {
    label.append(make("span", row.group, "group"), make("span", `VLAN ${row.vlan}`, "vlan"));
    label.title = `${portName(row.port)}, VLAN ${row.vlan}, ${row.group}`;
  } else {
    label.textContent = row.kind === "node" ? "Node" : portName(row.port);
  }
  return label;
}

// ---- Time that is shown -------------------------------------------------------------------------

function show(from, to) {
  const most = model.length * (1 + 2 * MARGIN);
  const span = Math.min(Math.max(to - from, LEAST_SPAN), most);
  const least = -model.length * MARGIN;
  view.from = Math.min(Math.max(from, least), least + most - span);
  view.to = view.from + span;
  element("range").textContent =
    `${timeText(Math.max(view.from, 0))} to ${timeText(Math.min(view.to, model.length))}`;
  redraw();
}

const showWhole = () => show(-model.length * MARGIN, model.length * (1 + MARGIN));

function zoom(factor, x = width() / 2) {
  const now = scale();
  const kept = now.time(x);
  show(kept - (kept - view.from) * factor, kept + (view.to - kept) * factor);
}

const move = (pixels) => show(view.from + pixels * scale().perPixel, view.to + pixels * scale().perPixel);
const moveByShare = (share) => move(share * width());

// ---- What is pointed at -------------------------------------------------------------------------

function rowAt(y) {
  const index = Math.floor((y - AXIS_HEIGHT + chart.scrollTop) / ROW_HEIGHT);
  return y < AXIS_HEIGHT ? null : view.rows[index] ?? null;
}

const topOf = (row) => AXIS_HEIGHT + view.rows.indexOf(row) * ROW_HEIGHT;

// Marks before bars, bars before entries: what is drawn on top. The lower part of a row is the entries'.
function find(row, x, y) {
  const now = scale();
  const inRow = y + chart.scrollTop - topOf(row);
  const reach = LEAST_GAP * now.perPixel;
  const isNear = (mark) => Math.abs(SIGNS[mark.sign].at - inRow) < 9;
  const marks = between(row.marks, now.time(x) - reach, now.time(x) + reach).filter(isNear);
  if (marks.length) return { row, marks };
  const isEntry = inRow >= ENTRY.top - 2;
  const span = spanAt(isEntry ? row.entries : row.bars, now.time(x), now.perPixel);
  return span && { row, span, isEntry };
}

function between(marks, from, to) {
  const found = [];
  for (let i = lowerBound(marks, from, "start"); i < marks.length && marks[i].start <= to; i += 1) {
    found.push(marks[i]);
  }
  return found;
}

function spanAt(spans, time, reach) {
  const span = spans[lowerBound(spans, time - reach, "end")];
  return span && span.start <= time + reach ? span : null;
}

// Where it is on the canvas, in pixels of the chart's content.
function boxOf(found, now) {
  const top = topOf(found.row);
  if (found.marks) {
    const { sign, start } = found.marks[0];
    return { left: now.x(start) - 8, top: top + SIGNS[sign].at - 8, width: 16, height: 16 };
  }
  const { start, end } = found.span;
  const left = Math.max(now.x(start), 0);
  const lane = found.isEntry ? ENTRY : BAR;
  return { left, top: top + lane.top, width: Math.max(Math.min(now.x(end), now.width) - left, 2), height: lane.height };
}

// ---- The tip ------------------------------------------------------------------------------------

function fillTip({ title, terms, bytes }) {
  const list = make("dl");
  for (const [term, value] of terms) {
    if (value === null || value === undefined || value === "") continue;
    list.append(make("dt", term), make("dd", String(value)));
  }
  element("tip").replaceChildren(make("h2", title), list, ...(bytes ? [make("pre", bytes)] : []));
}

function showTip(found, x, y) {
  const tip = element("tip");
  tip.hidden = !found;
  if (!found) return;
  fillTip(describe(model, found.row, found));
  const { offsetWidth, offsetHeight } = tip;
  const isRight = x + 16 + offsetWidth < window.innerWidth;
  tip.style.left = `${isRight ? x + 16 : Math.max(x - 16 - offsetWidth, 4)}px`;
  tip.style.top = `${Math.max(Math.min(y + 14, window.innerHeight - offsetHeight - 4), 4)}px`;
}

// ---- The keyboard's place -----------------------------------------------------------------------

// All that a row has, in the order of time.
function itemsOf(row) {
  row.items ??= [
    ...row.bars.map((span) => ({ row, span, isEntry: false, at: span.start })),
    ...row.entries.map((span) => ({ row, span, isEntry: true, at: span.start })),
    ...row.marks.map((mark) => ({ row, marks: [mark], at: mark.start })),
  ].sort((a, b) => a.at - b.at);
  return row.items;
}

function choose(row, index) {
  const items = itemsOf(row);
  const at = Math.min(Math.max(index, 0), items.length - 1);
  view.chosen = { row, at, item: items[at] ?? null };
  bringIntoView(view.chosen);
  showLabels();
  draw();
  tipAtRing();
}

function bringIntoView({ row, item }) {
  const top = topOf(row) - AXIS_HEIGHT;
  const most = chart.clientHeight - AXIS_HEIGHT - ROW_HEIGHT;
  chart.scrollTop = Math.min(Math.max(chart.scrollTop, top - most), top);
  if (!item || (item.at >= view.from && item.at <= view.to)) return;
  const span = view.to - view.from;
  show(item.at - span / 2, item.at + span / 2);
}

function placeRing(now) {
  const ring = element("ring");
  const item = view.chosen?.item;
  ring.hidden = !item;
  if (!item) return;
  const box = boxOf(item, now);
  ring.style.left = `${box.left + canvas.offsetLeft - 3}px`;
  ring.style.top = `${box.top - 3}px`;
  ring.style.width = `${box.width + 6}px`;
  ring.style.height = `${box.height + 6}px`;
}

function tipAtRing() {
  const box = element("ring").getBoundingClientRect();
  showTip(view.chosen?.item, box.left + Math.min(box.width, 40), box.bottom - 8);
}

function letGo() {
  view.chosen = null;
  showTip(null);
  showLabels();
  redraw();
}

function chooseNextRow(step) {
  const from = view.chosen ? view.rows.indexOf(view.chosen.row) : -1;
  let index = view.chosen ? from + step : 0;
  while (view.rows[index] && !itemsOf(view.rows[index]).length) index += step;
  if (!view.rows[index]) return;
  const near = view.chosen?.item?.at ?? view.from;
  choose(view.rows[index], lowerBound(itemsOf(view.rows[index]), near, "at"));
}

function chooseNextItem(step) {
  if (view.chosen) choose(view.chosen.row, view.chosen.at + step);
  else chooseNextRow(1);
}

const KEYS = {
  "ArrowUp": () => chooseNextRow(-1),
  "ArrowDown": () => chooseNextRow(1),
  "ArrowLeft": () => chooseNextItem(-1),
  "ArrowRight": () => chooseNextItem(1),
  "Shift+ArrowLeft": () => moveByShare(-0.2),
  "Shift+ArrowRight": () => moveByShare(0.2),
  "+": () => zoomAtChosen(0.6),
  "=": () => zoomAtChosen(0.6),
  "-": () => zoomAtChosen(1 / 0.6),
  "0": showWhole,
  "Escape": letGo,
};

const zoomAtChosen = (factor) =>
  zoom(factor, view.chosen?.item ? scale().x(view.chosen.item.at) : undefined);

function onKey(event) {
  if (event.ctrlKey || event.altKey || event.metaKey) return;
  const isShifted = event.shiftKey && event.key.startsWith("Arrow");
  const action = KEYS[isShifted ? `Shift+${event.key}` : event.key];
  if (!action) return;
  event.preventDefault();
  action();
}

// ---- The pointer --------------------------------------------------------------------------------

let drag = null;

function onDown(event) {
  if (event.button !== 0) return;
  canvas.setPointerCapture(event.pointerId);
  drag = { x: event.offsetX, y: event.offsetY, isSelection: event.shiftKey };
  if (drag.isSelection) view.selection = [scale().time(drag.x), scale().time(drag.x)];
  canvas.classList.toggle("dragged", !drag.isSelection);
  showTip(null);
}

function onMove(event) {
  view.cursor = event.offsetX;
  if (drag) onDrag(event);
  else point(event);
  redraw();
}

function onDrag({ offsetX, offsetY }) {
  if (drag.isSelection) {
    view.selection[1] = scale().time(offsetX);
    return;
  }
  move(drag.x - offsetX);
  chart.scrollTop += drag.y - offsetY;
  Object.assign(drag, { x: offsetX, y: offsetY });
}

function point({ offsetX, offsetY, clientX, clientY }) {
  const row = rowAt(offsetY);
  showTip(row && find(row, offsetX, offsetY), clientX, clientY);
}

function onUp() {
  const selection = view.selection?.toSorted((a, b) => a - b);
  view.selection = null;
  if (selection && selection[1] - selection[0] > 3 * scale().perPixel) show(...selection);
  drag = null;
  canvas.classList.remove("dragged");
  redraw();
}

function onWheel(event) {
  event.preventDefault();
  if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) move(event.deltaX || event.deltaY);
  else zoom(1.0018 ** event.deltaY, event.offsetX);
}

function onLeave() {
  view.cursor = null;
  showTip(null);
  redraw();
}

// ---- The filter ---------------------------------------------------------------------------------

const wanted = () => ({
  port: element("port").value, vlan: element("vlan").value, group: element("group").value.trim().toLowerCase(),
});

const isWanted = (row, { port, vlan, group }) =>
  (port === "" || row.port === Number(port)) && (vlan === "" || row.vlan === Number(vlan)) &&
  row.group.includes(group);

// The rows of the node and of ports stay as headings of what is left.
function filter() {
  const terms = wanted();
  const groups = new Set(model.rows.filter((row) => row.kind === "group" && isWanted(row, terms)));
  const ports = new Set([...groups].map((row) => row.port));
  const isPortShown = (row) =>
    ports.has(row.port) || (terms.vlan === "" && terms.group === "" && (terms.port === "" || row.port === Number(terms.port)));
  view.rows = model.rows.filter((row) =>
    row.kind === "node" || (row.kind === "port" ? isPortShown(row) : groups.has(row)));
  element("nothing").hidden = view.rows.length > 1;
  letGo();
  showTotals();
  layOut();
}

function fillChoices(select, name, values, text) {
  const all = make("option", name);
  all.value = "";
  const options = [...new Set(values)].sort((a, b) => a - b).map((value) => {
    const option = make("option", text(value));
    option.value = value;
    return option;
  });
  select.replaceChildren(all, ...options);
}

// ---- Totals and legend --------------------------------------------------------------------------

function totalsOf(rows) {
  const groups = rows.filter((row) => row.kind === "group");
  const versions = new Map(VERSIONS.map((version) => [version, 0]));
  let refused = 0;
  for (const row of groups) {
    for (const bar of row.bars) versions.set(bar.version, versions.get(bar.version) + 1);
    refused += row.marks.filter((mark) => mark.sign === "refused").length;
  }
  return { groups: groups.length, versions, refused };
}

function total(name, value, key = name) {
  const item = make("li", `${name} `);
  item.dataset.total = key;
  item.append(make("b", value));
  return item;
}

function showTotals() {
  const all = totalsOf(model.rows);
  const { groups, versions, refused } = totalsOf(view.rows);
  const bars = [...versions].filter(([version]) => all.versions.get(version))
    .map(([version, count]) => total(version === "unknown" ? "of unknown version" : version, String(count), version));
  element("totals").replaceChildren(
    total("groups on a port", groups === all.groups ? String(groups) : `${groups} of ${all.groups}`, "rows"),
    total("bars", String([...versions.values()].reduce((sum, count) => sum + count, 0)), "bars"),
    ...bars, total("joins refused", String(refused), "refused"), total("events", String(model.count), "events"));
}

function signCanvas(text, wide, paint) {
  const sign = make("span", "", "sign");
  const small = make("canvas");
  const context = sizeCanvas(small, wide, 18);
  paint(makeBrush(context, readPaints()));
  sign.append(small, text);
  return sign;
}

function versionSigns() {
  const seen = new Set(model.rows.flatMap((row) => row.bars.map((bar) => bar.version)));
  return VERSIONS.filter((version) => seen.has(version)).map((version) =>
    signCanvas(version === "unknown" ? "unknown version" : version, 26, ({ context, fills }) => {
      context.fillStyle = fills[version];
      context.fillRect(0, 2, 26, 14);
    }));
}

function laneSigns() {
  const version = VERSIONS[2];
  return [
    signCanvas("last members asked", 26, (small) => drawBar(small, { version, isWaiting: true }, 1, 24, 1)),
    signCanvas("entry in the switch", 26, (small) => drawEntry(small, { isDone: true }, 0, 26, 7)),
    signCanvas("refused by the switch", 26, (small) => drawEntry(small, { isDone: false }, 0, 26, 7)),
  ];
}

// Signs that the run does not have are left out.
function showLegend() {
  const seen = new Set(model.rows.flatMap((row) => row.marks.map((mark) => mark.sign)));
  const marks = SIGN_ORDER.filter((sign) => seen.has(sign)).map((sign) =>
    signCanvas(SIGNS[sign].name, 20, (small) => drawSign(small, sign, 9, 9)));
  element("legend").replaceChildren(...versionSigns(), ...laneSigns(), ...marks);
}

function showRun() {
  const at = new Date((model.origin + (model.begin.wall_offset_us ?? 0)) / 1000);
  const day = at.toISOString().replace("T", " ").slice(0, 19);
  const cut = model.forgotten
    ? ` The first ${model.forgotten} events of the run were forgotten before: this page begins later than the run.` : "";
  element("run").textContent =
    `A ${model.begin.run === "live" ? "live run" : "replay"}, from ${day} UTC, ${timeText(model.length)} long.${cut}`;
}

// ---- Paper --------------------------------------------------------------------------------------

const PAPER = { width: 1080, labels: 270, firstRows: 14, rows: 18, most: 400 };

// A figure holds as many rows as go on a page, and has an axis of its own.
function figureOf(rows, isLast) {
  const figure = make("figure");
  const sheet = make("canvas");
  const context = sizeCanvas(sheet, PAPER.width, AXIS_HEIGHT + rows.length * ROW_HEIGHT);
  const paperBrush = makeBrush(context, readPaints());
  const whole = makeScale(-model.length * MARGIN, model.length * (1 + MARGIN), PAPER.width - PAPER.labels);
  rows.forEach((row, index) => drawPaperLabel(paperBrush, row, AXIS_HEIGHT + index * ROW_HEIGHT));
  clipToChart(context, sheet);
  rows.forEach((row, index) => drawRow(paperBrush, row, whole, AXIS_HEIGHT + index * ROW_HEIGHT));
  drawCommandLines(paperBrush, model.rows[0], whole, AXIS_HEIGHT, sheet.height);
  drawAxis(paperBrush, whole);
  figure.append(sheet);
  if (isLast && view.rows.length > PAPER.most) {
    figure.append(make("figcaption", `The first ${PAPER.most} of ${view.rows.length} rows.`));
  }
  return figure;
}

function clipToChart(context, sheet) {
  context.translate(PAPER.labels, 0);
  context.beginPath();
  context.rect(0, 0, PAPER.width - PAPER.labels, sheet.height);
  context.clip();
}

function drawPaperLabel({ context, paints }, row, top) {
  const isGroup = row.kind === "group";
  context.fillStyle = paints[isGroup ? "ground" : "band"];
  context.fillRect(0, top, PAPER.labels, ROW_HEIGHT);
  context.fillStyle = paints.line;
  context.fillRect(0, top + ROW_HEIGHT - 1, PAPER.labels, 1);
  context.fillStyle = paints.ink;
  context.font = `${isGroup ? "" : "bold "}12.5px system-ui, 'DejaVu Sans', sans-serif`;
  context.textBaseline = "middle";
  const text = isGroup ? row.group : row.kind === "node" ? "Node" : portName(row.port);
  const room = PAPER.labels - 144;
  context.fillText(text, isGroup ? 16 : 4, top + ROW_HEIGHT / 2, room);
  if (!isGroup) return;
  context.fillStyle = paints.faint;
  context.textAlign = "right";
  context.fillText(`${portName(row.port)}, VLAN ${row.vlan}`, PAPER.labels - 8, top + ROW_HEIGHT / 2);
  context.textAlign = "left";
}

// The whole range of the rows that are shown, in the colours of the light.
function toPaper() {
  document.documentElement.classList.add("on-paper");
  const figures = [];
  const rows = view.rows.slice(0, PAPER.most);
  while (rows.length) {
    const some = rows.splice(0, figures.length ? PAPER.rows : PAPER.firstRows);  // under the heading
    figures.push(figureOf(some, rows.length === 0));
  }
  element("paper").replaceChildren(...figures);
  showLegend();
}

function fromPaper() {
  document.documentElement.classList.remove("on-paper");
  element("paper").replaceChildren();
  showLegend();
}

// ---- Beginning ----------------------------------------------------------------------------------

function listen() {
  canvas.addEventListener("pointerdown", onDown);
  canvas.addEventListener("pointermove", onMove);
  canvas.addEventListener("pointerup", onUp);
  canvas.addEventListener("pointercancel", onUp);
  canvas.addEventListener("pointerleave", onLeave);
  canvas.addEventListener("wheel", onWheel, { passive: false });
  canvas.addEventListener("keydown", onKey);
  canvas.addEventListener("blur", letGo);
  chart.addEventListener("scroll", () => { showLabels(); redraw(); });
  element("controls").addEventListener("input", filter);
  element("controls").addEventListener("submit", (event) => event.preventDefault());
  const onClick = { in: () => zoom(0.6), out: () => zoom(1 / 0.6), whole: showWhole,
                    earlier: () => moveByShare(-0.4), later: () => moveByShare(0.4) };
  for (const [id, action] of Object.entries(onClick)) element(id).addEventListener("click", action);
  new ResizeObserver(layOut).observe(chart);
  window.addEventListener("beforeprint", toPaper);
  window.addEventListener("afterprint", fromPaper);
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => { showLegend(); layOut(); });
}

const groupRows = model.rows.filter((row) => row.kind === "group");
const portRows = model.rows.filter((row) => row.kind === "port");
fillChoices(element("port"), "all", portRows.map((row) => row.port), portName);
fillChoices(element("vlan"), "all", groupRows.map((row) => row.vlan), String);
showRun();
showLegend();
listen();
filter();
showWhole();
