// What is said of a bar, an entry or a mark: a title, terms with their values, and the bytes of the
// frame that it comes from.

const clockText = (model, time) => {
  const us = model.origin + time + (model.begin.wall_offset_us ?? 0);
  return `${new Date(us / 1000).toISOString().slice(11, 23)} UTC`;
};

const momentText = (model, time) => `${timeText(time)} (${clockText(model, time)})`;

const frameText = (event) =>
  event.frame ? `frame ${event.frame} of ${event.capture ?? event.interface}` : null;

const placeText = ({ port, vlan }) =>
  port === undefined ? null : portName(port) + (vlan === undefined ? "" : `, VLAN ${vlan}`);

const listText = (list) => (list?.length ? list.join(", ") : null);

// "to_exclude 239.1.1.1 {192.0.2.1}", as the message had it.
const saidText = ({ group, record, sources }) =>
  [record?.replace("_", " "), group, sources.length || record ? `{${sources.join(", ")}}` : null]
    .filter(Boolean).join(" ");

// ---- Events -------------------------------------------------------------------------------------

const TITLES = {
  left: (event) => `Membership over: ${event.reason}`,
  refused: (event) => `${event.is_join ? "Join" : "Record"} ${event.is_partly ? "partly " : ""}refused: ${event.reason}`,
  dropped: (event) => `Message dropped: ${event.reason}`,
  received: (event) => `${event.kind} received${event.query ? `, ${event.query}` : ""}`,
  sent: (event) => `${event.kind} sent`,
  entry_set: (event) => (event.is_done ? "Entry set in the switch" : "The switch refused the entry"),
  entry_removed: (event) => (event.is_done ? "Entry removed" : "The entry could not be removed"),
  router_found: () => "Router found",
  router_lost: (event) => `Router lost: ${event.reason}`,
  link_up: () => "Link up",
  link_down: () => "Link down",
  command: (event) => `Command: ${event.words || `code ${event.code}`}`,
  joined: () => "Joined",
  changed: () => "Changed",
};

const titleOf = (event) => (TITLES[event.event] ?? (() => event.event))(event);

function eventTerms(event) {
  return [
    ["where", placeText(event)],
    ["group", event.group],
    ["says", event.groups?.map(saidText).join("; ")],
    ["router", event.router && `${event.router}, known by its ${event.known_by}`],
    ["from", event.sender ?? event.reporter],
    ["answer within", event.max_response_us && timeText(event.max_response_us)],
    ["code", event.words && event.code],
    ["frame", frameText(event)],
  ];
}

function hexDump(digits) {
  const bytes = digits.match(/../g) ?? [];
  const lines = [];
  for (let at = 0; at < bytes.length; at += 16) {
    lines.push(`${at.toString(16).padStart(4, "0")}  ${bytes.slice(at, at + 16).join(" ")}`);
  }
  return lines.join("\n");
}

function bytesOf(model, event) {
  const frame = event.beginning === undefined ? model.frames.get(frameKey(event)) : event;
  if (!frame) return null;
  const shown = frame.beginning.length / 2;
  const cut = shown < frame.frame_bytes ? `\n… ${frame.frame_bytes - shown} more bytes` : "";
  return hexDump(frame.beginning) + cut;
}

// ---- What can be pointed at ---------------------------------------------------------------------

function endText({ over }) {
  if (!over) return "no, it was there to the end";
  if (over.event !== "changed") return titleOf(over);
  return over.reporters.length ? "it changed" : "its last host left, and others were asked";
}

const spanTerms = (model, span) => [
  ["from", momentText(model, span.begin.time_us < model.origin ? span.begin.time_us - model.origin : span.start)],
  ["to", momentText(model, span.end)],
  ["length", timeText(span.end - span.start)],
  ["began with", frameText(span.begin)],
  ["ended", endText(span)],
  ["ended with", span.over && frameText(span.over)],
];

function describeBar(model, row, bar) {
  const name = bar.version === "unknown" ? "Membership" : bar.version;
  return {
    title: `${name}, ${filterText(bar)}`,
    terms: [["group", row.group], ["where", placeText(row)],
            ["reporters", bar.isWaiting ? "none: the last members are asked" : listText(bar.reporters)],
            ...spanTerms(model, bar)],
    bytes: bytesOf(model, bar.begin),
  };
}

function describeEntry(model, row, entry) {
  return {
    title: entry.isDone ? "Entry in the switch" : "The switch refused the entry",
    terms: [["group", row.group], ["where", placeText(row)], ...spanTerms(model, entry)],
    bytes: null,
  };
}

// Marks that fall together are counted, and the first is told.
function describeMarks(model, marks) {
  const { event, start } = marks[0];
  const others = marks.length > 1 ? [["here, too", countSigns(marks.slice(1))]] : [];
  return {
    title: titleOf(event),
    terms: [["at", momentText(model, start)], ...eventTerms(event), ...others],
    bytes: bytesOf(model, event),
  };
}

function countSigns(marks) {
  const counts = new Map();
  for (const { sign } of marks) counts.set(SIGNS[sign].name, (counts.get(SIGNS[sign].name) ?? 0) + 1);
  return [...counts].map(([name, count]) => `${count} ${name}`).join(", ");
}

function describe(model, row, found) {
  if (found.marks) return describeMarks(model, found.marks);
  return found.isEntry ? describeEntry(model, row, found.span) : describeBar(model, row, found.span);
}
