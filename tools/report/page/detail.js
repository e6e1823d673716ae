// The selected element: where it is, what it uses, what uses it, and all of its members.

/** @param {Reference} reference */
function addressOf({ kind, row }) {
  const name = kinds[kind].rows[row][0];
  const isFirst = name !== null && kinds[kind].byName.get(name) === row;
  return isFirst ? `#${kinds[kind].name}/${encodeURIComponent(name)}` : `#${kinds[kind].name}:${row + 1}`;
}

/** @param {Reference} reference */
function linkTo(reference) {
  return make("a", { href: addressOf(reference) }, nameOf(reference.kind, reference.row));
}

/** @param {string} title @param {...(Node|string)} content */
function block(title, ...content) {
  return [make("h3", {}, title), ...content];
}

/** @param {number} kind @param {Node|string} what */
function linkItem(kind, what) {
  return make("li", {}, make("span", { className: "kind" }, `${kinds[kind].label} `), what);
}

/** The first few of many items at once and the rest when asked for. @param {Node[]} items */
function linkList(items) {
  const FIRST = 40;
  const list = make("ul", {}, ...items.slice(0, FIRST));
  if (items.length > FIRST) {
    const more = make("button", { type: "button", className: "more", Click: () => {
      list.append(...items.slice(FIRST));
      item.remove();
    } }, `${items.length - FIRST} more`);
    const item = make("li", {}, more);
    list.append(item);
  }
  return list;
}

/** @param {number} above */
function besideText(above) {
  if (Math.abs(above) < 0.0005) return "on it";
  return `${readable(Math.abs(above))} ${above < 0 ? "below" : "above"}`;
}

/** What the profiles do at the element's station.
 * @param {Reference} reference */
function profileRows(reference) {
  const station = stationOf(reference);
  if (station === null) return [];
  const elevation = reference.kind === POINT ? memberOf(POINT, reference.row, "real3") : null;
  const items = [];
  for (const line of profileLines) {
    const found = profileAt(line, station);
    if (!found) continue;
    const difference = elevation === null ? "" : `, the point ${besideText(elevation - found.elevation)}`;
    items.push(make("li", {}, linkTo({ kind: PROFILE, row: line.row }),
      ` ${readable(found.elevation)}, grade ${percent(found.grade)}${difference}`));
  }
  if (items.length === 0) return [];
  return block(`Profiles at station ${readable(station)}`, make("ul", {}, ...items));
}

/** @param {Reference} reference */
function memberRows({ kind, row }) {
  const list = make("dl");
  let empty = 0;
  for (const [name, type] of kinds[kind].columns) {
    const value = memberOf(kind, row, name);
    if (name === "name" || value === "") {
      empty += value === "" ? 1 : 0;
      continue;
    }
    const meaning = meaningOf(kind, name);
    const term = make("dt", {}, name);
    if (meaning !== "") term.append(make("span", { className: "meaning" }, ` ${meaning}`));
    list.append(term);
    if (type === "text") list.append(make("dd", {}, visible(value)));
    else if (value === null) list.append(make("dd", { className: "number" }, "\u2013"));
    else list.append(numberCell("dd", value, type === "real"));
  }
  const note = empty > 0 ? [make("p", { className: "meaning" }, `${counted(empty, "empty text")} not shown`)] : [];
  return [...block("Members", list), ...note];
}

const VERTEX_NAMES = ["point", "intersection", "link begin", "link end", "curve begin", "curve end",
  "high point", "low point"];

/** The vertices, a list for each segment.
 * @param {number} row */
function vertexRows(row) {
  const blocks = [];
  let list = make("dl");
  let shown = null;
  for (const [code, station, segment, elevation, back, ahead] of listOf(PROFILE, row)) {
    if (segment !== shown) {
      list = make("dl");
      blocks.push(...block(`Vertices, segment ${segment}`, list));
      shown = segment;
    }
    const add = (/** @type {string} */ name, /** @type {string} */ more, /** @type {number|null} */ value) => {
      const term = make("dt", {}, `${name} `, make("span", { className: "meaning" }, more));
      list.append(term, value === null ? make("dd", {}, "") : numberCell("dd", value, true));
    };
    add(VERTEX_NAMES[code] ?? String(code), station === null ? "" : readable(station), elevation);
    if (back !== 0) add("", "back length", back);
    if (ahead !== 0) add("", "ahead length", ahead);
  }
  return blocks;
}

/** Why an element is not drawn, or not whole. @param {Reference} reference */
function drawingNote({ kind, row }) {
  const note = notDrawn.find((other) => other.kind === kind && other.row === row);
  if (!note) return [];
  const part = drawnPart(kind, row);
  return [make("p", { className: "notice" }, `${part[0].toUpperCase()}${part.slice(1)}: ${note.reason}.`)];
}

/** @param {Reference} reference */
function reasonUnread({ kind, row }) {
  const found = unreadable.find((other) => other.kind === kind && other.row === row);
  return found ? found.reason : "it cannot be read";
}

/** @param {Reference} reference */
function detailOf(reference) {
  const { kind, row } = reference;
  const head = [make("button", { type: "button", className: "close", title: "Close", "aria-label": "Close",
    Click: () => select(null) }, "\u00d7"),
  make("p", { className: "kind" }, kinds[kind].label), make("h2", {}, nameOf(kind, row))];
  if (!wasRead(kinds[kind].rows[row])) {
    return [...head, make("p", { className: "notice" }, `Cannot be read: ${reasonUnread(reference)}.`)];
  }
  const uses = usesOf(kind, row).map((used) => linkItem(used.kind,
    used.reference ? linkTo(used.reference) : visible(used.name)));
  const users = usedBy(kind, row).map((user) => linkItem(user.kind, linkTo(user)));
  return [...head, ...drawingNote(reference),
    ...(users.length > 0 ? block("Used by", linkList(users)) : []),
    ...(uses.length > 0 ? block("Uses", linkList(uses)) : []),
    ...profileRows(reference), ...(kind === PROFILE ? vertexRows(row) : []), ...memberRows(reference)];
}
