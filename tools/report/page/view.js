// A drawing on a canvas that is moved and zoomed with wheel, mouse, fingers and keys. What is
// drawn is told by the drawing; here are the sheet's scale and place.

/**
 * @typedef {{x: number, y: number, scale: number, stretch: number}} Sheet
 *   the place in the middle, pixels per unit across, and how many times more there are upwards
 * @typedef {{canvas: HTMLCanvasElement, context: CanvasRenderingContext2D, sheet: Sheet,
 *   width: number, height: number, home: () => Sheet, paint: (view: View) => void,
 *   hover: (view: View, x: number, y: number) => void,
 *   pick: (view: View, x: number, y: number) => void, isAsked: boolean}} View
 */

const ZOOM_STEP = 1.4;

/** @param {View} view @param {number} x */
function toScreenX(view, x) {
  return view.width / 2 + (x - view.sheet.x) * view.sheet.scale;
}
/** @param {View} view @param {number} y */
function toScreenY(view, y) {
  return view.height / 2 - (y - view.sheet.y) * view.sheet.scale * view.sheet.stretch;
}
/** @param {View} view @param {number} x */
function fromScreenX(view, x) {
  return view.sheet.x + (x - view.width / 2) / view.sheet.scale;
}
/** @param {View} view @param {number} y */
function fromScreenY(view, y) {
  return view.sheet.y - (y - view.height / 2) / view.sheet.scale / view.sheet.stretch;
}

/** @param {string} name  of a custom property */
function colour(name) {
  return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

/** Paints as soon as the browser shows the next picture. @param {View} view */
function repaint(view) {
  if (view.isAsked) return;
  view.isAsked = true;
  requestAnimationFrame(() => {
    view.isAsked = false;
    paintNow(view, devicePixelRatio);
  });
}

/** @param {View} view @param {number} ratio  pixels of the picture to one of the page */
function paintNow(view, ratio) {
  view.canvas.width = Math.round(view.width * ratio);
  view.canvas.height = Math.round(view.height * ratio);
  view.context.setTransform(ratio, 0, 0, ratio, 0, 0);
  view.paint(view);
}

/** @param {View} view @param {number} factor @param {number} x @param {number} y */
function zoomAt(view, factor, x, y) {
  const worldX = fromScreenX(view, x);
  const worldY = fromScreenY(view, y);
  const home = view.home().scale;
  const scale = Math.min(Math.max(view.sheet.scale * factor, home / 1e4), home * 1e6);
  view.sheet = { ...view.sheet, scale };
  view.sheet.x += worldX - fromScreenX(view, x);
  view.sheet.y += worldY - fromScreenY(view, y);
  repaint(view);
}

/** @param {View} view @param {number} dx @param {number} dy  in pixels */
function moveBy(view, dx, dy) {
  view.sheet = { ...view.sheet, x: view.sheet.x - dx / view.sheet.scale,
    y: view.sheet.y + dy / view.sheet.scale / view.sheet.stretch };
  repaint(view);
}

/** @param {View} view */
function goHome(view) {
  view.sheet = view.home();
  repaint(view);
}

/** @param {View} view @param {HTMLElement} buttons */
function addZoomButtons(view, buttons) {
  const zoom = (/** @type {number} */ factor) => zoomAt(view, factor, view.width / 2, view.height / 2);
  const rows = [
    { text: "+", title: "Zoom in", act: () => zoom(ZOOM_STEP) },
    { text: "\u2212", title: "Zoom out", act: () => zoom(1 / ZOOM_STEP) },
    { text: "all", title: "Show all", act: () => goHome(view) },
  ];
  for (const { text, title, act } of rows) {
    buttons.append(make("button", { type: "button", title, "aria-label": title, Click: act }, text));
  }
}

/** @param {View} view */
function listenToPointers(view) {
  /** @type {Map<number, {x: number, y: number}>} */
  const down = new Map();
  let travelled = 0;
  const spread = () => {
    const [one, other] = [...down.values()];
    return { distance: Math.hypot(other.x - one.x, other.y - one.y),
      x: (one.x + other.x) / 2, y: (one.y + other.y) / 2 };
  };
  const { canvas } = view;
  canvas.addEventListener("pointerdown", (event) => {
    if (event.button !== 0) return;
    canvas.setPointerCapture(event.pointerId);
    down.set(event.pointerId, { x: event.offsetX, y: event.offsetY });
    if (down.size === 1) travelled = 0;
  });
  canvas.addEventListener("pointermove", (event) => {
    const before = down.get(event.pointerId);
    if (!before) {
      view.hover(view, event.offsetX, event.offsetY);
      return;
    }
    const dx = event.offsetX - before.x;
    const dy = event.offsetY - before.y;
    travelled += Math.abs(dx) + Math.abs(dy);
    if (down.size === 1) {
      down.set(event.pointerId, { x: event.offsetX, y: event.offsetY });
      moveBy(view, dx, dy);
    } else if (down.size === 2) {
      const old = spread();
      down.set(event.pointerId, { x: event.offsetX, y: event.offsetY });
      const now = spread();
      moveBy(view, now.x - old.x, now.y - old.y);
      if (old.distance > 0) zoomAt(view, now.distance / old.distance, now.x, now.y);
    }
  });
  const lift = (/** @type {PointerEvent} */ event) => {
    const CLICK = 6; // pixels that a hand trembles
    if (event.type === "pointerup" && down.size === 1 && travelled < CLICK) {
      view.pick(view, event.offsetX, event.offsetY);
    }
    down.delete(event.pointerId);
  };
  canvas.addEventListener("pointerup", lift);
  canvas.addEventListener("pointercancel", lift);
  canvas.addEventListener("lostpointercapture", lift);
}

/** @param {View} view */
function listenToWheelAndKeys(view) {
  view.canvas.addEventListener("wheel", (event) => {
    event.preventDefault();
    const lines = event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 16 : 1;
    zoomAt(view, Math.exp(-event.deltaY * lines * 0.0015), event.offsetX, event.offsetY);
  }, { passive: false });
  const STEP = 60;
  view.canvas.addEventListener("keydown", (event) => {
    const moves = { ArrowLeft: [STEP, 0], ArrowRight: [-STEP, 0], ArrowUp: [0, STEP], ArrowDown: [0, -STEP] };
    const zooms = { "+": ZOOM_STEP, "=": ZOOM_STEP, "-": 1 / ZOOM_STEP };
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    if (moves[event.key]) moveBy(view, moves[event.key][0], moves[event.key][1]);
    else if (zooms[event.key]) zoomAt(view, zooms[event.key], view.width / 2, view.height / 2);
    else if (event.key === "0" || event.key === "Home") goHome(view);
    else return;
    event.preventDefault();
  });
}

/** Gives the view the size that its canvas has. Who sees all goes on seeing all. @param {View} view */
function fitCanvas(view) {
  const { sheet } = view;
  const home = view.home();
  const isHome = sheet.x === home.x && sheet.y === home.y && sheet.scale === home.scale;
  view.width = view.canvas.clientWidth || 1;
  view.height = view.canvas.clientHeight || 1;
  if (isHome) view.sheet = view.home();
  repaint(view);
}

/** Makes a view on a canvas. It keeps its size with the page and is painted in its colours.
 * @param {HTMLCanvasElement} canvas
 * @param {{home: (view: View) => Sheet, paint: (view: View) => void,
 *   hover: (view: View, x: number, y: number) => void,
 *   pick: (view: View, x: number, y: number) => void}} drawing @returns {View} */
function makeView(canvas, drawing) {
  const context = canvas.getContext("2d");
  if (!context) throw new Error("no canvas");
  /** @type {View} */
  const view = { canvas, context, sheet: { x: 0, y: 0, scale: 1, stretch: 1 },
    width: canvas.clientWidth || 1, height: canvas.clientHeight || 1, home: () => drawing.home(view),
    paint: drawing.paint, hover: drawing.hover, pick: drawing.pick, isAsked: false };
  view.sheet = view.home();
  new ResizeObserver(() => fitCanvas(view)).observe(canvas);
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => repaint(view));
  listenToPointers(view);
  listenToWheelAndKeys(view);
  return view;
}

