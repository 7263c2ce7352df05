// The events of the page as rows: one for the node, one for each port and one for each port, VLAN and
// group. A row has bars, which are memberships, entries, which are those of the switch, and marks, which
// have a moment only. All three are in the order of time; bars of a row do not overlap, nor do entries.
"use strict";

const UPLINK = 29;

// Refused on principle, with nearly every report: no rows of their own.
const EVERYDAY_REFUSALS = new Set(["link-local group", "group is no multicast address"]);

const portName = (port) => (port === UPLINK ? "Uplink" : `Port ${port}`);

// ---- Rows ---------------------------------------------------------------------------------------

function newRow(kind, place) {
  return { kind, ...place, bars: [], entries: [], marks: [], entry: null };
}

class Rows {
  constructor() {
    this.byKey = new Map();
    this.node = this.add("node", {}, "node");
  }

  add(kind, place, key) {
    if (!this.byKey.has(key)) this.byKey.set(key, newRow(kind, place));
    return this.byKey.get(key);
  }

  ofPort({ port }) {
    return this.add("port", { port }, `port ${port}`);
  }

  groupKey({ port, vlan, group }) {
    return `${port} ${vlan} ${group}`;
  }

  ofGroup(event) {
    const { port, vlan, group, protocol } = event;
    this.ofPort(event);
    return this.add("group", { port, vlan, group, protocol }, this.groupKey(event));
  }

  // Of a group that is a membership somewhere in the run, or was refused; else null.
  findGroup(event, group) {
    return this.byKey.get(this.groupKey({ ...event, group })) ?? null;
  }

  sorted() {
    const order = { node: 0, port: 1, group: 2 };
    return [...this.byKey.values()].sort((a, b) =>
      (a.kind === "node") !== (b.kind === "node") ? order[a.kind] - order[b.kind]
        : a.port - b.port || order[a.kind] - order[b.kind] || a.vlan - b.vlan || compareGroups(a, b));
  }
}

// Numbers in addresses by their value: 239.2.0.1 stands before 239.10.0.1.
const collator = new Intl.Collator("en", { numeric: true });
const compareGroups = (a, b) =>
  a.protocol < b.protocol ? -1 : a.protocol > b.protocol ? 1 : collator.compare(a.group, b.group);

// ---- Bars ---------------------------------------------------------------------------------------

const versionOf = (event) => (event.version ? `${event.protocol}v${event.version}` : "unknown");

const shapeOf = (event) => [event.version, event.filter, event.sources, event.reporters?.length === 0].join();

function openBar(row, event, time) {
  const { filter, sources, reporters } = event;
  const bar = {
    start: time, end: null, version: versionOf(event), filter, sources, reporters,
    isWaiting: reporters?.length === 0, shape: shapeOf(event), begin: event, over: null,
  };
  row.bars.push(bar);
  return bar;
}

function closeBar(bar, event, time) {
  bar.end = time;
  bar.over = event;
}

const lastOpen = (spans) => (spans.length && spans.at(-1).end === null ? spans.at(-1) : null);

function takeState(row, event, time) {
  const open = lastOpen(row.bars);
  if (open && open.shape === shapeOf(event)) {
    open.reporters = event.reporters;
    return;
  }
  if (open) closeBar(open, event, time);
  openBar(row, event, time);
}

function takeEnd(row, event, time) {
  const open = lastOpen(row.bars);
  if (open) closeBar(open, event, time);
  addMark(row, endSign(event.reason), event, time);
}

function endSign(reason) {
  if (reason === "aged") return "timeout";
  if (reason === "lost with the link") return "lost";
  if (reason === "taken away" || reason === "forgotten") return "cleared";
  return "left";
}

function takeEntry(row, event, time) {
  const open = lastOpen(row.entries);
  if (open) closeBar(open, event, time);
  if (event.event === "entry_set") {
    row.entries.push({ start: time, end: null, isDone: event.is_done, begin: event, over: null });
  } else if (!event.is_done) {
    addMark(row, "trouble", event, time);
  }
}

