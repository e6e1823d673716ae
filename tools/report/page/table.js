// The tables: one kind at a time, with all of its members. Only the rows that are seen are in the
// page.

const ROW_HEIGHT = 28; // as the style has it

let shownKind = POINT;
/** @type {number[]} */
let shownRows = [];
/** @type {{column: number, isUp: boolean}} */
let order = { column: -1, isUp: true };

/** A column: of the members, or the name, which is column 0 of a row.
 * @typedef {{index: number, name: string, type: string, meaning: string}} Column */

/** @param {number} kind @returns {Column[]} */
function columnsOf(kind) {
  /** @type {Column[]} */
  const columns = [{ index: 0, name: "name", type: "text", meaning: "" }];
  kinds[kind].columns.forEach(([name, type], at) => {
    if (name !== "name") columns.push({ index: at + 1, name, type, meaning: meaningOf(kind, name) });
  });
  return columns;
}

/** @param {any} value @param {string} type */
function shownText(value, type) {
  if (value === null || value === undefined) return "";
  return type === "text" ? visible(value) : readable(value, type === "real" ? 3 : 0);
}

/** Widths in characters, by the heads and some of the rows.
 * @param {number} kind @param {Column[]} columns */
function widthsOf(kind, columns) {
  const { rows } = kinds[kind];
  const stride = Math.max(1, Math.floor(rows.length / 300));
  return columns.map(({ index, name, type, meaning }) => {
    let width = Math.max(name.length, meaning.length * 0.85) + 2;
    for (let at = 0; at < rows.length; at += stride) {
      width = Math.max(width, shownText(rows[at][index], type).length);
    }
    return Math.min(width, 34) + 2;
  });
}

/** @param {string} text @param {number} kind */
function rowsWith(text, kind) {
  const sought = text.toLowerCase();
  const { rows, columns } = kinds[kind];
  const all = rows.map((_, at) => at);
  if (sought === "") return all;
  const texts = columns.map(([, type], at) => (type === "text" ? at + 1 : 0)).filter((at) => at > 0);
  return all.filter((at) => [0, ...texts].some((column) => {
    const value = rows[at][column];
    return typeof value === "string" && value.toLowerCase().includes(sought);
  }) || (wasRead(rows[at]) && rows[at].slice(1, columns.length + 1).some(
    (value) => typeof value === "number" && String(value).startsWith(sought))));
}

const nameOrder = new Intl.Collator("en", { numeric: true });

/** @param {number[]} list @param {number} kind */
function sortRows(list, kind) {
  if (order.column < 0) return;
  const { rows } = kinds[kind];
  const sign = order.isUp ? 1 : -1;
  list.sort((one, other) => {
    const a = rows[one][order.column] ?? null;
    const b = rows[other][order.column] ?? null;
    if (a === null || b === null) return Number(a === null) - Number(b === null);
    return sign * (typeof a === "string" ? nameOrder.compare(a, b) : a - b);
  });
}

/** @param {number} kind @param {Column} column @param {number} row */
function cellOf(kind, column, row) {
  const cells = kinds[kind].rows[row];
  const value = cells[column.index];
  if (column.index === 0) {
    const cell = make("td", { title: nameOf(kind, row) });
    cell.append(linkTo({ kind, row }));
    return cell;
  }
  if (!wasRead(cells)) return make("td", {}, "");
  if (column.type !== "text") {
    return value === null ? make("td", { className: "number" }, "\u2013")
      : numberCell("td", value, column.type === "real");
  }
  const target = kind === LINE && column.name.endsWith("PointName") ? elementNamed(POINT, value) : null;
  const cell = make("td", { title: visible(value) });
  cell.append(target ? linkTo(target) : visible(value));
  return cell;
}

/** @param {number} kind @param {Column[]} columns @param {number} row */
function rowOf(kind, columns, row) {
  const isSelected = selection !== null && selection.kind === kind && selection.row === row;
  return make("tr", { className: isSelected ? "selected" : "" },
    ...columns.map((column) => cellOf(kind, column, row)));
}

