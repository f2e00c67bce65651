#include "matching/record_side.h"

#include <algorithm>
#include <functional>

#include "comparison/comparison.h"
#include "matching/match_scorer.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::uint8_t kUnknownPercent = 255;
// A pair by itself costs as much as so many of a whole dictionary, and half of the candidates bring
// a new text.
constexpr std::size_t kPairsWorth = 8;
constexpr std::size_t kTextsACandidate = 2;
// What is known of more texts is not remembered: each is met but seldom.
constexpr std::size_t kMostRemembered = std::size_t{1} << 18U;
// So many bytes of agreements are kept for a rule, of so many names.
constexpr std::size_t kMostKept = std::size_t{1} << 20U;
constexpr std::size_t kMostNames = 64;
constexpr std::size_t kKnownBlocking = 1024;

}  // namespace

RecordSide::RecordSide(const PatientRows& rows, const IndexRules& rules)
    : rows_(rows), rules_(rules), sides_(rules.rules().size()), kept_(rules.rules().size()) {
  for (const IndexBlock& block : rules.blocks()) blocking_.push_back(Bind(block.abstract_field));
  for (const IndexRule& rule : rules.rules()) comparing_.push_back(Bind(rule.expression));
  known_blocking_.resize(blocking_.size());
}

RecordSide::Bound RecordSide::Bind(const RuleExpression& expression) {
  Bound bound{expression, {}};
  for (const std::string& name : expression.fields()) {
    const auto field = std::ranges::find(fields_, name, &Field::name);
    bound.fields.push_back(static_cast<std::size_t>(field - fields_.begin()));
    if (field == fields_.end()) fields_.push_back({name, {}, {}});
  }
  return bound;
}

void RecordSide::Start(const FieldReader& abstract, bool by_library, bool passes_over) {
  abstract_ = &abstract;
  by_library_ = by_library;
  passes_over_ = passes_over;
  ++records_;
  for (Field& field : fields_) {
    field.text.reset();
    field.codes.assign(kSearchColumnCount, std::nullopt);
  }
  for (Side& side : sides_) {
    side.is_ready = false;
    side.all = nullptr;
    for (const Code code : side.known) side.percents[code] = kUnknownPercent;
    side.known.clear();
  }
}

const std::string& RecordSide::FieldText(std::size_t field) {
  auto& text = fields_[field].text;
  if (!text) text = (*abstract_)(fields_[field].name);
  return *text;
}

std::optional<RecordSide::Code> RecordSide::CodeOf(std::size_t field, std::size_t column) {
  auto& code = fields_[field].codes[column];
  if (!code) code = rows_.columns()[column].Find(FieldText(field));
  return *code;
}

// With the texts of its fields in `values_`; into `value_`.
void RecordSide::Run(RuleExpression& expression, const FieldReader& record) {
  if (expression.Evaluate(values_, ValueText::kEscaped, MatchScriptEngine(), value_)) return;
  std::string rewritten = expression.text();
  value_ = EvaluateExpression(rewritten, record, ValueText::kEscaped);
  value_ = value_.substr(1, value_.size() - 2);
}

// Into `value_`.
void RecordSide::EvaluateRecord(Bound& bound) {
  CurrentMatching().rule_in_work = bound.expression.text();
  if (bound.expression.IsColumn()) {
    value_ = FieldText(bound.fields[0]);
    return;
  }
  values_.clear();
  for (const std::size_t field : bound.fields) values_.push_back(FieldText(field));
  Run(bound.expression, *abstract_);
}

const std::string& RecordSide::Evaluate(std::size_t rule, const FieldReader& record) {
  RuleExpression& expression = comparing_[rule].expression;
  CurrentMatching().rule_in_work = expression.text();
  values_.clear();
  for (const std::string& name : expression.fields()) values_.push_back(record(name));
  Run(expression, record);
  return value_;
}

const std::string& RecordSide::BlockingValue(std::size_t block) {
  Bound& bound = blocking_[block];
  const bool may_be_known =
      !bound.expression.IsColumn() && bound.expression.IsFixed() && bound.fields.size() == 1;
  if (!may_be_known) {
    EvaluateRecord(bound);
    return value_;
  }
  CurrentMatching().rule_in_work = bound.expression.text();
  auto& known = known_blocking_[block];
  known.resize(kKnownBlocking);
  const std::string& text = FieldText(bound.fields[0]);
  Known& entry = known[std::hash<std::string>{}(text) % kKnownBlocking];
  if (!entry.value || entry.field != text) {
    EvaluateRecord(bound);
    entry = {text, value_};
  }
  return *entry.value;
}

