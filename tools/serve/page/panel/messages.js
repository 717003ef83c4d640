// What the page says to people: aloud for screen readers, and for some seconds on the screen.

const SECONDS = 4;

export function makeMessages(status, toast) {
  let timer = null;

  function say(sentence) {
    status.textContent = sentence;
    toast.textContent = sentence;
    toast.hidden = false;
    clearTimeout(timer);
    timer = setTimeout(() => (toast.hidden = true), 1000 * SECONDS);
  }

  /** Tells what went wrong: the program's own sentence, or that it is gone. */
  function fail(problem) {
    const isGone = problem instanceof TypeError && !problem.status;
    const isSilent = isGone && /fetch/i.test(problem.message);
    say(isSilent ? "The program does not answer. Is it still running?" : problem.message);
  }

  return { say, fail };
}
