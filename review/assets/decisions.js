// What the reviewer decided. An abstract has one choice (a patient, or "new") or none, any number
// of patients that it is not, and a note. Everything is kept in the browser under the report's
// identifier, so that a reload loses nothing, and is shared by all tabs that show the report.

const storageKey = `qm-review-${report.id}`;

const review = {
  reviewer: "",
  answers: {},  // by abstract: {choice, by, declined: {patient: by}, note}
  history: [],  // what `undo` goes back to: {abstract, patient, answer}
};

function emptyAnswer() {
  return {choice: null, by: "", declined: {}, note: ""};
}

function answerOf(abstract) {
  return review.answers[abstract.id] ?? emptyAnswer();
}

function isDeclined(abstract, pair) {
  return Object.hasOwn(answerOf(abstract).declined, pair.patient);
}

function isDecided(abstract) {
  return answerOf(abstract).choice !== null ||
    abstract.pairs.every((pair) => isDeclined(abstract, pair));
}

// "same", "no", "new" (the whole abstract) or "".
function verdict(abstract, pair) {
  const {choice} = answerOf(abstract);
  if (choice === pair.patient) return "same";
  if (isDeclined(abstract, pair)) return "no";
  return choice === "new" ? "new" : "";
}

// `what` is "same", "no" or "new". The last word counts: a patient that is chosen is no longer
// declined, and the other way round.
function decide(abstract, pair, what) {
  const before = answerOf(abstract);
  review.history.push({abstract: abstract.id, patient: pair.patient, answer: before});
  const answer = structuredClone(before);
  if (what === "no") {
    answer.declined[pair.patient] = review.reviewer;
    if (answer.choice === pair.patient) answer.choice = null;
  } else {
    answer.choice = what === "new" ? "new" : pair.patient;
    answer.by = review.reviewer;
    if (what === "same") delete answer.declined[pair.patient];
  }
  review.answers[abstract.id] = answer;
  return keep();
}

// Gives where the decision was made, or nothing. A note that was written since stays.
function undo() {
  const last = review.history.pop();
  if (!last) return undefined;
  const note = review.answers[last.abstract]?.note ?? "";
  review.answers[last.abstract] = {...last.answer, note};
  keep();
  return last;
}

function setNote(abstract, note) {
  review.answers[abstract.id] = {...answerOf(abstract), note};
  return keep();
}

// False when the browser keeps nothing.
function keep() {
  try {
    const {reviewer, answers} = review;
    localStorage.setItem(storageKey, JSON.stringify({reviewer, answers}));
    return true;
  } catch {
    return false;
  }
}

function recall() {
  try {
    const kept = JSON.parse(localStorage.getItem(storageKey));
    review.reviewer = kept?.reviewer ?? "";
    review.answers = kept?.answers ?? {};
  } catch {
    review.answers = {};
  }
}

function discardAll() {
  review.answers = {};
  review.history = [];
  return keep();
}

function csvCell(value) {
  const text = String(value);
  return /[",\r\n]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
}

// A decision without a reviewer takes the one who is named when the file is saved.
function decisionsCsv() {
  const rows = [["abstract", "patient", "reviewer", "note"]];
  for (const abstract of report.abstracts) {
    const {choice, by, declined, note} = answerOf(abstract);
    for (const pair of abstract.pairs) {
      if (!Object.hasOwn(declined, pair.patient)) continue;
      const reviewer = declined[pair.patient] || review.reviewer;
      rows.push([abstract.id, `no ${pair.patient}`, reviewer, note]);
    }
    if (choice !== null) rows.push([abstract.id, choice, by || review.reviewer, note]);
  }
  return rows.map((row) => row.map(csvCell).join(",") + "\r\n").join("");
}