/** @param {Column[]} columns */
function headOf(columns) {
  const heads = columns.map((column) => {
    const isSorted = order.column === column.index;
    const arrow = isSorted ? (order.isUp ? " \u2191" : " \u2193") : "";
    const button = make("button", { type: "button", Click: () => sortBy(column.index) }, column.name + arrow);
    if (column.meaning !== "") {
      button.append(make("span", { className: "meaning" }, column.meaning));
      button.title = `${column.meaning}, where the job follows the convention`;
    }
    const head = make("th", { scope: "col", className: column.type === "text" ? "" : "number" }, button);
    if (isSorted) head.setAttribute("aria-sort", order.isUp ? "ascending" : "descending");
    return head;
  });
  return make("thead", {}, make("tr", {}, ...heads));
}

/** @param {number} column */
function sortBy(column) {
  order = { column, isUp: order.column === column ? !order.isUp : true };
  showTable();
}

/** @type {{columns: Column[], body: any}} */
let shownTable = { columns: [], body: null };

/** Puts the rows into the page that are seen now. */
function showSeenRows() {
  const frame = find("#table");
  const HEAD = 42;
  const first = Math.max(0, Math.floor((frame.scrollTop - HEAD) / ROW_HEIGHT) - 6);
  const last = Math.min(shownRows.length, first + Math.ceil(frame.clientHeight / ROW_HEIGHT) + 16);
  const space = (/** @type {number} */ rows) => {
    const cell = make("td", { colSpan: shownTable.columns.length });
    cell.style.height = `${rows * ROW_HEIGHT}px`;
    return make("tr", { className: "space", "aria-hidden": "true" }, cell);
  };
  shownTable.body.replaceChildren(space(first),
    ...shownRows.slice(first, last).map((row) => rowOf(shownKind, shownTable.columns, row)),
    space(shownRows.length - last));
}

/** Shows the kind, sorted and filtered as asked for. */
function showTable() {
  const columns = columnsOf(shownKind);
  shownRows = rowsWith(find("#table-filter").value, shownKind);
  sortRows(shownRows, shownKind);
  const widths = widthsOf(shownKind, columns);
  const body = make("tbody");
  const table = make("table", { "aria-rowcount": shownRows.length },
    make("colgroup", {}, ...widths.map((width) => {
      const column = make("col");
      column.style.width = `${width}ch`;
      return column;
    })), headOf(columns), body);
  table.style.width = `${widths.reduce((sum, width) => sum + width, 0)}ch`;
  shownTable = { columns, body };
  find("#table").replaceChildren(table);
  showSeenRows();
  const all = kinds[shownKind].rows.length;
  find("#tables .caption").textContent = shownRows.length === all
    ? counted(all, kinds[shownKind].label, kinds[shownKind].plural)
    : `${counted(shownRows.length, "row")} of ${all.toLocaleString("en")}`;
  tableTabs.forEach(({ tab, kind }) => tab.setAttribute("aria-pressed", String(kind === shownKind)));
}

/** @param {number} kind */
function showKind(kind) {
  if (kind !== shownKind) {
    order = { column: -1, isUp: true };
    find("#table-filter").value = "";
    find("#table").scrollTop = 0;
  }
  shownKind = kind;
  showTable();
}

/** Scrolls the table to a row of the kind that it shows. @param {number} row */
function scrollTableTo(row) {
  const at = shownRows.indexOf(row);
  const frame = find("#table");
  if (at >= 0) frame.scrollTop = Math.max(0, at * ROW_HEIGHT - frame.clientHeight / 2 + 42);
  showSeenRows();
}

const tableTabs = kinds.map((kind, at) => {
  const tab = make("button", { type: "button", Click: () => showKind(at) },
    `${kind.plural} ${kind.rows.length.toLocaleString("en")}`);
  find("#tables .tabs").append(tab);
  return { tab, kind: at };
});
find("#table").addEventListener("scroll", () => requestAnimationFrame(showSeenRows), { passive: true });
find("#table-filter").addEventListener("input", () => {
  find("#table").scrollTop = 0;
  showTable();
});
