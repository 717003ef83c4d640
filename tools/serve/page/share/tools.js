// The buttons on the map: zoom, theme, link, picture, code.
import { icon, h } from "../panel/element.js";

const THEMES = ["auto", "light", "dark"];
const THEME_KEY = "korrin-theme";

const ICONS = {
  in: "M12 5v14M5 12h14",
  out: "M5 12h14",
  all: "M4 9V4h5M20 9V4h-5M4 15v5h5M20 15v5h-5",
  theme: "M12 4a8 8 0 1 0 0 16zM12 4a8 8 0 0 1 0 16",
  link: "M10 14a4 4 0 0 0 6 .5l3-3a4 4 0 0 0-6-6l-1 1M14 10a4 4 0 0 0-6-.5l-3 3a4 4 0 0 0 6 6l1-1",
  picture: "M4 5h16v14H4zM4 16l5-5 4 4 3-3 4 4M15 9h.01",
  code: "M8 7l-5 5 5 5M16 7l5 5-5 5M14 5l-4 14",
};

function storedTheme() {
  try {
    return localStorage.getItem(THEME_KEY);
  } catch {
    return null; // a browser that keeps nothing
  }
}

function storeTheme(theme) {
  try {
    localStorage.setItem(THEME_KEY, theme);
  } catch {
    // the theme then lasts as long as the page
  }
}

/** Puts a theme in force: "light", "dark", or whatever the system has. */
function applyTheme(theme) {
  document.documentElement.dataset.theme = theme;
}

export function startTheme() {
  const theme = storedTheme();
  applyTheme(THEMES.includes(theme) ? theme : "auto");
}

function nextTheme(board, say) {
  const now = document.documentElement.dataset.theme;
  const theme = THEMES[(THEMES.indexOf(now) + 1) % THEMES.length];
  applyTheme(theme);
  storeTheme(theme);
  board.readTheme();
  say(theme === "auto" ? "Light or dark as the system has it" : `Always ${theme}`);
}

function savePicture(board, name) {
  board.paintNow();
  board.canvas.toBlob((blob) => {
    const address = URL.createObjectURL(blob);
    h("a", { href: address, download: `${name}.png` }).click();
    setTimeout(() => URL.revokeObjectURL(address), 10000);
  });
}

async function copyLink(say) {
  try {
    await navigator.clipboard.writeText(location.href);
    say("The link is copied; it shows what is on the screen");
  } catch {
    say("Copy the link from the address bar; it shows what is on the screen");
  }
}

/** Fills the two groups of buttons: what takes the screen home, and what moves the view. */
export function fillTools({ sharing, zooming }, { store, board, say }, { zoom, showCode, writeLink }) {
  const tool = (name, label, onclick) => {
    const shape = icon(ICONS[name]);
    return h("button", { type: "button", id: `tool-${name}`, title: label, "aria-label": label, onclick }, shape);
  };
  const shareLink = () => {
    writeLink();
    copyLink(say);
  };
  sharing.append(
    tool("code", "Copy as C++, Python or command", showCode),
    tool("link", "Copy a link to this", shareLink),
    tool("picture", "Save the picture", () => savePicture(board, store.get().mapName.replace(/\.\w+$/, ""))),
    tool("theme", "Light, dark, or as the system has it", () => nextTheme(board, say)));
  zooming.append(
    tool("all", "Show the whole map", () => board.showAll()),
    tool("in", "Zoom in", () => zoom(1.5)),
    tool("out", "Zoom out", () => zoom(1 / 1.5)));
}
