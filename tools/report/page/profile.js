// The profiles: one is drawn, with the station of what is selected.

let shownProfile = 0; // in profileLines
/** @type {number|null} */
let hoveredStation = null;

const PROFILE_LEFT = 64, PROFILE_BOTTOM = 34;

/** @param {ProfileLine} line */
function extentOf(line) {
  const stations = [];
  const elevations = [];
  for (const piece of line.pieces) {
    stations.push(piece[1], piece[3]);
    elevations.push(piece[2], piece[4]);
  }
  for (const corner of line.intersections) {
    stations.push(corner[2]);
    elevations.push(corner[3]);
  }
  for (const [, station, elevation] of line.turns) {
    stations.push(station);
    elevations.push(elevation);
  }
  const low = (/** @type {number[]} */ values) => values.reduce((a, b) => Math.min(a, b), values[0] ?? 0);
  const high = (/** @type {number[]} */ values) => values.reduce((a, b) => Math.max(a, b), values[0] ?? 1);
  return { begin: low(stations), end: high(stations), lowest: low(elevations), highest: high(elevations) };
}

/** The largest number of one digit that is at most the value. @param {number} value */
function oneDigit(value) {
  const power = 10 ** Math.floor(Math.log10(value));
  return Math.floor(value / power) * power;
}

/** The whole profile, with an exaggeration of one digit.
 * @param {View} view @returns {Sheet} */
function profileHome(view) {
  const line = profileLines[shownProfile];
  if (!line) return { x: 0, y: 0, scale: 1, stretch: 1 };
  const { begin, end, lowest, highest } = extentOf(line);
  const width = Math.max(view.width - PROFILE_LEFT - 24, 50);
  const height = Math.max(view.height - PROFILE_BOTTOM - 60, 50);
  const length = Math.max(end - begin, 1e-3);
  const scale = width / length;
  // What is all but flat looks flat.
  const stretch = oneDigit(height / Math.max(highest - lowest, length / 1000) / scale);
  // The middle of the drawing is not that of the canvas: the axes stand left and below.
  return { x: (begin + end) / 2 - PROFILE_LEFT / 2 / scale,
    y: (lowest + highest) / 2 - PROFILE_BOTTOM / 2 / scale / stretch, scale, stretch };
}

/** @param {View} view */
function paintAxes(view) {
  const { context } = view;
  const right = view.width;
  const bottom = view.height - PROFILE_BOTTOM;
  context.font = "11.5px system-ui, sans-serif";
  context.strokeStyle = colour("--grid");
  context.fillStyle = colour("--soft");
  context.lineWidth = 1;
  context.beginPath();
  const stations = ticksBetween(fromScreenX(view, PROFILE_LEFT), fromScreenX(view, right), right / 95);
  context.textAlign = "center";
  for (const station of stations.ticks) {
    const x = toScreenX(view, station);
    context.moveTo(x, 0);
    context.lineTo(x, bottom);
    context.fillText(station.toFixed(stations.decimals), x, bottom + 16);
  }
  const elevations = ticksBetween(fromScreenY(view, bottom), fromScreenY(view, 0), bottom / 45);
  context.textAlign = "right";
  for (const elevation of elevations.ticks) {
    const y = toScreenY(view, elevation);
    context.moveTo(PROFILE_LEFT, y);
    context.lineTo(right, y);
    const TITLE = 26; // pixels, of the axis
    if (y > TITLE) context.fillText(elevation.toFixed(elevations.decimals), PROFILE_LEFT - 7, y + 4);
  }
  context.stroke();
  context.textAlign = "left";
  context.fillText("elevation", 6, 14);
  context.fillText("station", 6, bottom + 16);
}

/** A parabola with an upright axis is a quadratic curve whose middle point lies where the
 * tangents at its ends meet, half-way between them.
 * @param {View} view @param {number[]} piece */
