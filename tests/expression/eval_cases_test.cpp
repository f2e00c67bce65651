// Runs the case files: expression, type name and value (as CStr gives it), or ERR and the number.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/script_engine.h"

namespace qm {
namespace {

struct Case {
  std::string expression;
  std::string outcome;
};

std::string Unescape(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : ' ';
    const auto at = std::string_view("trn").find(next);
    if (text[i] == '\\' && at != std::string_view::npos) {
      result += "\t\r\n"[at];
      ++i;
    } else {
      result += text[i];
    }
  }
  return result;
}

std::vector<Case> ReadCases(const char* name) {
  std::ifstream file(std::string(QM_TEST_DATA "/") + name);
  std::vector<Case> cases;
  for (std::string line; std::getline(file, line);) {
    const auto tab = line.find('\t');
    if (tab == std::string::npos) continue;
    cases.push_back({Unescape(line.substr(0, tab)), Unescape(line.substr(tab + 1))});
  }
  return cases;
}

std::string EvalOutcome(const ScriptEngine& engine, const std::string& expression) {
  try {
    const Variant value = engine.Eval(expression);
    const std::string type(TypeName(value.Type()));
    if (value.IsNull() || value.Type() == VarType::kObject) return type + "\t" + type;
    return type + "\t" + ToText(value);
  } catch (const Error& error) {
    return "ERR\t" + std::to_string(error.number());
  }
}

class EvalCases : public testing::TestWithParam<const char*> {};

TEST_P(EvalCases, HaveTheTypesAndValuesOfTheLanguage) {
  const ScriptEngine engine;
  int held = 0;
  for (const Case& item : ReadCases(GetParam())) {
    EXPECT_EQ(EvalOutcome(engine, item.expression), item.outcome) << item.expression;
    ++held;
  }
  EXPECT_GT(held, 100);
}

INSTANTIATE_TEST_SUITE_P(Files, EvalCases,
                         testing::Values("vbscript.tsv", "operators.tsv", "functions.tsv"));

}  // namespace
}  // namespace qm
