// Everything that the page asks of the program. Poses are objects with x, y and theta on this side
// and arrays on the other.

export const poseArray = ({ x, y, theta }) => [x, y, theta ?? 0];
export const pointArray = ({ x, y }) => [x, y];
export const poseOf = ([x, y, theta]) => ({ x, y, theta: theta ?? 0 });

/** A request that the program refused, with its sentence for people. */
export class Refusal extends Error {
  constructor(status, sentence) {
    super(sentence);
    this.status = status;
  }
}

async function answerOf(response) {
  if (response.ok) return response;
  const { error } = await response.json().catch(() => ({ error: response.statusText }));
  throw new Refusal(response.status, error);
}

let pending = 0; // requests that have no answer yet

async function request(path, options) {
  ++pending;
  try {
    return await fetch(`/api/${path}`, options);
  } finally {
    --pending;
  }
}

const get = async (path) => (await answerOf(await request(path))).json();

async function send(method, path, body) {
  const headers = { "Content-Type": "application/json" };
  const response = await request(path, { method, headers, body: JSON.stringify(body) });
  return (await answerOf(response)).json();
}

const post = (path, body) => send("POST", path, body);

export const api = {
  pending: () => pending,
  map: () => get("map"),
  scans: () => get("scans"),
  scan: (number) => get(`scans/${number}`),
  cell: (at, layer) => post("cell", layer ? { at, layer } : { at }),
  layer: (request) => post("layers", request),
  plan: (request) => post("plan", request),
  sense: (request) => post("scan", request),
  locate: (request) => post("locate", request),
  drive: (request) => post("drive", request),
  explore: (request) => post("explore", request),
  control: (session, change) => post(`sessions/${session}`, change),
  stop: (session) => send("DELETE", `sessions/${session}`, {}),
  draw: (strokes) => post("draw", { strokes }),
  undo: () => post("undo", {}),

  /** The bytes of a tile, or null when the program no longer has them. */
  async tile(layer, level, x, y, revision) {
    const response = await request(`tiles/${layer}/${level}/${x}/${y}?r=${revision}`);
    return response.ok ? new Uint8Array(await response.arrayBuffer()) : null;
  },

  /**
   * The events of a session: `hear` maps their names to functions of their data; `lost()` is called
   * when the stream breaks off before its end.
   */
  events(path, hear, lost) {
    const source = new EventSource(path);
    for (const [name, react] of Object.entries(hear)) {
      source.addEventListener(name, (event) => react(JSON.parse(event.data)));
    }
    source.addEventListener("end", () => source.close());
    source.addEventListener("error", () => {
      source.close(); // and does not call again: a session is told only once
      lost();
    });
    return source;
  },
};

/**
 * A function that runs `task` with its newest argument, one run at a time: calls made meanwhile
 * wait, and only the last of them is run. `fail` is told of what goes wrong.
 */
export function newestOnly(task, fail) {
  let isRunning = false;
  let waiting = null;
  return async function run(argument) {
    waiting = { argument };
    if (isRunning) return;
    isRunning = true;
    while (waiting) {
      const next = waiting;
      waiting = null;
      await Promise.resolve(next.argument).then(task).catch(fail);
    }
    isRunning = false;
  };
}
