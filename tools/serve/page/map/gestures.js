// Pointers, wheel and keys on the map: one pointer moves it or draws, two zoom, a short press is a
// click. Whoever listens is told in pixels of the canvas.

const CLICK_PIXELS = 5;
const WHEEL_RATE = 0.0016; // of zooming, for a pixel of the wheel
const KEY_STEP = 80;       // pixels
const KEY_ZOOM = 1.4;

const middle = ([a, b]) => ({ x: (a.x + b.x) / 2, y: (a.y + b.y) / 2 });
const distance = ([a, b]) => Math.hypot(a.x - b.x, a.y - b.y);

/**
 * `hear` is { pan(dx, dy), zoom(point, factor), click(point), hover(point or null), showAll(),
 * stroke } where `stroke()` gives null, or { begin(point), move(point), end(), cancel() } while one
 * pointer draws.
 */
export function listenToGestures(canvas, hear) {
  const pointers = new Map();
  let travelled = 0;
  let stroke = null;

  const place = (event) => {
    const box = canvas.getBoundingClientRect();
    return { x: event.clientX - box.left, y: event.clientY - box.top };
  };

  function startStroke(event, at) {
    stroke = event.button === 0 && !event.shiftKey ? hear.stroke() : null;
    stroke?.begin(at);
  }

  canvas.addEventListener("pointerdown", (event) => {
    canvas.setPointerCapture(event.pointerId);
    canvas.focus({ preventScroll: true, focusVisible: false });
    const at = place(event);
    pointers.set(event.pointerId, at);
    if (pointers.size === 1) {
      travelled = 0;
      startStroke(event, at);
    } else {
      travelled = Infinity;
      stroke?.cancel();
      stroke = null;
    }
  });

  canvas.addEventListener("pointermove", (event) => {
    const at = place(event);
    hear.hover(at);
    const before = pointers.get(event.pointerId);
    if (!before) return;
    const wasPair = [...pointers.values()];
    pointers.set(event.pointerId, at);
    if (pointers.size === 1) moveOne(before, at);
    if (pointers.size === 2) moveTwo(wasPair, [...pointers.values()]);
  });

  function moveOne(before, at) {
    travelled += Math.hypot(at.x - before.x, at.y - before.y);
    if (stroke) stroke.move(at);
    else if (travelled > CLICK_PIXELS) hear.pan(at.x - before.x, at.y - before.y);
  }

  function moveTwo(before, after) {
    const from = middle(before);
    const to = middle(after);
    hear.pan(to.x - from.x, to.y - from.y);
    if (distance(before) > 1) hear.zoom(to, distance(after) / distance(before));
  }

  canvas.addEventListener("pointerup", (event) => {
    if (!pointers.delete(event.pointerId)) return;
    if (stroke) stroke.end();
    else if (travelled <= CLICK_PIXELS && event.button === 0) hear.click(place(event));
    stroke = null;
  });

  canvas.addEventListener("pointercancel", (event) => {
    pointers.delete(event.pointerId);
    stroke?.cancel();
    stroke = null;
  });

  canvas.addEventListener("pointerleave", () => hear.hover(null));

  canvas.addEventListener("wheel", (event) => {
    event.preventDefault();
    const pixels = event.deltaMode === 0 ? event.deltaY : event.deltaY * 30;
    const rate = event.ctrlKey ? 6 * WHEEL_RATE : WHEEL_RATE; // a pinch on a touchpad
    hear.zoom(place(event), Math.exp(-rate * Math.max(-400, Math.min(400, pixels))));
  }, { passive: false });

  canvas.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const centre = { x: canvas.clientWidth / 2, y: canvas.clientHeight / 2 };
    const actions = {
      ArrowLeft: () => hear.pan(KEY_STEP, 0),
      ArrowRight: () => hear.pan(-KEY_STEP, 0),
      ArrowUp: () => hear.pan(0, KEY_STEP),
      ArrowDown: () => hear.pan(0, -KEY_STEP),
      "+": () => hear.zoom(centre, KEY_ZOOM),
      "=": () => hear.zoom(centre, KEY_ZOOM),
      "-": () => hear.zoom(centre, 1 / KEY_ZOOM),
      "0": () => hear.showAll(),
    };
    if (!actions[event.key]) return;
    event.preventDefault();
    actions[event.key]();
  });
}
