// Why a pair has its score: a bar for what each rule added or took away, on one scale for the whole
// report, and where the score stands among all candidates.

const barWidth = 110, barHeight = 12;

let barScale = null;

function scaleOfBars() {
  let least = 0, most = 1;
  for (const abstract of report.abstracts) {
    for (const pair of abstract.pairs) {
      for (const [added] of pair.rules) {
        least = Math.min(least, added);
        most = Math.max(most, added);
      }
    }
  }
  const unit = barWidth / (most - least);
  return {unit, zero: -least * unit};
}

function bar(added) {
  barScale ??= scaleOfBars();
  const {unit, zero} = barScale;
  const from = added < 0 ? zero + added * unit : zero;
  return draw("svg", {viewBox: `0 0 ${barWidth} ${barHeight}`, "aria-hidden": "true"},
    draw("rect", {x: from, y: 2, width: Math.abs(added) * unit, height: barHeight - 4, rx: 1,
      class: added < 0 ? "bar-minus" : "bar-plus"}),
    draw("line", {x1: zero, x2: zero, y1: 0, y2: barHeight, class: "axis"}));
}

function signed(number) {
  return number > 0 ? `+${number}` : String(number).replace("-", "\u2212");
}

function ruleBars(pair) {
  const rows = make("div", {className: "rules"});
  pair.rules.forEach(([added, agreement, left, right], i) => {
    const skipped = agreement < 0;
    const title = skipped ? "not compared: a value is missing"
      : `${visible(left)} | ${visible(right)}, agreement ${agreement} of 100`;
    const state = skipped ? " skipped" : "";
    rows.append(make("span", {className: `rule${state}`, title}, visible(report.rules[i] ?? "")),
      bar(added), make("span", {className: `added${state}`, title},
        skipped ? "\u2013" : signed(added)));
  });
  return rows;
}

// Heights are logarithmic: most candidates are no matches at all.
function histogram(score) {
  const width = 340, height = 76, floor = 60, bins = 46;
  const marked = score === undefined ? [] : [score];
  const all = [...report.histogram.map((entry) => entry[0]), report.cutoff, ...marked];
  const least = all.reduce((a, b) => Math.min(a, b)), most = all.reduce((a, b) => Math.max(a, b));
  const size = Math.max(1, Math.ceil((most - least + 1) / bins));
  // Bins meet at the cut-off, so that none lies on both sides of it.
  const first = report.cutoff - Math.ceil((report.cutoff - least) / size) * size;
  const place = (value) => (value - first) / (most + 1 - first) * width;
  const counts = new Map();
  for (const [value, count] of report.histogram) {
    const bin = first + Math.floor((value - first) / size) * size;
    counts.set(bin, (counts.get(bin) ?? 0) + count);
  }
  const tallest = Math.log1p(Math.max(1, ...counts.values()));
  const svg = draw("svg", {viewBox: `0 0 ${width} ${height}`, role: "img", class: "histogram",
    "aria-label": `Scores of all candidates, from ${least} to ${most}; cut-off ${report.cutoff}`});
  for (const [bin, count] of counts) {
    const x = place(bin), right = Math.min(width, place(bin + size));
    const tall = Math.log1p(count) / tallest * (floor - 14);
    svg.append(draw("rect", {x, y: floor - tall, width: Math.max(1, right - x - 1), height: tall,
      class: bin >= report.cutoff ? "column shown" : "column"},
      draw("title", {}, `${bin} to ${bin + size - 1}: ${count}`)));
  }
  const cut = place(report.cutoff);
  const left = cut > width / 2;
  svg.append(draw("line", {x1: 0, x2: width, y1: floor, y2: floor, class: "axis"}),
    draw("line", {x1: cut, x2: cut, y1: 0, y2: floor, class: "cutoff"}),
    draw("text", {x: left ? cut - 5 : cut + 5, y: 9, "text-anchor": left ? "end" : "start"},
      `cut-off ${report.cutoff}`),
    draw("text", {x: 0, y: height - 3}, least),
    draw("text", {x: width, y: height - 3, "text-anchor": "end"}, most));
  for (const value of marked) {
    const x = Math.min(width - 4, Math.max(4, place(value + 0.5)));
    svg.append(draw("path", {d: `M${x} ${floor + 1}l4 7h-8z`, class: "here"}));
  }
  return svg;
}

function fillScores(section, pair) {
  section.replaceChildren(make("h3", {}, "What the rules added", make("b", {}, `${pair.score}`)),
    ruleBars(pair), histogram(pair.score));
}
