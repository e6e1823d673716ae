// The page on paper: plan, profiles and tables one below the other, each as far as paper makes
// sense; what is left out is said.

const MOST_PRINTED_PROFILES = 24;
const MOST_PRINTED_ROWS = 400;

/** The drawing as a picture in the colours of paper. @param {View} view @param {number} width
 * @param {number} height @param {string} title */
function pictureOf(view, width, height, title) {
  const { canvas } = view;
  const before = { sheet: view.sheet, width: view.width, height: view.height };
  view.width = width;
  view.height = height;
  view.sheet = view.home();
  paintNow(view, 2);
  const picture = make("img", { src: canvas.toDataURL(), alt: title });
  Object.assign(view, before);
  repaint(view);
  return make("figure", {}, make("h2", {}, title), picture);
}

function printedProfiles() {
  const shown = shownProfile;
  const HEIGHT = 380; // so that two fit on a sheet
  const figures = profileLines.slice(0, MOST_PRINTED_PROFILES).map((line, at) => {
    shownProfile = at;
    const figure = pictureOf(profileView, 1400, HEIGHT, `Profile ${nameOf(PROFILE, line.row)}`);
    figure.append(make("p", {}, captionOf(line, sheetOf(profileView, 1400, HEIGHT).stretch)),
      ...line.remarks.map((remark) => make("p", {}, remark)));
    return figure;
  });
  shownProfile = shown;
  const left = profileLines.length - figures.length;
  return left > 0 ? [...figures, make("p", {}, `${counted(left, "further profile")} not printed.`)] : figures;
}

/** @param {View} view @param {number} width @param {number} height */
function sheetOf(view, width, height) {
  const before = { width: view.width, height: view.height };
  Object.assign(view, { width, height });
  const sheet = view.home();
  Object.assign(view, before);
  return sheet;
}

/** @param {number} kind */
function printedTable(kind) {
  const { rows, plural } = kinds[kind];
  if (rows.length === 0) return [];
  const columns = columnsOf(kind).filter(({ index }) => index === 0 ||
    rows.some((row) => row[index] !== "" && row[index] !== undefined && row[index] !== null));
  const printed = rows.slice(0, MOST_PRINTED_ROWS).map((_, row) => rowOf(kind, columns, row));
  const left = rows.length - printed.length;
  return [make("div", { className: "table" }, make("h2", {}, plural),
    make("table", {}, make("thead", {}, make("tr", {}, ...columns.map((column) => make("th", { className: column.type === "text" ? "" : "number" }, column.name)))),
      make("tbody", {}, ...printed)),
    ...(left > 0 ? [make("p", {}, `${counted(left, "further row")} not printed; the page on a screen has them.`)] : []))];
}

addEventListener("beforeprint", () => {
  const root = document.documentElement;
  const height = Math.min(Math.max(1400 * (planNorth - planSouth) / (planEast - planWest) + 120, 350), 740);
  root.classList.add("on-paper");
  find("#print").replaceChildren(pictureOf(planView, 1400, height, "Plan"), ...printedProfiles(),
    ...missingRows(MOST_PRINTED_ROWS), ...kinds.flatMap((_, kind) => printedTable(kind)));
  root.classList.remove("on-paper");
});
addEventListener("afterprint", () => find("#print").replaceChildren());