function tracePiece(view, [kind, begin, low, end, high, gradeIn]) {
  const { context } = view;
  context.moveTo(toScreenX(view, begin), toScreenY(view, low));
  if (kind === PIECE_CURVE) {
    const half = (end - begin) / 2;
    context.quadraticCurveTo(toScreenX(view, begin + half), toScreenY(view, low + gradeIn * half),
      toScreenX(view, end), toScreenY(view, high));
  } else {
    context.lineTo(toScreenX(view, end), toScreenY(view, high));
  }
}

/** @param {View} view @param {ProfileLine} line */
function paintLine(view, line) {
  const { context } = view;
  const stroke = (/** @type {string} */ property, /** @type {number} */ width, /** @type {number[]} */ dash) => {
    context.strokeStyle = colour(property);
    context.lineWidth = width;
    context.setLineDash(dash);
    context.stroke();
    context.setLineDash([]);
    context.beginPath();
  };
  context.beginPath();
  for (const [begin, low, station, elevation, end, high] of line.intersections) {
    context.moveTo(toScreenX(view, begin), toScreenY(view, low));
    context.lineTo(toScreenX(view, station), toScreenY(view, elevation));
    context.lineTo(toScreenX(view, end), toScreenY(view, high));
  }
  stroke("--soft", 1, [2, 4]);
  line.pieces.filter((piece) => piece[0] === PIECE_LINK).forEach((piece) => tracePiece(view, piece));
  stroke("--soft", 1.5, [6, 5]);
  line.pieces.filter((piece) => piece[0] !== PIECE_LINK).forEach((piece) => tracePiece(view, piece));
  stroke("--chain", 2, []);
  for (const piece of line.pieces.filter(([kind]) => kind === PIECE_CURVE)) {
    for (const [station, elevation] of [[piece[1], piece[2]], [piece[3], piece[4]]]) {
      context.moveTo(toScreenX(view, station), toScreenY(view, elevation) - 5);
      context.lineTo(toScreenX(view, station), toScreenY(view, elevation) + 5);
    }
  }
  stroke("--soft", 1.2, []);
}

/** @param {View} view @param {ProfileLine} line */
function paintGrades(view, line) {
  const { context } = view;
  context.font = "11.5px system-ui, sans-serif";
  context.fillStyle = colour("--ink");
  context.textAlign = "center";
  for (const [kind, begin, low, end, high, grade] of line.pieces) {
    const x = toScreenX(view, begin);
    const y = toScreenY(view, low);
    const width = toScreenX(view, end) - x;
    const rise = toScreenY(view, high) - y;
    const SHORTEST = 44; // that the text has room on
    const STEEPEST = 10; // of those that anybody calls a grade
    if (kind !== PIECE_GRADE || width <= 0 || Math.abs(grade) > STEEPEST || Math.hypot(width, rise) < SHORTEST) continue;
    context.save();
    context.translate(x + width / 2, y + rise / 2);
    context.rotate(Math.atan2(rise, width));
    context.fillText(percent(grade), 0, -7);
    context.restore();
  }
  context.textAlign = "left";
}

/** @param {View} view @param {ProfileLine} line */
function paintTurns(view, line) {
  const { context } = view;
  const hasRoom = makeLabels();
  context.font = "11px system-ui, sans-serif";
  context.textAlign = "center";
  for (const [isHigh, station, elevation] of line.turns) {
    const x = toScreenX(view, station);
    const y = toScreenY(view, elevation);
    context.fillStyle = colour("--curve");
    context.beginPath();
    context.arc(x, y, 3.5, 0, 2 * Math.PI);
    context.fill();
    const labelY = isHigh ? y - 12 : y + 20;
    const label = `${isHigh ? "high" : "low"} ${readable(elevation)}`;
    context.fillStyle = colour("--ink");
    if (hasRoom(x - label.length * 3.2, labelY, label.length * 6.4)) context.fillText(label, x, labelY);
  }
  context.textAlign = "left";
}

