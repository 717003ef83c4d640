// The modes as tabs, each with its panel, which is built when it is first shown.
import { h, icon } from "./element.js";

export function makeTabs(app, modes, list, panels) {
  const { store } = app;
  const built = new Map();

  const tabs = modes.map((mode) =>
    h("button", {
      type: "button", role: "tab", id: `tab-${mode.key}`, "aria-controls": `panel-${mode.key}`,
      onclick: () => store.set({ mode: mode.key }), onkeydown: onKey,
    }, icon(mode.icon), mode.label));
  list.append(...tabs);

  function onKey(event) {
    const by = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (!by) return;
    event.preventDefault();
    const place = modes.findIndex(({ key }) => key === store.get().mode);
    const next = modes[(place + by + modes.length) % modes.length];
    store.set({ mode: next.key });
    document.getElementById(`tab-${next.key}`).focus();
  }

  function build(mode) {
    const panel = h("div", { role: "tabpanel", id: `panel-${mode.key}`, "aria-labelledby": `tab-${mode.key}` },
      mode.buildPanel(app));
    built.set(mode.key, panel);
    panels.append(panel);
  }

  /** Shows the panel and the tab of a mode. */
  return function show(mode) {
    if (!built.has(mode.key)) build(mode);
    for (const [key, panel] of built) panel.hidden = key !== mode.key;
    tabs.forEach((tab, i) => {
      const isChosen = modes[i] === mode;
      tab.ariaSelected = String(isChosen);
      tab.tabIndex = isChosen ? 0 : -1;
    });
    panels.scrollTop = 0;
  };
}
