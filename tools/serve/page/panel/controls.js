// What is moved and chosen in the panel: sliders with their default marked, choices, ticks, poses.
// Each shows a part of the state and changes it; none keeps a value of its own.
import { plain, toDegrees, toRadians } from "../format.js";
import { rounded } from "../map/handles.js";
import { h } from "./element.js";

const decimalsOf = (step) => (String(step).split(".")[1] ?? "").length;

/** The value of a setting with its unit, as people read it. */
export function valueText(setting, value) {
  const number = value.toFixed(decimalsOf(setting.step));
  return setting.unit ? `${number}${setting.unit === "\u00b0" ? "" : " "}${setting.unit}` : number;
}

function slider(setting, id, { get, set, usual }) {
  const output = h("output", { for: id });
  const input = h("input", {
    type: "range", id, min: setting.min, max: setting.max, step: setting.step,
    "aria-describedby": `${id}-about`, oninput: () => set(Number(input.value)),
  });
  const share = (usual() - setting.min) / (setting.max - setting.min);
  const back = h("button", {
    type: "button", class: "usual", title: `Default: ${valueText(setting, usual())}`,
    "aria-label": `${setting.label}: back to the default, ${valueText(setting, usual())}`,
    onclick: () => set(usual()),
  });
  back.style.left = `calc(8px + ${share} * (100% - 16px))`; // half a thumb at either end
  const update = () => {
    input.value = get();
    output.textContent = valueText(setting, get());
    input.ariaValueText = output.textContent;
  };
  const element = h("div", { class: "setting", title: setting.about },
    h("div", { class: "name" }, h("label", { for: id }, setting.label), output),
    h("div", { class: "track" }, input, back),
    h("span", { class: "unseen", id: `${id}-about` }, setting.about));
  return { element, update };
}

function choice(setting, id, { get, set, usual }) {
  const { element, update } = segments(id, setting.label, setting.choices, { get, set, usual });
  return {
    element: h("div", { class: "setting", title: setting.about }, h("div", { class: "name" }, setting.label), element),
    update,
  };
}

function tick(setting, id, { get, set }) {
  const input = h("input", { type: "checkbox", id, onchange: () => set(input.checked) });
  const element = h("label", { class: "choice setting", title: setting.about }, input, setting.label);
  return { element, update: () => (input.checked = get()) };
}

const controlFor = (setting) => (setting.choices ? choice : setting.flag ? tick : slider);

/** One of a few words; `usual` (where there is one) is marked with a dot. */
export function segments(name, label, words, { get, set, usual = () => null }) {
  const inputs = words.map((word) =>
    h("input", { type: "radio", name, value: word, id: `${name}-${word}`, onchange: () => set(word) }));
  const element = h("div", { class: "segments", role: "radiogroup", "aria-label": label },
    words.map((word, i) =>
      h("label", {}, inputs[i], h("span", { class: word === usual() ? "is-usual" : "" }, word))));
  return { element, update: () => inputs.forEach((input) => (input.checked = input.value === get())) };
}

/** Controls for settings that stand in the part `part` of the state; `panel` is whose they are. */
export function settingsGroup({ store }, panel, title, part, settings) {
  const controls = settings.map((setting) =>
    controlFor(setting)(setting, `${panel}-${setting.key}`, {
      get: () => store.get()[part][setting.key],
      set: (value) => store.set({ [part]: { ...store.get()[part], [setting.key]: value } }),
      usual: () => store.get().defaults[part][setting.key],
    }));
  const update = () => controls.forEach((control) => control.update());
  store.watch([part], update);
  update();
  return h("section", {}, h("h2", {}, title), controls.map(({ element }) => element));
}

/** Fields for a pose of the state: x, y, and a heading in degrees for what has one. */
export function poseFields({ store }, panel, key, label, hasHeading) {
  const field = (part, unit, name, show, read) => {
    const input = h("input", {
      type: "number", step: "any", "aria-label": `${label}, ${name}`, id: `${panel}-${key}-${part}`,
      onchange: () => {
        const value = Number(input.value);
        if (input.value === "" || !Number.isFinite(value)) return update();
        store.set({ [key]: rounded({ ...store.get()[key], [part]: read(value) }) });
      },
    });
    return { input, part, show, element: h("label", { "data-unit": unit }, input) };
  };
  const same = (value) => value;
  const fields = [field("x", "m", "x in metres", plain, same), field("y", "m", "y in metres", plain, same)];
  if (hasHeading) {
    fields.push(field("theta", "\u00b0", "heading in degrees", (value) => toDegrees(value).toFixed(0), toRadians));
  }
  const update = () => {
    const pose = store.get()[key];
    for (const { input, part, show } of fields) {
      if (pose && document.activeElement !== input) input.value = show(pose[part]);
    }
  };
  store.watch([key], update);
  update();
  return h("div", { class: "pose" }, h("span", {}, label), fields.map(({ element }) => element));
}
