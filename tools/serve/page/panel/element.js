// Elements of the page in one line.

const SVG = "http://www.w3.org/2000/svg";
const SVG_TAGS = new Set(["svg", "path", "line", "circle"]);

/** h("button", { type: "button", onclick: go }, "Go"): an element with attributes and children. */
export function h(tag, attributes = {}, ...children) {
  const element = SVG_TAGS.has(tag) ? document.createElementNS(SVG, tag) : document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else if (value === true) element.setAttribute(name, "");
    else if (value !== false && value !== null && value !== undefined) element.setAttribute(name, value);
  }
  element.append(...children.flat().filter((child) => child !== null && child !== undefined));
  return element;
}

/** A drawing of 24 x 24 in the text's own colour, for buttons whose words stand in a label. */
export const icon = (path) =>
  h("svg", { class: "icon", viewBox: "0 0 24 24", "aria-hidden": "true" }, h("path", { d: path }));

export function button(label, onclick, { main = false, id } = {}) {
  return h("button", { type: "button", class: main ? "button main" : "button", onclick, id }, label);
}
