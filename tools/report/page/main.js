// The page as a whole: what is selected, and what its head says.

/** @type {Reference|null} */
let selection = null;

/** @param {Reference|null} reference  what the pointer chose */
function select(reference) {
  const { scrollX, scrollY } = window;
  if (reference) location.hash = addressOf(reference);
  else if (location.hash !== "") location.hash = "";
  scrollTo(scrollX, scrollY); // an empty address leads to the top
}

/** The element that an address names: #kind/name or #kind:number.
 * @param {string} hash @returns {Reference|null} */
function elementOf(hash) {
  const match = /^#([a-z-]+)([/:])(.*)$/s.exec(hash);
  if (!match) return null;
  const kind = kinds.findIndex(({ name }) => name === match[1]);
  if (kind < 0) return null;
  let name = match[3];
  try {
    name = decodeURIComponent(name);
  } catch {
    return null;
  }
  const row = match[2] === ":" ? Number(name) - 1 : kinds[kind].byName.get(name);
  return row !== undefined && kinds[kind].rows[row] ? { kind, row } : null;
}

/** The profile that belongs to an element: itself, or the one that has the name of a chain which
 * uses it. @param {Reference} reference */
function profileFor(reference) {
  const names = reference.kind === PROFILE || reference.kind === CHAIN
    ? [kinds[reference.kind].rows[reference.row][0]]
    : usedBy(reference.kind, reference.row).filter(({ kind }) => kind === CHAIN)
      .map(({ kind, row }) => kinds[kind].rows[row][0]);
  return profileLines.findIndex((line) => names.includes(kinds[PROFILE].rows[line.row][0]));
}

/** The profile to look at first: of those that belong to a chain, else of all, the one with most
 * curves. */
function firstProfile() {
  const curves = profileLines.map((line) => line.pieces.filter(([kind]) => kind === PIECE_CURVE).length +
    (kinds[CHAIN].byName.has(kinds[PROFILE].rows[line.row][0]) ? 1e6 : 0));
  return curves.reduce((best, number, at) => (number > curves[best] ? at : best), 0);
}

function showSelection() {
  const before = selection;
  selection = elementOf(location.hash);
  const panel = find("#detail");
  panel.hidden = selection === null;
  find("#top").classList.toggle("with-detail", selection !== null);
  if (selection) {
    panel.replaceChildren(...detailOf(selection));
    panel.scrollTop = 0;
    const TITLE = 60; // pixels of the plan that are not enough to see anything
    if (find("#top").getBoundingClientRect().bottom < TITLE) find("#top").scrollIntoView();
    showInPlan(selection, before === null || before.kind !== selection.kind || before.row !== selection.row);
    const profile = profileFor(selection);
    if (profile >= 0 && profile !== shownProfile) showProfile(profile);
    showKind(selection.kind);
    scrollTableTo(selection.row);
  } else {
    showSeenRows();
  }
  repaint(planView);
  repaint(profileView);
}

/** What could not be read or drawn, as parts of the printed page or of the list.
 * @param {number} [most]  rows of each */
function missingRows(most = Infinity) {
  const list = make("ul");
  for (const { kind, row, reason } of unreadable.slice(0, most)) {
    list.append(row === null ? make("li", {}, reason)
      : make("li", {}, `${kinds[kind].label} `, linkTo({ kind, row }), `: cannot be read: ${reason}`));
  }
  for (const { kind, row, reason } of notDrawn.slice(0, most)) {
    list.append(make("li", {}, `${kinds[kind].label} `, linkTo({ kind, row }),
      `: ${drawnPart(kind, row)}: ${reason}`));
  }
  const left = unreadable.length + notDrawn.length - list.children.length;
  if (left > 0) list.append(make("li", {}, `${counted(left, "further element")} not printed`));
  return list.children.length > 0 ? [make("div", {}, make("h2", {}, "What is missing"), list)] : [];
}

function showHead() {
  kinds.forEach((kind, at) => {
    const count = kind.count === null ? "?" : kind.count.toLocaleString("en");
    find("#counts").append(make("a", { href: "#tables", Click: (/** @type {Event} */ event) => {
      event.preventDefault();
      showKind(at);
      find("#tables").scrollIntoView({ behavior: "smooth" });
    } }, make("b", {}, count), ` ${kind.count === 1 ? kind.label : kind.plural}`));
  });
  const parts = [];
  if (unreadable.length > 0) parts.push(`${unreadable.length} could not be read`);
  if (notDrawn.length > 0) parts.push(`${notDrawn.length} not drawn, or not whole`);
  if (parts.length === 0) return;
  const gaps = find("#gaps");
  gaps.hidden = false;
  const list = make("div", { hidden: true, className: "missing" });
  gaps.append(`Of all elements ${parts.join(", ")}. `, make("a", { href: "#", Click: (/** @type {Event} */ event) => {
    event.preventDefault();
    if (list.children.length === 0) list.append(...missingRows());
    list.hidden = !list.hidden;
  } }, "Show the list"));
  gaps.after(list);
}

showHead();
showTable();
if (profileLines.length > 0) showProfile(firstProfile());
addEventListener("hashchange", showSelection);
if (location.hash !== "") showSelection();
