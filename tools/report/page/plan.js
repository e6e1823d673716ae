// The plan: points and the ways of lines, curves, spirals, chains and survey chains.

const PATH_MOVE = 0, PATH_LINE = 1, PATH_ARC = 2;
// Numbers behind each step of a path: a place; or centre, radius, begin angle, sweep and end.
const STEP_NUMBERS = [2, 2, 7];

const LAYERS = [
  { kind: CHAIN, property: "--chain", width: 4, alpha: 0.45, isShown: true },
  { kind: SURVEY_CHAIN, property: "--survey", width: 1, alpha: 0.75, isShown: true },
  { kind: LINE, property: "--line", width: 1.2, alpha: 1, isShown: true },
  { kind: CURVE, property: "--curve", width: 1.6, alpha: 1, isShown: true },
  { kind: SPIRAL, property: "--spiral", width: 1.6, alpha: 1, isShown: true },
  { kind: POINT, property: "--point", width: 0, alpha: 1, isShown: true },
];

/** @type {{row: number, x: number, y: number, label: string}[]} */
const planPoints = [];
kinds[POINT].rows.forEach((_, row) => {
  const place = placeOf(row);
  if (place) planPoints.push({ row, x: place[0], y: place[1], label: nameOf(POINT, row) });
});

/** Goes along a path, a step at a time.
 * @param {number[]} path @param {(kind: number, numbers: number[]) => void} act */
function alongPath(path, act) {
  for (let at = 0; at < path.length;) {
    const kind = path[at];
    act(kind, path.slice(at + 1, at + 1 + STEP_NUMBERS[kind]));
    at += 1 + STEP_NUMBERS[kind];
  }
}

/** The way as corners, with a null before each part; arcs in short pieces.
 * @param {Way} way @returns {([number, number]|null)[]} */
function cornersOf(way) {
  /** @type {([number, number]|null)[]} */
  const corners = [];
  alongPath(way.path, (kind, numbers) => {
    if (kind === PATH_MOVE) corners.push(null);
    if (kind !== PATH_ARC) {
      corners.push([numbers[0], numbers[1]]);
      return;
    }
    const [x, y, radius, begin, sweep] = numbers;
    const PIECES = 48;
    for (let piece = 1; piece <= PIECES; piece += 1) {
      const angle = begin + sweep * piece / PIECES;
      corners.push([x + radius * Math.cos(angle), y + radius * Math.sin(angle)]);
    }
  });
  return corners;
}

/** @typedef {{west: number, east: number, south: number, north: number}} Box */
const wayShapes = ways.map((way) => {
  const corners = cornersOf(way);
  const box = { west: Infinity, east: -Infinity, south: Infinity, north: -Infinity };
  for (const corner of corners) {
    if (!corner) continue;
    box.west = Math.min(box.west, corner[0]);
    box.east = Math.max(box.east, corner[0]);
    box.south = Math.min(box.south, corner[1]);
    box.north = Math.max(box.north, corner[1]);
  }
  return { way, corners, box };
});

/** @param {View} view @returns {Sheet} */
function planHome(view) {
  const [west, south, east, north] = data.view;
  const scale = Math.min((view.width * 0.92) / (east - west), (view.height * 0.88) / (north - south));
  return { x: (west + east) / 2, y: (south + north) / 2, scale, stretch: 1 };
}

/** @param {View} view @param {Way} way */
function traceWay(view, way) {
  const { context } = view;
  alongPath(way.path, (kind, numbers) => {
    if (kind === PATH_ARC) {
      const [x, y, radius, begin, sweep] = numbers;
      context.arc(toScreenX(view, x), toScreenY(view, y), radius * view.sheet.scale, -begin,
        -(begin + sweep), sweep > 0);
    } else if (kind === PATH_MOVE) {
      context.moveTo(toScreenX(view, numbers[0]), toScreenY(view, numbers[1]));
    } else {
      context.lineTo(toScreenX(view, numbers[0]), toScreenY(view, numbers[1]));
    }
  });
}

/** @param {View} view @param {Box} box */
function isSeen(view, box) {
  return box.east >= fromScreenX(view, 0) && box.west <= fromScreenX(view, view.width) &&
    box.north >= fromScreenY(view, view.height) && box.south <= fromScreenY(view, 0);
}

/** @param {View} view @param {typeof LAYERS[0]} layer */
function paintWays(view, layer) {
  const { context } = view;
  context.beginPath();
  for (const { way, box } of wayShapes) {
    if (way.kind === layer.kind && isSeen(view, box)) traceWay(view, way);
  }
  context.strokeStyle = colour(layer.property);
  context.lineWidth = layer.width;
  context.globalAlpha = layer.alpha;
  context.lineJoin = "round";
  context.stroke();
  context.globalAlpha = 1;
}

