// What is read in the panel: numbers with their names, tables, notices.
import { duration } from "../format.js";
import { h } from "./element.js";

/** A grid of numbers: names are { key: label }; `show({ key: text or [text, unit] })` fills it. */
export function numbers(names) {
  const fields = {};
  const element = h("dl", { class: "numbers" }, Object.entries(names).map(([key, label]) => {
    fields[key] = h("dd", { id: `number-${key}` }, "\u2013");
    return h("div", {}, h("dt", {}, label), fields[key]);
  }));
  const show = (values) => {
    for (const [key, field] of Object.entries(fields)) {
      const [text, unit] = [values[key] ?? "\u2013"].flat();
      field.replaceChildren(text, unit ? h("small", {}, ` ${unit}`) : "");
    }
  };
  return { element, show };
}

/** A number and its unit, from "31.8 m" and the like. */
export const withUnit = (text) => text.split(/ (?=[^ ]+$)/);

/** A table with a row of headings; rows are arrays of texts or elements. */
export function table(headings, id) {
  const body = h("tbody");
  const element = h("table", { class: "table", id },
    h("thead", {}, h("tr", {}, headings.map((text) => h("th", { scope: "col" }, text)))), body);
  const show = (rows) => {
    body.replaceChildren(...rows.map((row) => h("tr", {}, row.map((cell) => h("td", {}, cell)))));
    element.hidden = rows.length === 0;
  };
  show([]);
  return { element, show };
}

/** How long stages took, in microseconds, with bars to compare them. */
export function stageTable(id) {
  const { element, show } = table(["stage", "time", ""], id);
  return {
    element,
    show(stages) {
      const longest = Math.max(1, ...Object.values(stages));
      show(Object.entries(stages).map(([name, microseconds]) => {
        const bar = h("span", { class: "bar" });
        bar.style.width = `${(100 * microseconds) / longest}%`;
        const cell = h("div", { class: "bars" }, bar);
        return [name, duration(microseconds / 1000), cell];
      }));
    },
  };
}

/** What is in the way, with buttons that help. Hidden while there is nothing to say. */
export function notice(id) {
  const element = h("div", { class: "notice", id, role: "status", hidden: true });
  const show = (sentence, ...buttons) => {
    element.hidden = !sentence;
    element.replaceChildren(h("p", {}, sentence ?? ""), ...buttons.filter(Boolean));
  };
  return { element, show };
}

/** A sentence begins with a capital and ends with a full stop. */
export const asSentence = (text) => `${text[0].toUpperCase()}${text.slice(1)}.`;
