// Where two values differ, character by character. The case of letters is no difference, as in
// scoring.

// Beyond this many steps the middle of two long values is marked as a whole.
const mostSteps = 40000;
// Values with less than this part in common are marked as a whole: single letters that happen to
// agree tell nothing.
const leastCommon = 0.5;

// The steps that turn `a` into `b`: "same", "changed", "gone" or "added", first to last. An
// exchange of neighbours counts once.
function editSteps(a, b) {
  const width = b.length + 1;
  const costs = new Uint16Array((a.length + 1) * width);
  const swapped = (i, j) => i > 1 && j > 1 && a[i - 1] === b[j - 2] && a[i - 2] === b[j - 1];
  for (let i = 0; i <= a.length; ++i) {
    for (let j = 0; j <= b.length; ++j) {
      const at = i * width + j;
      if (i === 0 || j === 0) {
        costs[at] = i + j;
        continue;
      }
      const step = a[i - 1] === b[j - 1] ? 0 : 1;
      let cost = Math.min(costs[at - width - 1] + step, costs[at - width] + 1, costs[at - 1] + 1);
      if (swapped(i, j)) cost = Math.min(cost, costs[at - 2 * width - 2] + 1);
      costs[at] = cost;
    }
  }
  const steps = [];
  for (let i = a.length, j = b.length; i > 0 || j > 0;) {
    const at = i * width + j;
    if (i > 0 && j > 0 && a[i - 1] === b[j - 1] && costs[at] === costs[at - width - 1]) {
      steps.push("same");
      --i, --j;
    } else if (swapped(i, j) && costs[at] === costs[at - 2 * width - 2] + 1) {
      steps.push("changed", "changed");
      i -= 2, j -= 2;
    } else if (i > 0 && j > 0 && costs[at] === costs[at - width - 1] + 1) {
      steps.push("changed");
      --i, --j;
    } else if (i > 0 && costs[at] === costs[at - width] + 1) {
      steps.push("gone");
      --i;
    } else {
      steps.push("added");
      --j;
    }
  }
  return steps.reverse();
}

// Both sides in pieces: [{text, mark}], where `mark` is "same", "changed", "gone" or "added".
function differences(left, right) {
  const a = Array.from(left), b = Array.from(right);
  const x = a.map((c) => c.toUpperCase()), y = b.map((c) => c.toUpperCase());
  let start = 0, end = 0;
  const shorter = Math.min(a.length, b.length);
  while (start < shorter && x[start] === y[start]) ++start;
  while (end < shorter - start && x[a.length - 1 - end] === y[b.length - 1 - end]) ++end;
  const innerX = x.slice(start, a.length - end), innerY = y.slice(start, b.length - end);
  const inner = innerX.length * innerY.length > mostSteps
    ? [...innerX.map(() => "gone"), ...innerY.map(() => "added")] : editSteps(innerX, innerY);
  const steps = [...Array(start).fill("same"), ...inner, ...Array(end).fill("same")];

  const common = steps.filter((step) => step === "same").length;
  if (common < leastCommon * Math.max(a.length, b.length)) {
    return {left: [{text: left, mark: "changed"}], right: [{text: right, mark: "changed"}]};
  }
  const pieces = (characters, other) => {
    const result = [];
    let at = 0;
    for (const step of steps) {
      if (step === other) continue;
      const last = result.at(-1);
      if (last?.mark === step) last.text += characters[at++];
      else result.push({text: characters[at++], mark: step});
    }
    return result;
  };
  return {left: pieces(a, "added"), right: pieces(b, "gone")};
}
