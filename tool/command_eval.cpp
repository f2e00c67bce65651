// qm eval: the value of a rule expression.
#include <qm/conversions.h>
#include <qm/error.h>

#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "matching/match_field.h"
#include "runtime/text.h"
#include "tool/assignment.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

struct EvalArguments {
  std::string expression;
  std::vector<std::string> fields;
};

std::string FieldValue(const std::vector<std::string>& fields, std::string_view name) {
  for (const std::string& field : fields) {
    const auto equals = field.find('=');
    if (EqualsIgnoreCase(std::string_view(field).substr(0, equals), name)) {
      return field.substr(equals + 1);
    }
  }
  throw Error(kErrNoSuchItem, "qm eval", "no value is given for field '" + std::string(name) + "'");
}

std::string ValueText(const Variant& value) {
  if (value.IsNull()) return "Null";
  if (value.Type() == VarType::kObject) return "Nothing";
  if (!value.IsArray()) return ToText(value);
  std::string text;
  for (const Variant& element : value.Elements()) {
    if (&element != &value.Elements().front()) text += ',';
    text += element.IsArray() ? "(" + ValueText(element) + ")" : ValueText(element);
  }
  return text;
}

void Eval(const EvalArguments& arguments) {
  std::string expression = arguments.expression;
  SubstituteFields(expression, [&arguments](std::string_view name) {
    return FieldValue(arguments.fields, name);
  });
  const Variant value = MatchScriptEngine().Eval(expression);
  std::cout << TypeName(value.Type()) << '\t' << ValueText(value) << '\n';
}

}  // namespace

void AddEval(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<EvalArguments>();
  CLI::App* command = AddCommand(app, tool, "eval",
                                 "print type and value of a rule expression; one that begins with "
                                 "a minus stands after --");
  command->add_option("EXPR", arguments->expression, "the expression; <<FIELD>> is a field")
      ->required();
  command->add_option("FIELD", arguments->fields, "NAME=VALUE: values of the fields")
      ->check(IsAssignment);
  command->callback([arguments, &tool] { tool.run = [arguments] { Eval(*arguments); }; });
}

}  // namespace qm::tool
