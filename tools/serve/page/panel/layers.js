// Which layer lies over the map, and what its colours mean.
import { fixed, metres } from "../format.js";
import { css, heat, mix } from "../map/palette.js";
import { LAYERS } from "../share/link.js";
import { h } from "./element.js";

const LABELS = { map: "Map", grown: "Grown obstacles", cost: "Cost to the goal", distance: "Distance to obstacles" };

/** Radio buttons for the layer, and a tick for the searched cells. */
export function layerChoice(store) {
  const radios = LAYERS.map((layer) =>
    h("input", {
      type: "radio", name: "layer", value: layer, id: `layer-${layer}`, onchange: () => store.set({ layer }),
    }));
  const showSearched = () => store.set({ searched: searched.checked });
  const searched = h("input", { type: "checkbox", id: "layer-searched", onchange: showSearched });
  const update = () => {
    const state = store.get();
    for (const radio of radios) radio.checked = radio.value === state.layer;
    searched.checked = state.searched;
  };
  store.watch(["layer", "searched"], update);
  update();
  return h("div", {},
    LAYERS.map((layer, i) => h("label", { class: "choice" }, radios[i], LABELS[layer])),
    h("label", { class: "choice" }, searched, "Searched cells"));
}

const swatch = (colour, text) => {
  const square = h("i");
  square.style.background = css(colour);
  return h("li", {}, square, text);
};

function ramp(colourAt, low, high) {
  const bar = h("div", { class: "ramp" });
  const stops = [0, 0.25, 0.5, 0.75, 1].map((share) => css(colourAt(share)));
  bar.style.background = `linear-gradient(90deg, ${stops.join(", ")})`;
  return [bar, h("div", { class: "ends" }, h("span", {}, low), h("span", {}, high))];
}

function grownLegend(colours) {
  return [h("ul", {}, swatch(colours.ink, "obstacle"), swatch(colours.near, "too near"),
    swatch(colours.costly, "open, but dearer"), swatch(colours.unknown, "unknown, closed"))];
}

/** What stands in the legend for a layer over the map, or null for none. */
function legendOf(info, colours) {
  if (info.kind === "grown") return grownLegend(colours);
  if (info.kind === "cost") {
    return ramp((share) => heat(colours, share), "cost 0", fixed(info.scale, 1));
  }
  return ramp((share) => mix(colours.paper, colours.path, share), "0 m", metres(info.scale, 1));
}

/** Shows the legend of the layers that are drawn over the map, and changes it only when they do. */
export function showLegend(element, { layers, colours }) {
  const over = layers.over?.info;
  const key = JSON.stringify([over?.kind, over?.scale, Boolean(layers.searched), colours.paper]);
  if (element.dataset.key === key) return;
  element.dataset.key = key;
  const parts = over ? legendOf(over, colours) : [];
  const order = (share) => mix(colours.early, colours.late, share);
  if (layers.searched) parts.push(...ramp(order, "searched first", "last"));
  element.hidden = parts.length === 0;
  element.replaceChildren(...parts);
}
