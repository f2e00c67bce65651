#include "matching/rule_expression.h"

#include <algorithm>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "expression/functions.h"

namespace qm {

namespace {

// Together far below what an expression may be long.
constexpr std::size_t kLongestScript = 4096;
constexpr std::size_t kLongestValue = 1024;

// What stands for a field while the script is parsed: no expression holds it.
std::string PlaceHolder(std::size_t place) { return "\x02" + std::to_string(place) + "\x03"; }

bool DependsOnMore(const Function& function) {
  const auto is_it = [&](const Function& each) { return &each == &function; };
  return std::ranges::any_of(ClockFunctions(), is_it) || function.name == "Eval";
}

// Whether a literal of the value stands for it and nothing else, in the defined rewriting too.
bool CanBeBound(const std::string& value, ValueText mode) {
  if (value.size() > kLongestValue) return false;
  return value.find_first_of(mode == ValueText::kPlain ? "\r\n\"<>" : "\r\n") == std::string::npos;
}

}  // namespace

RuleExpression::RuleExpression(std::string_view expression) : text_(expression) {
  if (text_.find(kCloseMark) == std::string::npos && text_.find('(') == std::string::npos) {
    kind_ = Kind::kColumn;
    fields_.push_back(text_);
  } else if (text_.size() <= kLongestScript && text_.find('(') != std::string::npos) {
    ReadScript();
  }
}

void RuleExpression::ReadScript() {
  std::string script;
  std::string_view rest = text_;
  for (std::size_t p; (p = rest.find(kCloseMark)) != std::string_view::npos;) {
    const std::size_t open = rest.substr(0, p).rfind(kOpenMark);
    if (open == std::string_view::npos) return;
    const std::string name(rest.substr(open + kOpenMark.size(), p - open - kOpenMark.size()));
    const auto field = std::find(fields_.begin(), fields_.end(), name);
    const Place place{0, static_cast<std::size_t>(field - fields_.begin())};
    if (field == fields_.end()) fields_.push_back(name);
    script.append(rest.substr(0, open)).append("\"");
    script.append(PlaceHolder(places_.size())).append("\"");
    places_.push_back(place);
    rest.remove_prefix(p + kCloseMark.size());
  }
  script.append(rest);
  // Rewriting would look at such a text once more.
  if (script.find(kCloseMark) != std::string::npos || text_.find('\x02') != std::string::npos)
    return;
  try {
    program_ = Parse(script);
  } catch (const Error&) {
    return;  // rewriting raises it for each record
  }
  for (std::size_t i = 0; i < places_.size(); ++i) {
    const Variant holder(PlaceHolder(i));
    const auto constant = std::find(program_.constants.begin(), program_.constants.end(), holder);
    if (constant == program_.constants.end()) return;
    places_[i].constant = static_cast<std::size_t>(constant - program_.constants.begin());
  }
  kind_ = Kind::kProgram;
}

bool RuleExpression::IsFixed() const {
  if (kind_ == Kind::kColumn) return true;
  return kind_ == Kind::kProgram &&
         std::ranges::none_of(program_.code, [](const Instruction& instruction) {
           return instruction.function != nullptr && DependsOnMore(*instruction.function);
         });
}

bool RuleExpression::Evaluate(std::span<const std::string> values, ValueText mode,
                              const ScriptEngine& engine, std::string& result) {
  if (kind_ == Kind::kColumn) {
    result = values[0];
    return true;
  }
  if (kind_ == Kind::kRewritten ||
      !std::ranges::all_of(values, [&](const auto& value) { return CanBeBound(value, mode); })) {
    return false;
  }
  for (const Place& place : places_) program_.constants[place.constant] = values[place.field];
  result = ToTextOrEmpty(engine.Run(program_));
  return true;
}

}  // namespace qm