/** @param {View} view @param {ProfileLine} line @param {number} station @param {string} property */
function paintStation(view, line, station, property) {
  const { context } = view;
  const x = toScreenX(view, station);
  context.strokeStyle = colour(property);
  context.fillStyle = colour(property);
  context.lineWidth = 1;
  context.beginPath();
  context.moveTo(x, 0);
  context.lineTo(x, view.height - PROFILE_BOTTOM);
  context.stroke();
  const found = profileAt(line, station);
  if (!found) return;
  context.beginPath();
  context.arc(x, toScreenY(view, found.elevation), 4, 0, 2 * Math.PI);
  context.fill();
}

/** @param {View} view */
function paintProfile(view) {
  const { context } = view;
  context.fillStyle = colour("--paper");
  context.fillRect(0, 0, view.width, view.height);
  const line = profileLines[shownProfile];
  if (!line) return;
  find("#profiles .caption").textContent = captionOf(line, view.sheet.stretch);
  paintAxes(view);
  context.save();
  context.beginPath();
  context.rect(PROFILE_LEFT, 0, view.width - PROFILE_LEFT, view.height - PROFILE_BOTTOM);
  context.clip();
  paintLine(view, line);
  paintGrades(view, line);
  paintTurns(view, line);
  const station = selection ? stationOf(selection) : null;
  if (station !== null) paintStation(view, line, station, "--mark");
  if (hoveredStation !== null) paintStation(view, line, hoveredStation, "--soft");
  context.restore();
}

/** @param {View} view @param {number} x */
function hoverProfile(view, x) {
  const line = profileLines[shownProfile];
  if (!line) return;
  hoveredStation = fromScreenX(view, x);
  const found = profileAt(line, hoveredStation);
  find("#profiles .readout").textContent = `station ${readable(hoveredStation)}  ` + (found
    ? `elevation ${readable(found.elevation)}  grade ${percent(found.grade)}`
    : "no profile here");
  repaint(view);
}

const profileView = makeView(find("#profile-canvas"), {
  home: profileHome, paint: paintProfile, hover: hoverProfile, pick: hoverProfile,
});
addZoomButtons(profileView, find("#profiles .buttons"));
profileView.canvas.addEventListener("pointerleave", (event) => {
  if (event.pointerType === "touch") return; // a finger leaves where it has pointed
  hoveredStation = null;
  find("#profiles .readout").textContent = "";
  repaint(profileView);
});

/** @param {number} at  in profileLines */
function showProfile(at) {
  shownProfile = at;
  const line = profileLines[at];
  [...find("#profiles .tabs").children].forEach((tab, index) => {
    tab.setAttribute("aria-pressed", String(index === at));
  });
  profileView.sheet = profileView.home();
  repaint(profileView);
  find("#profiles .remarks").replaceChildren(...line.remarks.map((remark) => make("li", {}, remark)),
    ...line.derived.map((text) => make("li", { className: "meaning" }, text)));
}

/** @param {ProfileLine} line @param {number} stretch */
function captionOf(line, stretch) {
  const curves = line.pieces.filter(([kind]) => kind === PIECE_CURVE).length;
  const { begin, end } = extentOf(line);
  return `${nameOf(PROFILE, line.row)}: station ${readable(begin)} to ${readable(end)}, ` +
    `${counted(memberOf(PROFILE, line.row, "vertexCount"), "vertex", "vertices")}, ` +
    `${counted(curves, "parabola")}. Vertical exaggeration ${Number(stretch.toPrecision(3))}.`;
}

if (profileLines.length === 0) find("#profiles").hidden = true;
profileLines.forEach((line, at) => {
  find("#profiles .tabs").append(
    make("button", { type: "button", Click: () => showProfile(at) }, nameOf(PROFILE, line.row)));
});

/** The station of an element, by the convention: of a point, or of the begin of a curve or spiral.
 * @param {Reference} reference @returns {number|null} */
function stationOf({ kind, row }) {
  const members = { [POINT]: "real4", [CURVE]: "curve13", [SPIRAL]: "spiral18" };
  return members[kind] && wasRead(kinds[kind].rows[row]) ? memberOf(kind, row, members[kind]) : null;
}
