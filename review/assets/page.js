// The page itself: where the reviewer stands, the keys and buttons, and what they change.

const element = (id) => document.getElementById(id);
const places = report.abstracts.flatMap((abstract, a) => abstract.pairs.map((_, p) => ({a, p})));

// `at` counts in `places`; `stays` while the last decision keeps its pair in view; `kept` while the
// browser keeps decisions.
const page = {at: 0, undecidedOnly: false, scores: false, stays: false, kept: true};

const here = () => places[page.at];
const abstractHere = () => report.abstracts[here().a];
const pairHere = () => abstractHere().pairs[here().p];
const rows = [];  // of the list, by abstract

const stillOpen = ({a, p}) => {
  const abstract = report.abstracts[a];
  return !isDecided(abstract) && !isDeclined(abstract, abstract.pairs[p]);
};

function say(text) {
  element("status").textContent = text;
}

function warnUnless(kept) {
  page.kept = kept;
  element("warning").hidden = kept;
  element("warning").textContent =
    kept ? "" : "This browser does not keep decisions: save them before you leave the page.";
}

function listState(abstract) {
  const {choice} = answerOf(abstract);
  if (choice !== null) return choice === "new" ? "new" : "same";
  const declined = abstract.pairs.filter((pair) => isDeclined(abstract, pair)).length;
  if (declined === abstract.pairs.length) return "none";
  return declined > 0 ? `${declined} of ${abstract.pairs.length}` : "";
}

function makeList() {
  report.abstracts.forEach((abstract, a) => {
    const state = make("span", {className: "state"});
    const button = make("button", {type: "button"},
      make("span", {className: "number"}, String(abstract.id)),
      make("span", {className: "name"}, fullName(abstract.person)), state);
    button.addEventListener("click", () => goTo(places.findIndex((place) => place.a === a)));
    const item = make("li", {}, button);
    rows.push({item, button, state});
    element("list").append(item);
  });
}

function showList() {
  const current = places.length > 0 ? here().a : -1;
  let decided = 0;
  rows.forEach(({item, button, state}, a) => {
    const done = isDecided(report.abstracts[a]);
    decided += done ? 1 : 0;
    item.hidden = page.undecidedOnly && done && a !== current;
    item.className = done ? "decided" : "";
    state.textContent = listState(report.abstracts[a]);
    if (a === current) button.setAttribute("aria-current", "true");
    else button.removeAttribute("aria-current");
  });
  const bar = element("progress");
  bar.max = Math.max(1, rows.length);
  bar.value = decided;
  element("progress-text").textContent = `${decided} of ${rows.length} abstracts decided`;
}

function showCandidates(abstract, pair) {
  element("candidates").replaceChildren(...abstract.pairs.map((candidate, p) => {
    const decided = verdict(abstract, candidate);
    const button = make("button", {type: "button"}, `Patient ${candidate.patient}`);
    if (page.scores) button.append(make("span", {className: "score"}, `score ${candidate.score}`));
    if (decided) {
      button.append(make("span", {className: `verdict ${decided}`}, verdictTexts[decided]));
    }
    button.setAttribute("aria-pressed", String(candidate === pair));
    button.addEventListener("click", () => goTo(page.at - here().p + p));
    return button;
  }));
}

function showOrigin(abstract) {
  element("origin").textContent = report.origin.flatMap(([, label, kind], i) =>
    abstract.origin[i] ? [`${label} ${shown(abstract.origin[i], kind)}`] : []).join(" \u00b7 ");
}

function show() {
  showList();
  const nothing = places.length === 0 ||
    (page.undecidedOnly && !page.stays && !places.some(stillOpen));
  element("nothing").hidden = !nothing;
  element("nothing").textContent = places.length === 0 ? "No pair is to be reviewed."
    : "Everything is decided. Save the decisions, or show the decided ones again.";
  element("candidates").hidden = nothing;
  document.querySelector(".heading").hidden = nothing;
  document.querySelector(".comparison").hidden = nothing;
  for (const id of ["same", "not", "new", "note", "previous", "next"]) {
    element(id).disabled = nothing;
  }
  element("undo").disabled = review.history.length === 0;
  if (nothing) return;

  const abstract = abstractHere(), pair = pairHere();
  element("title").replaceChildren(
    make("span", {className: "number"}, `Abstract ${abstract.id}  `), fullName(abstract.person));
  showOrigin(abstract);
  showCandidates(abstract, pair);
  fillPerson(element("person"), abstract, pair);
  fillTumors(element("tumor"), abstract, pair);
  element("scores").hidden = !page.scores;
  if (page.scores) fillScores(element("scores"), pair);
  else element("scores").replaceChildren();
  element("show-scores").setAttribute("aria-pressed", String(page.scores));
  const {choice, note} = answerOf(abstract);
  element("same").setAttribute("aria-pressed", String(choice === pair.patient));
  element("not").setAttribute("aria-pressed", String(isDeclined(abstract, pair)));
  element("new").setAttribute("aria-pressed", String(choice === "new"));
  element("note").value = note;
}

function goTo(at) {
  page.at = at;
  page.stays = false;
  show();
  document.querySelector("main").scrollTop = 0;
  rows[here().a].item.scrollIntoView({block: "nearest"});
  const {pairs, id} = abstractHere();
  say(`Abstract ${id}, patient ${pairHere().patient}` +
    (pairs.length > 1 ? `, ${here().p + 1} of ${pairs.length}` : ""));
}

