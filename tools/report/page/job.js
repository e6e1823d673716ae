// The job: its elements as the report holds them, and what refers to what.

/**
 * A row is an element: its name, its members in the order of the kind's columns, and behind them
 * the list of a chain, profile or survey chain. Of one that could not be read it is the name alone.
 * @typedef {any[]} Row
 * @typedef {{name: string, label: string, plural: string, count: number|null, columns: [string, string][],
 *   rows: Row[], byName: Map<string, number>, at: Object<string, number>}} Kind
 * @typedef {{kind: number, row: number}} Reference
 * @typedef {{kind: number, row: number, path: number[]}} Way
 * @typedef {{row: number, pieces: number[][], intersections: number[][], turns: number[][],
 *   remarks: string[], derived: string[]}} ProfileLine
 */

const POINT = 0, LINE = 1, CURVE = 2, SPIRAL = 3, CHAIN = 4, PROFILE = 5, SURVEY_CHAIN = 6;
const MEMBER_SHIFT = 7, MEMBER_GAP = 8;

// What members stand for in jobs that follow the convention.
const MEANINGS = [
  { real1: "east", real2: "north", real3: "elevation", real4: "station" },
  {},
  { curve1: "centre north", curve2: "centre east", curve3: "begin north", curve4: "begin east",
    curve5: "end north", curve6: "end east", curve7: "chord", curve8: "length", curve9: "tangent",
    curve10: "turning angle", curve11: "radius", curve12: "turn, right positive",
    curve13: "begin station", curve14: "end station" },
  { spiral1: "angle, right positive", spiral2: "begin radius", spiral3: "end radius",
    spiral4: "centre east", spiral5: "centre north", spiral6: "crossing east",
    spiral7: "crossing north", spiral8: "length", spiral9: "parameter", spiral10: "begin east",
    spiral11: "begin north", spiral12: "end east", spiral13: "end north", spiral14: "abscissa",
    spiral15: "chord", spiral16: "long tangent", spiral17: "short tangent",
    spiral18: "begin station" },
  {}, {}, {},
];
const SWAPPED = { east: "north", north: "east" };

const FARTHEST = 1e12;

/** @type {any} */
const data = JSON.parse(find("#job-data").textContent);

/** @type {Kind[]} */
const kinds = data.kinds.map((/** @type {any} */ kind) => {
  const byName = new Map();
  kind.rows.forEach((/** @type {Row} */ row, /** @type {number} */ at) => {
    if (row[0] !== null && !byName.has(row[0])) byName.set(row[0], at);
  });
  const at = {};
  kind.columns.forEach((/** @type {[string, string]} */ column, /** @type {number} */ index) => {
    at[column[0]] = index + 1;
  });
  return { ...kind, label: kind.name.replace("-", " "), byName, at };
});

/** @type {Way[]} */
const ways = data.ways.map((/** @type {any[]} */ [kind, row, path]) => ({ kind, row, path }));
/** @type {ProfileLine[]} */
const profileLines = data.lines.map((/** @type {any[]} */ line) => (
  { row: line[0], pieces: line[1], intersections: line[2], turns: line[3], remarks: line[4], derived: line[5] }));
/** @type {{kind: number, row: number, reason: string}[]} */
const notDrawn = data.notDrawn.map((/** @type {any[]} */ [kind, row, reason]) => ({ kind, row, reason }));
/** Without a row it is about the kind as a whole.
 * @type {{kind: number, row: number|null, reason: string}[]} */
const unreadable = data.unreadable.map((/** @type {any[]} */ [kind, row, reason]) => ({ kind, row, reason }));

/** @param {number} kind @param {string} member */
function meaningOf(kind, member) {
  const meaning = MEANINGS[kind][member] ?? "";
  if (data.axes === "en") return meaning;
  return meaning.replace(/east|north/g, (/** @type {string} */ axis) => SWAPPED[axis]);
}

/** @param {Row} row */
function wasRead(row) {
  return row.length > 1;
}

/** @param {number} kind @param {number} row */
function nameOf(kind, row) {
  const name = kinds[kind].rows[row][0];
  if (name === null) return `number ${row + 1}`;
  return name === "" ? "(no name)" : visible(name);
}

/** @param {number} kind @param {number} row @param {string} member */
function memberOf(kind, row, member) {
  return kinds[kind].rows[row][kinds[kind].at[member]];
}

