// Objects added to the engine, and what keeps a huge or deep expression from harm.
#include "expression/script_engine.h"

#include <gtest/gtest.h>

#include <string>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/evaluator.h"
#include "expression/program.h"

namespace qm {
namespace {

ScriptEngine::Members Helpers() {
  ScriptEngine::Members members;
  members["Twice"] = {1, [](Arguments args) { return Variant(ToDouble(args[0]) * 2); }};
  members["Join2"] = {2, [](Arguments args) { return Variant(ToText(args[0]) + ToText(args[1])); }};
  members["Answer"] = {0, [](Arguments) { return Variant(std::int16_t{42}); }};
  return members;
}

std::string Outcome(const ScriptEngine& engine, const std::string& expression) {
  try {
    return ToText(engine.Eval(expression));
  } catch (const Error& error) {
    return std::to_string(error.number()) + " " + error.what();
  }
}

TEST(ScriptEngine, CallsMembersThroughTheirObjectAndGloballyOnlyWhereAsked) {
  ScriptEngine engine;
  engine.AddObject("Functions", Helpers(), true);
  engine.AddObject("Quiet", {{"Only", {0, [](Arguments) { return Variant("here"); }}}}, false);
  const struct {
    const char* expression;
    const char* outcome;
  } cases[] = {
      {"Functions.Twice(4)", "8"},
      {"functions.TWICE(1) + Join2(\"1\", 2)", "14"},
      {"Join2(Join2(\"a\", \"b\"), UCase(\"c\"))", "abC"},
      {"Answer + 1", "43"},
      {"Answer() & Functions.Answer", "4242"},
      {"Quiet.Only", "here"},
      {"Only & \"!\"", "!"},
      {"Only()", "13 Type mismatch: 'Only'"},
      {"Join2(1)", "450 Wrong number of arguments or invalid property assignment: 'Join2'"},
      {"Functions.Join2", "450 Wrong number of arguments or invalid property assignment: 'Join2'"},
      {"Functions.Nope(1)", "438 Object doesn't support this property or method: 'Nope'"},
      {"Functions & \"\"", "438 Object doesn't support this property or method: 'Functions'"},
      {"Nowhere.Nope(1)", "424 Object required: 'Nowhere'"},
  };
  for (const auto& [expression, outcome] : cases) {
    EXPECT_EQ(Outcome(engine, expression), outcome) << expression;
  }
}

TEST(ScriptEngine, ErrorsNeverQuoteAValue) {
  const ScriptEngine engine;
  for (const char* expression : {"\"SECRET\" * 1", "CInt(\"SECRET\")", "\"SECRET\" = 1",
                                 "(\"SECRET\"", "\"SECRET\" \"x\"", "Chr(\"SECRET\")"}) {
    EXPECT_EQ(Outcome(engine, expression).find("SECRET"), std::string::npos) << expression;
  }
}

std::string Repeated(const std::string& piece, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += piece;
  return text;
}

TEST(ScriptEngine, LongChainsRunAndDeepNestingIsAnError) {
  const ScriptEngine engine;
  EXPECT_EQ(Outcome(engine, "1" + Repeated("+1", 29999)), "30000");
  EXPECT_EQ(Outcome(engine, Repeated("(", 200) + "7" + Repeated(")", 200)), "7");
  EXPECT_EQ(Outcome(engine, Repeated("Len(", 150) + "7" + Repeated(")", 150)), "1");
  const std::string deep[] = {
      Repeated("(", 500000),         Repeated("-", 500000) + "1",   Repeated("Not ", 100000) + "1",
      Repeated("Len(", 100000),      Repeated("2^-", 100000) + "1", Repeated("a.b(", 100000),
      "\"" + Repeated("x", 2000000),
  };
  for (const std::string& expression : deep) {
    EXPECT_EQ(Outcome(engine, expression), "28 Out of stack space") << expression.substr(0, 8);
  }
}

TEST(ScriptEngine, TextsAreBoundedHoweverTheyAreMade) {
  const ScriptEngine engine;
  const std::string large = "Space(16000000)";
  EXPECT_EQ(Outcome(engine, "Len(" + large + ")"), "16000000");
  for (const char* expression : {"Space(2000000000)", "String(9000000, ChrW(8364))",
                                 "Replace(Space(3000), \" \", Space(9000))"}) {
    EXPECT_EQ(Outcome(engine, expression), "14 Out of string space") << expression;
  }
  EXPECT_EQ(Outcome(engine, large + "&" + large), "14 Out of string space");
  EXPECT_EQ(
      Outcome(engine, large + "<(" + large + "<(" + large + "<(" + large + "<(" + large + "))))"),
      "14 Out of string space");
}

TEST(ScriptEngine, ArraysAndWhatIsMadeInAllAreBounded) {
  const ScriptEngine engine;
  const struct {
    std::string expression;
    const char* outcome;
  } cases[] = {
      {"UBound(Split(Space(262143)))", "262143"},
      {"UBound(Split(Space(262144)))", "7 Out of memory"},
      {"Array(Array(" + Repeated("Space(16000000),", 3) + "1)," + Repeated("Space(16000000),", 2) +
           "1)",
       "14 Out of string space"},
      {"Len(Join(Split(Space(99999)), Space(999)))", "14 Out of string space"},
      {Repeated("Asc(Space(16000000))+", 20) + "1", "7 Out of memory"},
      // In a time that is the product of the lengths these would run for hours.
      {"InStr(String(1000000,\"a\"), String(500000,\"a\") & \"b\")", "0"},
      {"InStrRev(String(1000000,\"a\"), \"b\" & String(500000,\"a\"))", "0"},
      {"UBound(Split(String(1000000,\"a\"), String(500000,\"a\") & \"b\"))", "0"},
  };
  for (const auto& [expression, outcome] : cases) {
    EXPECT_EQ(Outcome(engine, expression), outcome) << expression.substr(0, 60);
  }
}

TEST(ScriptEngine, EvaluationsWithinEvaluationsAreBounded) {
  const ScriptEngine engine;
  // A text that makes itself anew and evaluates that.
  const std::string text = "Eval(Replace(Unescape(\"~\"),Chr(126),Escape(Unescape(\"~\"))))";
  std::string literal;
  for (const char c : text) literal += c == '"' ? "\"\"" : std::string(1, c);
  literal = "\"" + literal + "\"";
  EXPECT_EQ(Outcome(engine, "Eval(Replace(" + literal + ",Chr(126),Escape(" + literal + ")))"),
            "28 Out of stack space");
  const std::string nested = "\"" + Repeated("Array(", 300) + Repeated(")", 300) + "\"";
  EXPECT_EQ(Outcome(engine, "UBound(Eval(" + nested + "))"), "0");
  EXPECT_EQ(Outcome(engine, Repeated("Array(", 310) + "Eval(" + nested + ")" + Repeated(")", 310)),
            "28 Out of stack space");
  EXPECT_EQ(Outcome(engine, "Eval(String(500,\"(\") & 1 & String(500,\")\"))"), "1");
  EXPECT_EQ(Outcome(engine, "Eval(String(595,\"(\") & 1 & String(595,\")\"))"),
            "28 Out of stack space");
  EXPECT_EQ(Outcome(engine, Repeated("Eval(Space(900000))&", 20) + "1"), "7 Out of memory");
}

TEST(Program, IsReadOnceAndRunWithOtherObjects) {
  const Program program = Parse("Twice(3) & Answer");
  ScriptObjects objects;
  objects.global_members = {{"TWICE", Helpers()["Twice"]}};
  EXPECT_EQ(qm::Run(program, objects), Variant("6"));
  objects.global_members["ANSWER"] = Helpers()["Answer"];
  EXPECT_EQ(qm::Run(program, objects), Variant("642"));
}

}  // namespace
}  // namespace qm