// The next place in that direction that `wanted` allows. With only undecided pairs to see, the walk
// goes round; otherwise it ends at either end.
function walk(direction, wanted = () => true) {
  const count = places.length;
  for (let step = 1; step < count; ++step) {
    const at = page.at + direction * step;
    if ((at < 0 || at >= count) && !page.undecidedOnly) break;
    const place = (at + count) % count;
    if (wanted(places[place]) && (!page.undecidedOnly || stillOpen(places[place]))) {
      goTo(place);
      return;
    }
  }
  page.stays = false;
  show();
  say(page.undecidedOnly ? "No other pair is undecided."
    : direction > 0 ? "This is the last pair." : "This is the first pair.");
}

function take(what) {
  const abstract = abstractHere(), pair = pairHere(), from = here();
  warnUnless(decide(abstract, pair, what));
  if (what !== "no") walk(1, ({a}) => a !== from.a);
  else if (!isDecided(abstract)) walk(1);
  else stay();
  say(`${abstract.id}: ` + {
    same: `same person as patient ${pair.patient}.`,
    no: `not patient ${pair.patient}.` + (answerOf(abstract).choice === null && isDecided(abstract)
      ? " None is left: w for a new patient, j goes on." : ""),
    new: "new patient.",
  }[what] + (report.abstracts.every(isDecided) ? " Everything is decided." : ""));
}

// A pair declined as the last of its abstract stays, since the abstract may need a new patient.
function stay() {
  page.stays = true;
  show();
}

function takeBack() {
  const last = undo();
  if (!last) return;
  goTo(places.findIndex(({a, p}) => report.abstracts[a].id === last.abstract &&
    report.abstracts[a].pairs[p].patient === last.patient));
  say(`Undone: abstract ${last.abstract} is as it was.`);
}

function toggleScores() {
  page.scores = !page.scores;
  element("show-scores").firstChild.textContent = page.scores ? "Hide scores " : "Show scores ";
  show();
}

// A file of decisions without a reviewer's name would tell nobody who decided.
function save() {
  if (review.reviewer.trim() === "") {
    element("reviewer").focus();
    say("Who decided? Type your name, then save.");
    return;
  }
  const url = URL.createObjectURL(new Blob([decisionsCsv()], {type: "text/csv"}));
  make("a", {href: url, download: "decisions.csv"}).click();
  setTimeout(() => URL.revokeObjectURL(url), 10000);
  say("Saved as decisions.csv.");
}

function discard() {
  if (!confirm("Discard every decision and note of this report?")) return;
  warnUnless(discardAll());
  element("help").close();
  show();
}

const actions = {
  same: () => take("same"), not: () => take("no"), new: () => take("new"), undo: takeBack,
  next: () => walk(1), previous: () => walk(-1), "show-scores": toggleScores,
  "open-help": () => element("help").showModal(), save, discard,
  "close-help": () => element("help").close(),
};
const keys = {
  y: "same", n: "not", w: "new", u: "undo", s: "show-scores", "?": "open-help",
  j: "next", ArrowDown: "next", ArrowRight: "next",
  k: "previous", ArrowUp: "previous", ArrowLeft: "previous",
};

function pressed(event) {
  if (event.ctrlKey || event.metaKey || event.altKey || element("help").open) return;
  if (event.target instanceof HTMLInputElement && event.target.type !== "checkbox") {
    if (event.key === "Escape" || event.key === "Enter") event.target.blur();
    return;
  }
  const button = element(keys[event.key] ?? keys[event.key.toLowerCase()]);
  if (!button) return;
  event.preventDefault();
  if (!button.disabled && !event.repeat) button.click();
  else if (!button.disabled && (button.id === "next" || button.id === "previous")) button.click();
}

function start() {
  recall();
  makeList();
  for (const [id, action] of Object.entries(actions)) element(id).addEventListener("click", action);
  document.addEventListener("keydown", pressed);
  element("reviewer").value = review.reviewer;
  element("reviewer").addEventListener("input", ({target}) => {
    review.reviewer = target.value;
    warnUnless(keep());
  });
  element("note").addEventListener("input", ({target}) =>
    warnUnless(setNote(abstractHere(), target.value)));
  element("undecided-only").addEventListener("change", ({target}) => {
    page.undecidedOnly = target.checked;
    if (page.undecidedOnly && places.length > 0 && !stillOpen(here())) walk(1);
    else show();
  });
  window.addEventListener("storage", ({key}) => {
    if (key !== storageKey) return;
    recall();
    review.history = [];
    element("reviewer").value = review.reviewer;
    show();
  });
  window.addEventListener("beforeunload", (event) => {
    if (!page.kept && Object.keys(review.answers).length > 0) event.preventDefault();
  });
  window.addEventListener("beforeprint", () => fillPaper(element("paper"), page.scores));
  window.addEventListener("afterprint", () => element("paper").replaceChildren());
  element("about").textContent = `Made ${report.made}. ${places.length} pairs of ` +
    `${rows.length} abstracts at or above the cut-off of ${report.cutoff}; ` +
    `${report.unmatched} abstracts have no candidate there and are not in this page.`;
  warnUnless(keep());
  const open = places.findIndex(stillOpen);
  if (places.length > 0) goTo(Math.max(0, open));
  else show();
  document.documentElement.dataset.ready = "1";
}

start();
