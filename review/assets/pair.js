// The comparison tables of one pair: fields down, the abstract and what it is compared with across.

const markTags = {changed: "mark", gone: "del", added: "ins"};

function cell(value, kind, pieces) {
  const text = shown(value, kind);
  if (text === "") {
    return make("td", {className: "none"}, make("span", {ariaHidden: "true"}, "\u2014"),
      make("span", {className: "assistive"}, "no value"));
  }
  const content = make("bdi", {});
  for (const piece of pieces ?? [{text, mark: "same"}]) {
    const tag = markTags[piece.mark];
    content.append(tag ? make(tag, {}, piece.text) : piece.text);
  }
  const label = codeLabel(value, kind);
  return make("td", {}, content, label && make("span", {className: "code"}, label));
}

// One line: the abstract's value and, for each other side, that side's. The abstract's own marks
// need a single side to be told from.
function comparisonRow([, label, kind], value, others) {
  const text = shown(value, kind);
  const compared = others.map((other) => {
    const otherText = shown(other, kind);
    const told = [[text, value], [otherText, other]].every(([visibleText, stored]) =>
      visibleText !== "" && !isUnknown(stored, kind));
    const same = text.toUpperCase() === otherText.toUpperCase();
    return told && !same ? differences(text, otherText) : null;
  });
  const differs = compared.length > 0 && compared.every(Boolean);
  const row = make("tr", {className: differs ? "differs" : ""}, make("th", {scope: "row"}, label,
    differs ? make("span", {className: "assistive"}, ", differs") : ""));
  row.append(cell(value, kind, others.length === 1 ? compared[0]?.left : undefined));
  others.forEach((other, i) => row.append(cell(other, kind, compared[i]?.right)));
  return row;
}

// What says nothing at all: no value, or that there is no further one.
function isBlank(value, kind) {
  return value === "" || (kind === "race" && value === "88");
}

// Lines without any value are left out.
function fillComparison(table, caption, fields, heads, value, others) {
  const head = make("tr", {}, make("td", {}));
  for (const text of heads) head.append(make("th", {scope: "col"}, text));
  // Many tumors are wider than the page and scroll within it.
  table.style.minWidth = heads.length > 2 ? `${112 + 116 * heads.length}px` : "";
  table.replaceChildren(make("caption", {className: "assistive"}, caption),
    make("thead", {}, head));
  let group = "", body = null;
  fields.forEach((field, i) => {
    const sides = others.map((other) => other[i]);
    if ([value[i], ...sides].every((side) => isBlank(side, field[2]))) return;
    if (field[0] !== group) {
      group = field[0];
      body = make("tbody", {className: "group"}, make("tr", {},
        make("th", {colSpan: heads.length + 1, scope: "rowgroup"}, group)));
      table.append(body);
    }
    body.append(comparisonRow(field, value[i], sides));
  });
  return table;
}

function fillPerson(table, abstract, pair) {
  return fillComparison(table, "Person", report.person,
    [`Abstract ${abstract.id}`, `Patient ${pair.patient}`], abstract.person, [pair.person]);
}

function fillTumors(table, abstract, pair) {
  const heads = pair.tumors.map((_, i) =>
    pair.tumors.length === 1 ? "Patient" : `Patient's ${i + 1}`);
  return fillComparison(table, "Tumors", report.tumor, ["Abstract", ...heads],
    abstract.tumor, pair.tumors);
}

const verdictTexts = {same: "same person", no: "not this patient", new: "new patient"};
