// The window with the code for what is on the screen.
import { button, h } from "../panel/element.js";
import { segments } from "../panel/controls.js";
import { planAsCommand, planInCpp, planInPython } from "./code_plan.js";
import {
  locateAsCommand, locateInCpp, locateInPython, senseAsCommand, senseInCpp, senseInPython,
} from "./code_sense.js";

const LANGUAGES = ["C++", "Python", "Command"];

const GENERATORS = {
  plan: { "C++": planInCpp, Python: planInPython, Command: planAsCommand },
  sense: { "C++": senseInCpp, Python: senseInPython, Command: senseAsCommand },
  locate: { "C++": locateInCpp, Python: locateInPython, Command: locateAsCommand },
};

/** Which program fits a mode: those that drive and draw plan, too. */
const topicOf = (mode) => ({ sense: "sense", locate: "locate", log: "locate" })[mode] ?? "plan";

/** The path that the code reads the map from; a map that was drawn on is the one to download. */
const mapPath = ({ mapName, revision, kind }) => (revision === 0 && kind === "map" ? mapName : "map.yaml");

/** The code in a language for a state of the page. */
export function codeFor(state, language) {
  const { start, goal, robot, planner, scanner, scanNumber, mapName, kind } = state;
  const screen = { map: mapPath(state), start, goal, robot, planner, scanner,
    log: { path: kind === "log" ? mapName : "robot.log.gz", scan: scanNumber } };
  return GENERATORS[topicOf(state.mode)][language](screen);
}

async function copy(text, say) {
  try {
    await navigator.clipboard.writeText(text);
    say("Copied");
  } catch {
    say("The browser did not let it be copied; select the text and copy it");
  }
}

export function makeCodeDialog({ store, say }, dialog) {
  let language = LANGUAGES[0];
  const text = h("pre", { tabindex: 0, id: "code-text", "aria-label": "Code" });
  const hint = h("p", { class: "hint" });
  const choice = segments("language", "Language", LANGUAGES, {
    get: () => language,
    set(chosen) {
      language = chosen;
      update();
    },
  });

  function update() {
    const state = store.get();
    choice.update();
    text.textContent = codeFor(state, language);
    const isSaved = mapPath(state) !== "map.yaml";
    hint.textContent = isSaved
      ? "Runs in the directory in which the program was started."
      : "Save the map first: Draw, map.yaml and map.pgm, into the directory in which this runs.";
  }

  dialog.append(
    h("header", {}, h("h2", { id: "code-title" }, "Take it home")),
    h("div", { class: "body" }, choice.element, text, hint,
      h("div", { class: "row" },
        button("Close", () => dialog.close()),
        button("Copy", () => copy(text.textContent, say), { main: true, id: "copy-code" }))));

  return () => {
    update();
    dialog.showModal();
  };
}
