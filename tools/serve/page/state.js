// The one place where the page's state stands. Whoever changes it calls `set`; whoever shows or
// sends some of it calls `watch` with the names of the parts, and is called once after each change
// of them, however many calls of `set` there were.

export function createStore(initial) {
  let state = initial;
  let changed = new Set();
  const watchers = [];

  function tellWatchers() {
    const keys = changed;
    changed = new Set();
    for (const { names, react } of watchers) {
      if (names.some((name) => keys.has(name))) react(state);
    }
  }

  return {
    get: () => state,

    /** Takes over the parts of `patch` that differ from what is there. */
    set(patch) {
      const news = Object.keys(patch).filter((key) => !Object.is(state[key], patch[key]));
      if (news.length === 0) return;
      if (changed.size === 0) queueMicrotask(tellWatchers);
      for (const key of news) changed.add(key);
      state = { ...state, ...patch };
    },

    /** Has `react(state)` called after each change of one of the parts called `names`. */
    watch(names, react) {
      watchers.push({ names, react });
    },
  };
}
