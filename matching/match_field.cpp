#include "matching/match_field.h"

#include <cstddef>

#include <qm/conversions.h>
#include <qm/error.h>

#include "comparison/comparison.h"
#include "matching/matching_state.h"

namespace qm {

namespace {

// Far beyond any rule; only a value that brings in its own name again reaches them.
constexpr int kMostPasses = 1000;
constexpr std::size_t kLongestExpression = std::size_t{1} << 20U;

// All occurrences, found from left to right; what was put in is not searched again.
std::string ReplaceAll(std::string_view text, std::string_view what, std::string_view by) {
  std::string result;
  std::size_t from = 0;
  for (std::size_t at; (at = text.find(what, from)) != std::string_view::npos;) {
    result.append(text.substr(from, at - from)).append(by);
    from = at + what.size();
  }
  return result.append(text.substr(from));
}

std::string Quoted(const std::string& value) { return "'" + value + "'"; }

}  // namespace

void RaiseNoSuchField(std::string_view name, std::string_view rule) {
  // A name put together from values would show them: then the rule stands for it.
  const auto shown = rule.find(name) != std::string_view::npos ? name : rule;
  throw Error(kErrNoSuchItem, "QMDataObjects2",
              "Item cannot be found in the collection corresponding to the requested name or "
              "ordinal: '" +
                  std::string(shown) + "'");
}

void SubstituteFields(std::string& expression,
                      const std::function<std::string(std::string_view name)>& field) {
  std::size_t start = 0;
  int passes = 0;
  for (std::size_t p; (p = expression.find(kCloseMark)) != std::string::npos;) {
    const std::size_t open =
        p == 0 ? std::string::npos : std::string_view(expression).rfind(kOpenMark, p - 1);
    // Without an opening mark the start of the pass before still holds.
    if (open != std::string::npos) start = open + kOpenMark.size();
    if (start > p) RaiseRunTime(kErrInvalidCall);
    const std::string name = expression.substr(start, p - start);
    const std::string mark = std::string(kOpenMark) + name + std::string(kCloseMark);
    std::string rewritten = ReplaceAll(expression, mark, '"' + field(name) + '"');
    if (rewritten == expression || ++passes > kMostPasses ||
        rewritten.size() > kLongestExpression) {
      RaiseRunTime(kErrSyntax);
    }
    expression = std::move(rewritten);
  }
}

namespace {

// From left to right, each mark once; a value is never searched. What is no pair of marks stays.
void SubstituteEscaped(std::string& expression,
                       const std::function<std::string(std::string_view name)>& field) {
  std::string result;
  std::string_view rest = expression;
  for (std::size_t p; (p = rest.find(kCloseMark)) != std::string_view::npos;) {
    const std::size_t open = rest.substr(0, p).rfind(kOpenMark);
    if (open == std::string_view::npos) break;
    const std::size_t name = open + kOpenMark.size();
    result.append(rest.substr(0, open)).append("\"");
    result.append(ReplaceAll(field(rest.substr(name, p - name)), "\"", "\"\"")).append("\"");
    rest.remove_prefix(p + kCloseMark.size());
  }
  expression = result.append(rest);
}

}  // namespace

const ScriptEngine& MatchScriptEngine() {
  auto& engine = CurrentMatching().script_engine;
  if (!engine) {
    auto created = std::make_unique<ScriptEngine>();
    const auto soundex = [](std::span<const Variant> arguments) {
      return Variant(SoundexCode(ToText(arguments[0])));
    };
    created->AddObject("Functions", {{"Soundex", {1, soundex}}}, true);
    engine = std::move(created);
  }
  return *engine;
}

std::string EvaluateExpression(std::string& expression, const FieldReader& field,
                               ValueText values) {
  const ScriptEngine& engine = MatchScriptEngine();
  values == ValueText::kEscaped ? SubstituteEscaped(expression, field)
                                : SubstituteFields(expression, field);
  if (expression.find('(') == std::string::npos) return Quoted(field(expression));
  return Quoted(ToTextOrEmpty(engine.Eval(expression)));
}

std::string EvaluateMatchField(std::string& expression, const Recordset& record, ValueText values) {
  return EvaluateMatchField(expression, RecordsetTexts(record), values);
}

std::string EvaluateMatchField(std::string& expression, const RowTexts& record, ValueText values) {
  const std::string rule = expression;
  const auto field = [&](std::string_view name) {
    const int column = record.Find(name);
    if (column < 0) RaiseNoSuchField(name, rule);
    return std::string(record.Text(column));
  };
  return EvaluateExpression(expression, field, values);
}

}  // namespace qm
