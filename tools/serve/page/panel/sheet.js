// The panel on a telephone: a sheet that is pulled up and down by its grip.

const SIZES = ["small", "medium", "large"];
const TAP_PIXELS = 6;

export function makeSheet(sheet, grip) {
  let from = null;

  function resize(size) {
    sheet.dataset.size = size;
    grip.ariaExpanded = String(size !== "small");
  }

  const step = (by) => {
    const place = SIZES.indexOf(sheet.dataset.size ?? "medium") + by;
    resize(SIZES[Math.min(SIZES.length - 1, Math.max(0, place))]);
  };

  grip.addEventListener("pointerdown", (event) => {
    grip.setPointerCapture(event.pointerId);
    from = event.clientY;
  });
  grip.addEventListener("pointerup", (event) => {
    const pulled = from - event.clientY;
    if (Math.abs(pulled) > TAP_PIXELS) step(Math.sign(pulled));
    else resize(sheet.dataset.size === "small" ? "medium" : "small");
  });
  grip.addEventListener("keydown", (event) => {
    const by = { ArrowUp: 1, ArrowDown: -1 }[event.key];
    if (by) step(by);
    else if (event.key === "Enter" || event.key === " ") resize(sheet.dataset.size === "small" ? "medium" : "small");
    else return;
    event.preventDefault();
  });
  resize("medium");
}
