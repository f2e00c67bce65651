// Reading a decisions file: RFC 4180, with what spreadsheets add to it (a byte order mark, blank
// rows, blanks around a cell).
#include <qm/review.h>

#include <array>
#include <charconv>
#include <map>
#include <optional>
#include <utility>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr const char* kReaderSource = "QMObjects.ReadDecisions";
constexpr std::array<std::string_view, 4> kColumns = {"abstract", "patient", "reviewer", "note"};
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct FileName {
  std::string_view text;

  // The cells may hold anything, so none of them is quoted.
  [[noreturn]] void Refuse(std::int64_t line, const std::string& reason) const {
    throw Error(kErrBadArgument, kReaderSource,
                std::string(text) + ", line " + std::to_string(line) + ": " + reason);
  }
};

// The rows of a CSV text, one after the other.
class CsvRows {
 public:
  CsvRows(std::string_view text, const FileName& name) : rest_(text), name_(name) {}

  /// False at the end.
  bool Next() {
    if (rest_.empty()) return false;
    line_ = next_line_;
    cells_.assign(1, "");
    while (!rest_.empty()) {
      const char c = rest_.front();
      if (c == '"') {
        ReadQuoted();
        continue;
      }
      rest_.remove_prefix(1);
      if (c == ',') {
        cells_.emplace_back();
      } else if (c == '\n' || c == '\r') {
        if (c == '\r' && rest_.starts_with('\n')) rest_.remove_prefix(1);
        ++next_line_;
        return true;
      } else {
        cells_.back() += c;
      }
    }
    return true;
  }
  const std::vector<std::string>& Cells() const { return cells_; }
  std::int64_t Line() const { return line_; }

 private:
  void ReadQuoted() {
    if (!Trim(cells_.back()).empty()) name_.Refuse(line_, "a quotation mark within a cell");
    std::string text;
    rest_.remove_prefix(1);
    for (;;) {
      const std::size_t mark = rest_.find('"');
      if (mark == std::string_view::npos) name_.Refuse(line_, "a quotation mark is not closed");
      text += rest_.substr(0, mark);
      rest_.remove_prefix(mark + 1);
      if (!rest_.starts_with('"')) break;
      text += '"';
      rest_.remove_prefix(1);
    }
    for (const char c : text) next_line_ += c == '\n';
    while (rest_.starts_with(' ')) rest_.remove_prefix(1);
    if (!rest_.empty() && std::string_view(",\r\n").find(rest_.front()) == std::string_view::npos) {
      name_.Refuse(line_, "text behind a closing quotation mark");
    }
    cells_.back() = std::move(text);
  }

  std::string_view rest_;
  const FileName& name_;
  std::vector<std::string> cells_;
  std::int64_t line_ = 0;
  std::int64_t next_line_ = 1;
};

std::optional<std::int32_t> Identifier(std::string_view text) {
  std::int32_t id = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (code != std::errc() || end != text.data() + text.size() || id < 1) return std::nullopt;
  return id;
}

// "1021", "new", "no" or "no 1021".
bool ReadVerdict(std::string_view text, Decision& decision) {
  const std::string lower = LowerCase(text);
  if (lower == "new") {
    decision.verdict = Verdict::kNew;
    return true;
  }
  if (lower == "no") {
    decision.verdict = Verdict::kNoOffer;
    return true;
  }
  const bool declined = lower.starts_with("no ");
  const auto id = Identifier(declined ? Trim(text.substr(3)) : text);
  decision.verdict = declined ? Verdict::kNotPatient : Verdict::kLink;
  decision.patient_id = id.value_or(0);
  return id.has_value();
}

bool IsHeader(const std::vector<std::string>& cells) {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i >= kColumns.size() || !EqualsIgnoreCase(Trim(cells[i]), kColumns[i])) return false;
  }
  return true;
}

bool IsBlank(const std::vector<std::string>& cells) {
  for (const std::string& cell : cells) {
    if (!Trim(cell).empty()) return false;
  }
  return true;
}

Decision ReadRow(const std::vector<std::string>& cells, std::int64_t line, const FileName& name) {
  std::vector<std::string> cell(cells);
  while (cell.size() > kColumns.size() && Trim(cell.back()).empty()) cell.pop_back();
  if (cell.size() > kColumns.size()) name.Refuse(line, "more than four columns");
  cell.resize(kColumns.size());
  Decision decision;
  decision.line = line;
  const auto abstract = Identifier(Trim(cell[0]));
  if (!abstract) name.Refuse(line, "the abstract is no identifier");
  decision.abstract_id = *abstract;
  if (!ReadVerdict(Trim(cell[1]), decision)) {
    name.Refuse(line, "the patient is neither an identifier nor new, no or no with an identifier");
  }
  decision.reviewer = Trim(cell[2]);
  decision.note = Trim(cell[3]);
  return decision;
}

// Two verdicts on one abstract that cannot both be meant.
bool Contradict(const Decision& a, const Decision& b) {
  const auto links = [](const Decision& d) {
    return d.verdict == Verdict::kLink || d.verdict == Verdict::kNew;
  };
  if (links(a) && links(b)) return a.verdict != b.verdict || a.patient_id != b.patient_id;
  const auto excludes = [](const Decision& link, const Decision& no) {
    return link.verdict == Verdict::kLink &&
           (no.verdict == Verdict::kNoOffer ||
            (no.verdict == Verdict::kNotPatient && no.patient_id == link.patient_id));
  };
  return excludes(a, b) || excludes(b, a);
}

}  // namespace

std::vector<Decision> ReadDecisions(std::string_view text, std::string_view name) {
  const FileName file{name};
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  if (!IsValidUtf8(text) || text.find('\0') != std::string_view::npos) {
    throw Error(kErrBadArgument, kReaderSource, std::string(name) + ": is no text in UTF-8");
  }
  std::vector<Decision> decisions;
  std::map<std::int32_t, std::vector<std::size_t>> of_abstract;
  CsvRows rows(text, file);
  for (bool first = true; rows.Next();) {
    if (IsBlank(rows.Cells())) continue;
    const bool header = first && IsHeader(rows.Cells());
    first = false;
    if (header) continue;
    Decision decision = ReadRow(rows.Cells(), rows.Line(), file);
    std::vector<std::size_t>& others = of_abstract[decision.abstract_id];
    for (const std::size_t other : others) {
      if (Contradict(decisions[other], decision)) {
        file.Refuse(decision.line, "abstract " + std::to_string(decision.abstract_id) +
                                       " is decided otherwise in line " +
                                       std::to_string(decisions[other].line));
      }
    }
    others.push_back(decisions.size());
    decisions.push_back(std::move(decision));
  }
  return decisions;
}

}  // namespace qm