/** @param {View} view */
function paintPoints(view) {
  const { context } = view;
  const seen = planPoints.filter((point) => {
    const x = toScreenX(view, point.x);
    const y = toScreenY(view, point.y);
    return x >= -20 && x <= view.width + 20 && y >= -20 && y <= view.height + 20;
  });
  // The more points there are, the smaller they are.
  const share = Math.sqrt(view.width * view.height / Math.max(seen.length, 1));
  const size = Math.min(Math.max(share / 9, 1), 4);
  context.fillStyle = colour("--point");
  for (const point of seen) {
    context.fillRect(toScreenX(view, point.x) - size / 2, toScreenY(view, point.y) - size / 2, size, size);
  }
  const hasRoom = makeLabels();
  context.fillStyle = colour("--soft");
  context.font = "11px system-ui, sans-serif";
  const MOST_LABELS = 600;
  let labels = 0;
  for (const point of inReadingOrder(seen)) {
    if (selection && selection.kind === POINT && selection.row === point.row) continue;
    const x = toScreenX(view, point.x) + 5;
    const y = toScreenY(view, point.y) - 5;
    if (labels < MOST_LABELS && hasRoom(x, y, point.label.length * 6.3)) {
      context.fillText(point.label, x, y);
      labels += 1;
    }
  }
}

/** Points with names of letters first: they are the ones that people look for.
 * @template {{label: string}} T @param {T[]} points @returns {T[]} */
function inReadingOrder(points) {
  const hasLetter = (/** @type {T} */ point) => /[^0-9]/.test(point.label);
  return [...points.filter(hasLetter), ...points.filter((point) => !hasLetter(point))];
}

/** @param {View} view */
function paintScale(view) {
  const { context } = view;
  const length = roundedDown(160 / view.sheet.scale);
  const end = 16 + length * view.sheet.scale;
  const y = view.height - 16;
  context.strokeStyle = colour("--soft");
  context.fillStyle = colour("--soft");
  context.lineWidth = 1.4;
  context.beginPath();
  context.moveTo(16, y - 5);
  context.lineTo(16, y);
  context.lineTo(end, y);
  context.lineTo(end, y - 5);
  // North
  context.moveTo(24, 44);
  context.lineTo(24, 16);
  context.moveTo(19, 24);
  context.lineTo(24, 15);
  context.lineTo(29, 24);
  context.stroke();
  context.font = "12px system-ui, sans-serif";
  context.fillText(String(Number(length.toPrecision(6))), end + 7, y);
  context.fillText("N", 34, 26);
}

/** @param {View} view @param {Reference} selected */
function paintSelected(view, selected) {
  const { context } = view;
  context.strokeStyle = colour("--mark");
  context.fillStyle = colour("--mark");
  context.lineWidth = 3;
  if (selected.kind === POINT) {
    const place = placeOf(selected.row);
    if (!place) return;
    const x = toScreenX(view, place[0]);
    const y = toScreenY(view, place[1]);
    context.beginPath();
    context.arc(x, y, 8, 0, 2 * Math.PI);
    context.stroke();
    context.fillRect(x - 2, y - 2, 4, 4);
    context.font = "600 13px system-ui, sans-serif";
    context.fillText(nameOf(POINT, selected.row), x + 12, y - 9);
    return;
  }
  const way = wayOf(selected.kind, selected.row);
  if (!way) return;
  context.beginPath();
  traceWay(view, way);
  context.stroke();
}

/** @param {View} view */
function paintPlan(view) {
  view.context.fillStyle = colour("--paper");
  view.context.fillRect(0, 0, view.width, view.height);
  for (const layer of LAYERS) {
    if (!layer.isShown) continue;
    if (layer.kind === POINT) paintPoints(view);
    else paintWays(view, layer);
  }
  if (selection) paintSelected(view, selection);
  if (planPoints.length > 0 || ways.length > 0) {
    paintScale(view);
    return;
  }
  view.context.fillStyle = colour("--soft");
  view.context.font = "14px system-ui, sans-serif";
  view.context.fillText("Nothing to draw", 20, 30);
}

/** The distance of a place from a way, in units of the plan.
 * @param {([number, number]|null)[]} corners @param {number} x @param {number} y */
