// All pairs, compactly, for printing: made when the browser asks for it and taken away afterwards.

function paperAnswer(abstract, pair) {
  const decided = verdict(abstract, pair);
  const boxes = Object.entries(verdictTexts).map(([name, text]) =>
    make("span", {}, `${name === decided ? "\u2612" : "\u2610"} ${text}`));
  const {note} = answerOf(abstract);
  return make("p", {className: "answer"}, ...boxes, make("span", {}, `Note: ${visible(note)}`));
}

function paperScore(pair) {
  const parts = pair.rules.flatMap(([added], i) =>
    added === 0 ? [] : [`${visible(report.rules[i])} ${signed(added)}`]);
  return make("p", {}, `Score ${pair.score}: ${parts.join(", ")}`);
}

function paperPair(abstract, pair, withScores) {
  const className = pair.tumors.length > 2 ? "sides many" : "sides";
  const sides = make("div", {className}, fillPerson(make("table"), abstract, pair),
    fillTumors(make("table"), abstract, pair));
  return make("article", {}, sides, withScores ? paperScore(pair) : "",
    paperAnswer(abstract, pair));
}

function fillPaper(paper, withScores) {
  const decided = report.abstracts.filter(isDecided).length;
  const header = make("header", {}, make("h1", {}, "Match review"),
    make("p", {}, `Made ${report.made}; ${decided} of ${report.abstracts.length} abstracts` +
      ` decided; reviewer: ${visible(review.reviewer) || "____________________"}`));
  if (withScores) header.append(histogram());
  paper.replaceChildren(header);
  for (const abstract of report.abstracts) {
    const [first, ...rest] = abstract.pairs.map((pair) => paperPair(abstract, pair, withScores));
    first.prepend(make("h2", {}, `Abstract ${abstract.id}: ${fullName(abstract.person)}`));
    paper.append(first, ...rest);
  }
}
