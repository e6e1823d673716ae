// Search over the names of all kinds, with the keyboard: slash to begin, arrows, Enter, Escape.

const MOST_RESULTS = 30;

/** Elements whose name is the text, begins with it or contains it, in this order.
 * @param {string} text @returns {Reference[]} */
function elementsLike(text) {
  const sought = text.trim().toLowerCase();
  if (sought === "") return [];
  /** @type {Reference[][]} */
  const ranks = [[], [], []];
  kinds.forEach(({ rows }, kind) => {
    rows.forEach(([name], row) => {
      if (name === null) return;
      const at = name.toLowerCase().indexOf(sought);
      if (at < 0) return;
      const rank = at > 0 ? 2 : Number(name.length > sought.length);
      if (ranks[rank].length < MOST_RESULTS) ranks[rank].push({ kind, row });
    });
  });
  return ranks.flat().slice(0, MOST_RESULTS);
}

/** @type {Reference[]} */
let results = [];
let chosen = 0;

function showResults() {
  const list = find("#search-results");
  const text = find("#search-text").value;
  results = elementsLike(text);
  list.hidden = text.trim() === "";
  list.replaceChildren(...results.map((result, at) => make("li",
    { role: "option", "aria-selected": String(at === chosen), Mousedown: (/** @type {Event} */ event) => {
      event.preventDefault();
      take(at);
    } }, nameOf(result.kind, result.row), make("span", { className: "kind" }, kinds[result.kind].label))));
  if (results.length === 0) list.append(make("li", { className: "none" }, "No element of that name"));
}

/** @param {number} at */
function take(at) {
  if (!results[at]) return;
  find("#search-results").hidden = true;
  find("#search-text").blur();
  location.hash = addressOf(results[at]);
}

find("#search-text").addEventListener("input", () => {
  chosen = 0;
  showResults();
});
find("#search-text").addEventListener("focus", showResults);
find("#search-text").addEventListener("blur", () => { find("#search-results").hidden = true; });
find("#search-text").addEventListener("keydown", (/** @type {KeyboardEvent} */ event) => {
  if (event.key === "ArrowDown" || event.key === "ArrowUp") {
    event.preventDefault();
    chosen = Math.min(Math.max(chosen + (event.key === "ArrowDown" ? 1 : -1), 0), results.length - 1);
    showResults();
    find("#search-results [aria-selected='true']")?.scrollIntoView({ block: "nearest" });
  } else if (event.key === "Escape") {
    find("#search-text").value = "";
    find("#search-text").blur();
  }
});
find("#search").addEventListener("submit", (/** @type {Event} */ event) => {
  event.preventDefault();
  take(chosen);
});
document.addEventListener("keydown", (event) => {
  const inText = event.target instanceof HTMLInputElement && event.target.type === "search";
  if (event.key === "/" && !inText && !event.ctrlKey && !event.metaKey) {
    event.preventDefault();
    find("#search-text").focus();
    find("#search-text").select();
  }
});