/** The list of a chain, profile or survey chain.
 * @param {number} kind @param {number} row @returns {any[][]} */
function listOf(kind, row) {
  return kinds[kind].rows[row][kinds[kind].columns.length + 1] ?? [];
}

/** Where a point lies, or null.
 * @param {number} row @returns {[number, number]|null} */
function placeOf(row) {
  if (!wasRead(kinds[POINT].rows[row])) return null;
  const first = memberOf(POINT, row, "real1");
  const second = memberOf(POINT, row, "real2");
  if (first === null || second === null) return null;
  if (Math.abs(first) > FARTHEST || Math.abs(second) > FARTHEST) return null;
  return data.axes === "en" ? [first, second] : [second, first];
}

// A member holds the first characters of a name that may have more.
const CUT_NAME = 15;

/** @param {number} kind @param {string} name  as a member holds it @returns {Reference|null} */
function elementNamed(kind, name) {
  let row = kinds[kind].byName.get(name);
  if (kind !== POINT && name.length === CUT_NAME) {
    const alike = kinds[kind].rows.filter(([other]) => other !== null && other.startsWith(name));
    row = alike.length === 1 ? kinds[kind].byName.get(alike[0][0]) : undefined;
  }
  return row === undefined ? null : { kind, row };
}

/** What an element refers to, each once, in its order. There is no reference where it cannot be told
 * which element it is, or whether there is one.
 * @param {number} kind @param {number} row
 * @returns {{kind: number, name: string, reference: Reference|null}[]} */
function usesOf(kind, row) {
  /** @type {[number, string][]} */
  let names = [];
  if (!wasRead(kinds[kind].rows[row])) return [];
  if (kind === LINE) {
    names = [[POINT, memberOf(LINE, row, "beginPointName")], [POINT, memberOf(LINE, row, "endPointName")]];
  } else if (kind === CHAIN) {
    names = listOf(kind, row).filter(([member]) => member !== MEMBER_SHIFT && member !== MEMBER_GAP)
      .map(([member, name]) => [member, name]);
  } else if (kind === SURVEY_CHAIN) {
    names = listOf(kind, row).filter(([name]) => name !== "GAP").map(([name]) => [POINT, name]);
  }
  const found = new Map();
  for (const [other, name] of names) {
    found.set(`${other} ${name}`, { kind: other, name, reference: elementNamed(other, name) });
  }
  return [...found.values()];
}

// Of each kind, the elements that refer to a row.
/** @type {Map<number, Reference[]>[]} */
const users = kinds.map(() => new Map());
for (const kind of [LINE, CHAIN, SURVEY_CHAIN]) {
  kinds[kind].rows.forEach((_, row) => {
    for (const { reference: used } of usesOf(kind, row)) {
      if (!used) continue;
      const list = users[used.kind].get(used.row);
      if (list) list.push({ kind, row });
      else users[used.kind].set(used.row, [{ kind, row }]);
    }
  });
}

/** @param {number} kind @param {number} row @returns {Reference[]} */
function usedBy(kind, row) {
  return users[kind].get(row) ?? [];
}

/** @type {Map<number, Way>[]} */
const wayByRow = kinds.map(() => new Map());
for (const way of ways) wayByRow[way.kind].set(way.row, way);

/** @param {number} kind @param {number} row */
function wayOf(kind, row) {
  return wayByRow[kind].get(row) ?? null;
}

/** How much of an element that is listed as not drawn is drawn all the same.
 * @param {number} kind @param {number} row */
function drawnPart(kind, row) {
  return kind === PROFILE || wayOf(kind, row) ? "drawn in part" : "not drawn";
}

/** @param {number[]} piece  [kind, begin station, elevation, end station, elevation, grades] */
function gradeOn(piece, station) {
  const run = piece[3] - piece[1];
  return run > 0 ? piece[5] + (piece[6] - piece[5]) * (station - piece[1]) / run : piece[5];
}

const PIECE_GRADE = 0, PIECE_CURVE = 1, PIECE_LINK = 2;

/** The elevation and grade of a profile at a station, or null where it has none.
 * @param {ProfileLine} line @param {number} station */
function profileAt(line, station) {
  for (const piece of line.pieces) {
    if (piece[0] !== PIECE_LINK && station >= piece[1] && station <= piece[3]) {
      const grade = gradeOn(piece, station);
      return { elevation: piece[2] + (piece[5] + grade) / 2 * (station - piece[1]), grade };
    }
  }
  return null;
}