// Whether some patient has the record's value, so that its text is known.
bool RecordSide::LookUp(std::size_t r) {
  const IndexRule& rule = rules_.rules()[r];
  if (!rule.derived || comparing_[r].fields.size() != 1) return false;
  const DerivedValues& derived = DerivedOf(r);
  const PatientRows::Column& column = ColumnOf(derived);
  const std::optional<Code> value = CodeOf(comparing_[r].fields[0], derived.column());
  // A value without a row, of a patient who was removed, may never have been derived.
  if (!value || *value == PatientRows::kNull) return false;
  const Code text = derived.Of(*value);
  if (text == DerivedValues::kFailed) return false;
  Side& side = sides_[r];
  side.text = derived.Text(text, column);
  side.missing = rule.missing[text];
  if (derived.Has(text, column)) side.code = text;
  return true;
}

void RecordSide::Resolve(std::size_t r) {
  const IndexRule& rule = rules_.rules()[r];
  Side& side = sides_[r];
  side.code.reset();
  side.prepared.reset();
  side.remembers = false;
  CurrentMatching().rule_in_work = rule.expression.text();
  if (!LookUp(r)) {
    EvaluateRecord(comparing_[r]);
    MakeCompared(value_, side.text);
    side.missing = IsMissing(Trim(side.text), rule.rule);
    if (!side.missing && rule.derived && rule.rule.exact_match != 0) {
      const auto number = DerivedOf(r).Texts(ColumnOf(DerivedOf(r))).Find(side.text);
      if (number) side.code = *number + 1;
    }
  }
  side.is_ready = true;
}

void RecordSide::PrepareComparison(std::size_t r, std::size_t expected) {
  const IndexRule& rule = rules_.rules()[r];
  Side& side = sides_[r];
  if (side.missing || rule.rule.exact_match != 0) return;
  side.prepared.emplace(Trim(side.text), rule.rule.comparator_parameter);
  if (!rule.derived || by_library_) return;
  const std::size_t limit = DerivedOf(r).Limit(ColumnOf(DerivedOf(r)));
  const bool worth_all = limit / kPairsWorth * kTextsACandidate < expected;
  side.remembers = limit <= kMostRemembered || (worth_all && !passes_over_);
  if (!side.remembers) return;
  if (worth_all) {
    side.all = AllPercents(r);
  } else if (side.percents.size() < limit) {
    side.percents.resize(limit, kUnknownPercent);
  }
}

const RecordSide::Percents* RecordSide::AllPercents(std::size_t r) {
  const DerivedValues& derived = DerivedOf(r);
  const std::string& text = sides_[r].prepared->text();
  auto& kept = kept_[r];
  auto entry = std::ranges::find(kept, text, &Kept::text);
  const std::size_t limit = derived.Limit(ColumnOf(derived));
  if (entry == kept.end()) {
    kept.reserve(kMostNames);
    if (kept.size() < std::clamp<std::size_t>(kMostKept / limit, 1, kMostNames)) {
      kept.emplace_back();
      entry = kept.end() - 1;
    } else {
      entry = std::ranges::min_element(kept, {}, &Kept::used);
    }
    entry->percents.clear();
  }
  entry->used = records_;
  if (entry->percents.empty() || entry->version != derived.version()) {
    entry->text = text;
    entry->version = derived.version();
    Compute(r, entry->percents);
  }
  return &entry->percents;
}

void RecordSide::Compute(std::size_t r, Percents& percents) const {
  const DerivedValues& derived = DerivedOf(r);
  const PatientRows::Column& column = ColumnOf(derived);
  percents.resize(derived.Limit(column));
  derived.Texts(column).Percents(*sides_[r].prepared, std::span(percents).subspan(1));
  for (const Code code : derived.indented()) {
    percents[code] = static_cast<std::uint8_t>(Compare(r, Trim(derived.Text(code, column))));
  }
  for (const Code code : rules_.rules()[r].missing_codes) percents[code] = kMissingPercent;
}

std::int16_t RecordSide::Compare(std::size_t rule, std::string_view text) const {
  const PreparedComparator& prepared = *sides_[rule].prepared;
  if (!by_library_) return prepared.Percent(text);
  return AgreementOf(CompareStrings(prepared.text(), text, prepared.parameter()));
}

std::int16_t RecordSide::Percent(std::size_t rule, Code text) {
  Side& side = sides_[rule];
  if (side.all != nullptr) return (*side.all)[text];
  if (side.remembers && side.percents[text] != kUnknownPercent) return side.percents[text];
  const DerivedValues& derived = DerivedOf(rule);
  const std::int16_t percent = Compare(rule, Trim(derived.Text(text, ColumnOf(derived))));
  if (side.remembers) {
    side.percents[text] = static_cast<std::uint8_t>(percent);
    side.known.push_back(text);
  }
  return percent;
}

}  // namespace qm
