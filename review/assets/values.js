// The report's data, and how a stored value is shown. Values are strangers' text: they reach the
// page as text nodes only, and characters that could hide or reorder what stands there are shown
// by name.

const report = JSON.parse(document.getElementById("data").textContent);

const misleading = new RegExp("[\\u0000-\\u001f\\u007f-\\u009f\\u00ad\\u061c\\u200b-\\u200f" +
  "\\u2028-\\u202f\\u2060-\\u206f\\ufeff]", "gu");

function visible(text) {
  return text.replace(misleading, (character) => {
    const code = character.codePointAt(0).toString(16).toUpperCase().padStart(4, "0");
    return `\u2039U+${code}\u203a`;
  });
}

const formats = {
  date: [/^(\d{4})(\d\d)(\d\d)$/, "$2/$3/$1"],
  ssn: [/^(\d{3})(\d\d)(\d{4})$/, "$1-$2-$3"],
  phone: [/^(\d{3})(\d{3})(\d{4})$/, "$1-$2-$3"],
};

function shown(value, kind) {
  const format = formats[kind];
  return visible(format ? value.replace(format[0], format[1]) : value);
}

// Items of digits say "not known" by repeating one.
function isUnknown(value, kind) {
  return Object.hasOwn(formats, kind) && /^(0+|8+|9+)$/.test(value);
}

function codeLabel(value, kind) {
  if (isUnknown(value, kind)) return "unknown";
  const labels = codeLabels[kind];
  return labels && Object.hasOwn(labels, value) ? labels[value] : "";
}

function personValue(values, label) {
  const index = report.person.findIndex((field) => field[1] === label);
  return index < 0 ? "" : visible(values[index]);
}

function fullName(values) {
  const last = personValue(values, "Last name");
  const first = ["First name", "Middle name"].map((label) => personValue(values, label))
    .filter(Boolean).join(" ");
  return [last, first].filter(Boolean).join(", ") || "(no name)";
}

// make("td", {className: "x"}, "text", node …)
function make(tag, properties, ...children) {
  const element = Object.assign(document.createElement(tag), properties);
  element.append(...children);
  return element;
}

function draw(tag, attributes, ...children) {
  const element = document.createElementNS("http://www.w3.org/2000/svg", tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}
