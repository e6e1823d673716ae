// Text and numbers as a person reads them, and elements of the page. Whatever comes from a job
// goes into the page as text alone: nothing here takes markup.

/** Shows control characters as their pictures, so that nothing of a name is hidden.
 * @param {string} text */
function visible(text) {
  return text.replace(/[\u0000-\u001f\u007f-\u009f]/g, (character) => {
    const code = character.charCodeAt(0);
    if (code < 0x20) return String.fromCharCode(0x2400 + code);
    return code === 0x7f ? "\u2421" : "\ufffd";
  });
}

/** A number with a sensible number of decimals; its title and copy have all of them.
 * @param {number} value @param {number} [decimals] */
function readable(value, decimals = 3) {
  if (Number.isInteger(value) && Math.abs(value) < 1e15 && decimals === 0) return String(value);
  const size = Math.abs(value);
  if (size !== 0 && (size >= 1e10 || size < 10 ** -decimals / 2)) return String(Number(value.toPrecision(6)));
  return value.toFixed(decimals);
}

/** A grade, which is stored as rise over run. @param {number} grade */
function percent(grade) {
  const text = (grade * 100).toFixed(2);
  return `${text === "-0.00" ? "0.00" : text} %`;
}

/** @param {number} count @param {string} one @param {string} [many] */
function counted(count, one, many = `${one}s`) {
  return `${count.toLocaleString("en")} ${count === 1 ? one : many}`;
}

/** Makes an element. Properties are set as properties, those that begin with a capital as
 * listeners ("Click"), and those with a minus as attributes.
 * @param {string} tag @param {Object<string, any>} [properties] @param {...(Node|string)} children
 * @returns {any} */
function make(tag, properties = {}, ...children) {
  /** @type {any} */
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (/^[A-Z]/.test(name)) element.addEventListener(name.toLowerCase(), value);
    else if (name.includes("-") || name === "role") element.setAttribute(name, value);
    else element[name] = value;
  }
  element.append(...children);
  return element;
}

/** @param {string} selector @returns {any} */
function find(selector) {
  return document.querySelector(selector);
}

/** A cell with a number: rounded to look at, whole on hover and in what is copied.
 * @param {string} tag @param {number} value @param {boolean} isReal */
function numberCell(tag, value, isReal) {
  const cell = make(tag, { className: "number" }, readable(value, isReal ? 3 : 0));
  if (isReal) {
    cell.title = String(value);
    cell.dataset.full = String(value);
  }
  return cell;
}

// What is copied has each number with all its decimals.
document.addEventListener("copy", (event) => {
  const selected = getSelection();
  if (event.target instanceof HTMLInputElement || !event.clipboardData) return;
  if (!selected || selected.isCollapsed) return;
  const range = selected.getRangeAt(0);
  const inside = range.commonAncestorContainer;
  const parent = inside instanceof Element ? inside : inside.parentElement;
  /** @type {HTMLElement|null|undefined} */
  const alone = parent?.closest("[data-full]");
  let text = alone?.dataset.full;
  if (text === undefined) {
    // As the browser itself writes rows and lists as text, for which they must be in the page.
    const copied = make("div", { className: "copied" }, range.cloneContents());
    const cells = copied.querySelectorAll("[data-full]");
    if (cells.length === 0) return;
    for (const cell of cells) cell.textContent = cell.dataset.full;
    document.body.append(copied);
    text = /** @type {string} */ (copied.innerText).trim();
    copied.remove();
  }
  event.clipboardData.setData("text/plain", text);
  event.preventDefault();
});