// ---- Marks --------------------------------------------------------------------------------------

const addMark = (row, sign, event, time) => row.marks.push({ sign, event, start: time, end: time });

const isLeaveMessage = (event) => /leave|done/.test(event.kind);
const leavesIn = (said) => said.record === "to_include" && said.sources.length === 0;

function messageSign(event, said) {
  const isSent = event.event === "sent";
  if (event.query) return isSent ? "asked" : "heard-query";
  if (isSent) return "told";
  return isLeaveMessage(event) || (said && leavesIn(said)) ? "leave" : "report";
}

// On the row of each group that it names, and for those that have none on that of the port.
function takeMessage(rows, event, time) {
  let isOnPort = event.groups.length === 0;
  for (const said of event.groups) {
    const row = rows.findGroup(event, said.group);
    if (row) addMark(row, messageSign(event, said), event, time);
    else isOnPort = true;
  }
  if (isOnPort) addMark(rows.ofPort(event), messageSign(event, event.groups[0]), event, time);
}

function takeRefusal(rows, event, time) {
  const isEveryday = EVERYDAY_REFUSALS.has(event.reason);
  const row = rows.findGroup(event, event.group) ?? rows.ofPort(event);
  addMark(row, isEveryday ? "passed-over" : "refused", event, time);
}

const takers = {
  joined: (rows, event, time) => takeState(rows.ofGroup(event), event, time),
  changed: (rows, event, time) => takeState(rows.ofGroup(event), event, time),
  left: (rows, event, time) => takeEnd(rows.ofGroup(event), event, time),
  entry_set: (rows, event, time) => takeEntry(rows.ofGroup(event), event, time),
  entry_removed: (rows, event, time) => takeEntry(rows.ofGroup(event), event, time),
  received: takeMessage,
  sent: takeMessage,
  refused: takeRefusal,
  dropped: (rows, event, time) => addMark(rows.ofPort(event), "refused", event, time),
  router_found: (rows, event, time) => addMark(rows.ofPort(event), "router", event, time),
  router_lost: (rows, event, time) => addMark(rows.ofPort(event), "router-lost", event, time),
  link_up: (rows, event, time) => addMark(rows.ofPort(event), "link-up", event, time),
  link_down: (rows, event, time) => addMark(rows.ofPort(event), "link-down", event, time),
  command: (rows, event, time) => addMark(rows.node, "command", event, time),
};

// ---- All ----------------------------------------------------------------------------------------

const hasOwnRow = (event) =>
  event.group !== undefined && !(event.event === "refused" && EVERYDAY_REFUSALS.has(event.reason));

const frameKey = (event) => (event.frame ? `${event.capture ?? event.interface} ${event.frame}` : "");

// The frames by what other events call them.
function indexFrames(events) {
  const frames = new Map();
  for (const event of events) {
    if (event.beginning !== undefined) frames.set(frameKey(event), event);
  }
  return frames;
}

function closeAll(rows, end) {
  for (const row of rows) {
    for (const span of [...row.bars, ...row.entries]) {
      if (span.end === null) span.end = end;
    }
  }
}

// Times of the model are in microseconds since the beginning of the page.
function buildModel({ events, standing, forgotten, now_us: now }) {
  const first = forgotten ? events[1 + standing] : events[0];
  const origin = first.time_us;
  const rows = new Rows();
  for (const event of events) {
    if (hasOwnRow(event)) rows.ofGroup(event);
  }
  for (const event of events) {
    takers[event.event]?.(rows, event, Math.max(event.time_us - origin, 0));
  }
  const length = Math.max(now - origin, 1);
  const all = rows.sorted();
  closeAll(all, length);
  return { rows: all, origin, length, begin: events[0], forgotten, count: events.length,
           frames: indexFrames(events) };
}