/** Steps of an axis: 1, 2 or 5 times a power of ten, about so many.
 * @param {number} low @param {number} high @param {number} about */
function ticksBetween(low, high, about) {
  const share = (high - low) / about;
  if (!(share > 0) || !Number.isFinite(share)) return { ticks: [], decimals: 0 };
  const power = 10 ** Math.floor(Math.log10(share));
  const step = [1, 2, 5, 10].map((factor) => factor * power).find((value) => value >= share) ?? power;
  const decimals = Math.max(0, Math.ceil(-Math.log10(step) - 1e-9));
  const ticks = [];
  for (let at = Math.ceil(low / step); at <= high / step && ticks.length < 100; at += 1) {
    ticks.push(at * step);
  }
  return { ticks, decimals: Math.min(decimals, 9) };
}

/** The largest of 1, 2 and 5 times a power of ten that is at most the value. @param {number} value */
function roundedDown(value) {
  const power = 10 ** Math.floor(Math.log10(value));
  return [5, 2, 1].map((factor) => factor * power).find((round) => round <= value) ?? power;
}

/** Tells which labels have room: those that keep clear of the ones before. */
function makeLabels() {
  /** @type {Map<number, [number, number, number, number][]>} */
  const rows = new Map();
  const HEIGHT = 14;
  return (/** @type {number} */ x, /** @type {number} */ y, /** @type {number} */ width) => {
    const row = Math.floor(y / HEIGHT);
    for (const near of [row - 1, row, row + 1]) {
      for (const [left, right, top] of rows.get(near) ?? []) {
        if (x < right && x + width > left && Math.abs(y - top) < HEIGHT) return false;
      }
    }
    const list = rows.get(row);
    if (list) list.push([x - 6, x + width + 6, y, 0]);
    else rows.set(row, [[x - 6, x + width + 6, y, 0]]);
    return true;
  };
}
