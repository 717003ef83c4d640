// How the search ranks: a page that names the word as one of those it answers comes first, then
// titles, names of the library, and words in the text.
const answers = {/* words */};

const asked = (new URLSearchParams(window.location.search).get("q") || "")
  .toLowerCase().split(/[^\p{L}\p{N}_+:-]+/u).filter((word) => word);

var Scorer = {
  // result: page, title, anchor, description, score, file
  score: (result) => {
    const words = answers[result[0]] || [];
    const named = asked.filter((word) => words.includes(word)).length;
    // The page itself, not a section of it or a name on it.
    return result[4] + (named && !result[2] ? 100 * named : 0);
  },
  objNameMatch: 11,
  objPartialMatch: 6,
  objPrio: {0: 15, 1: 5, 2: -5},
  objPrioDefault: 0,
  title: 15,
  partialTitle: 7,
  term: 5,
  partialTerm: 2,
};