function distanceTo(corners, x, y) {
  let nearest = Infinity;
  for (let at = 1; at < corners.length; at += 1) {
    const from = corners[at - 1];
    const to = corners[at];
    if (!from || !to) continue;
    const dx = to[0] - from[0];
    const dy = to[1] - from[1];
    const square = dx * dx + dy * dy;
    const share = square > 0 ? Math.min(Math.max(((x - from[0]) * dx + (y - from[1]) * dy) / square, 0), 1) : 0;
    nearest = Math.min(nearest, Math.hypot(x - from[0] - share * dx, y - from[1] - share * dy));
  }
  return nearest;
}

/** What lies under the pointer: a point rather than a way, a part rather than a chain.
 * @param {View} view @param {number} screenX @param {number} screenY @returns {Reference|null} */
function elementAt(view, screenX, screenY) {
  const x = fromScreenX(view, screenX);
  const y = fromScreenY(view, screenY);
  const reach = 9 / view.sheet.scale;
  const isShown = (/** @type {number} */ kind) => LAYERS.some((layer) => layer.kind === kind && layer.isShown);
  let nearest = reach;
  /** @type {Reference|null} */
  let found = null;
  for (const point of isShown(POINT) ? planPoints : []) {
    const distance = Math.hypot(point.x - x, point.y - y);
    if (distance <= nearest) {
      nearest = distance;
      found = { kind: POINT, row: point.row };
    }
  }
  for (let at = LAYERS.length - 2; at >= 0 && !found; at -= 1) {
    if (!LAYERS[at].isShown) continue;
    for (const { way, corners, box } of wayShapes) {
      if (way.kind !== LAYERS[at].kind || x < box.west - reach || x > box.east + reach ||
        y < box.south - reach || y > box.north + reach) continue;
      const distance = distanceTo(corners, x, y);
      if (distance <= nearest) {
        nearest = distance;
        found = { kind: way.kind, row: way.row };
      }
    }
  }
  return found;
}

/** @param {View} view @param {number} x @param {number} y */
function hoverPlan(view, x, y) {
  const found = elementAt(view, x, y);
  view.canvas.style.cursor = found ? "pointer" : "crosshair";
  const what = found ? `${kinds[found.kind].label} ${nameOf(found.kind, found.row)}\n` : "";
  find("#plan .readout").textContent =
    `${what}E ${readable(fromScreenX(view, x))}  N ${readable(fromScreenY(view, y))}`;
}

// A job that is wide and flat needs no high drawing.
const [planWest, planSouth, planEast, planNorth] = data.view;
find("#plan-canvas").style.setProperty("--aspect", String((planNorth - planSouth) / (planEast - planWest)));

const planView = makeView(find("#plan-canvas"), {
  home: planHome, paint: paintPlan, hover: hoverPlan,
  pick: (view, x, y) => {
    hoverPlan(view, x, y); // a finger does not hover
    select(elementAt(view, x, y));
  },
});
addZoomButtons(planView, find("#plan .buttons"));

for (const layer of [...LAYERS].reverse()) {
  if (kinds[layer.kind].rows.length === 0) continue;
  const box = make("input", { type: "checkbox", checked: layer.isShown, Change: () => {
    layer.isShown = box.checked;
    repaint(planView);
  } });
  const sample = make("i", { className: layer.kind === POINT ? "dot" : "" });
  sample.style[layer.kind === POINT ? "background" : "borderTopColor"] = `var(${layer.property})`;
  find("#plan .layers").append(make("label", {}, box, sample, kinds[layer.kind].plural));
}

/** Brings an element into view, unless it is well seen already.
 * @param {Reference} reference @param {boolean} always */
function showInPlan(reference, always) {
  let box = wayShapes.find(({ way }) => way.kind === reference.kind && way.row === reference.row)?.box;
  if (reference.kind === POINT) {
    const place = placeOf(reference.row);
    if (place) box = { west: place[0], east: place[0], south: place[1], north: place[1] };
  }
  if (!box) return false;
  const home = planView.home();
  const width = Math.max(box.east - box.west, 1e-9);
  const height = Math.max(box.north - box.south, 1e-9);
  const CLOSE = 12; // times as near as the first view, for a point
  const fitting = Math.min(planView.width * 0.6 / width, planView.height * 0.6 / height, home.scale * CLOSE);
  const isInside = box.west > fromScreenX(planView, 0) && box.east < fromScreenX(planView, planView.width) &&
    box.south > fromScreenY(planView, planView.height) && box.north < fromScreenY(planView, 0);
  if (always || !isInside) {
    planView.sheet = { x: (box.west + box.east) / 2, y: (box.south + box.north) / 2, stretch: 1,
      scale: always ? fitting : Math.min(planView.sheet.scale, fitting) };
  }
  repaint(planView);
  return true;
}
