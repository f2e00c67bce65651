#include <array>
#include <optional>
#include <utility>

#include <qm/error.h>
#include "expression/constants.h"
#include "expression/lexer.h"
#include "expression/program.h"
#include "expression/syntax_error.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::size_t kLongestExpression = std::size_t{1} << 20U;

struct BinaryOperator {
  std::string_view text;
  Operator op;
  int priority;
};

constexpr int kLowest = 1;
constexpr int kNotPriority = 6;
constexpr int kNegatePriority = 13;
constexpr std::array<BinaryOperator, 22> kBinaryOperators = {{
    {"Imp", Operator::kImp, 1},           {"Eqv", Operator::kEqv, 2},
    {"Xor", Operator::kXor, 3},           {"Or", Operator::kOr, 4},
    {"And", Operator::kAnd, 5},           {"=", Operator::kEqual, 7},
    {"<>", Operator::kNotEqual, 7},       {"<", Operator::kLess, 7},
    {">", Operator::kGreater, 7},         {"<=", Operator::kLessEqual, 7},
    {">=", Operator::kGreaterEqual, 7},   {"=<", Operator::kLessEqual, 7},
    {"=>", Operator::kGreaterEqual, 7},   {"Is", Operator::kIs, 7},
    {"&", Operator::kConcatenate, 8},     {"+", Operator::kAdd, 9},
    {"-", Operator::kSubtract, 9},        {"Mod", Operator::kModulo, 10},
    {"\\", Operator::kIntegerDivide, 11}, {"*", Operator::kMultiply, 12},
    {"/", Operator::kDivide, 12},         {"^", Operator::kPower, 14},
}};

// Words that no name can be.
constexpr std::array<std::string_view, 73> kReservedWords = {
    "And",     "As",     "Boolean",    "ByRef",    "Byte",     "ByVal",      "Call",
    "Case",    "Class",  "Const",      "Currency", "Debug",    "Dim",        "Do",
    "Double",  "Each",   "Else",       "ElseIf",   "End",      "EndIf",      "Enum",
    "Eqv",     "Event",  "Exit",       "For",      "Function", "Get",        "Goto",
    "If",      "Imp",    "Implements", "In",       "Integer",  "Is",         "Let",
    "Like",    "Long",   "Loop",       "LSet",     "Me",       "Mod",        "New",
    "Next",    "On",     "Option",     "Optional", "Or",       "ParamArray", "Preserve",
    "Private", "Public", "RaiseEvent", "ReDim",    "Rem",      "Resume",     "RSet",
    "Select",  "Set",    "Shared",     "Single",   "Static",   "Stop",       "Sub",
    "Then",    "To",     "Type",       "TypeOf",   "Until",    "Variant",    "Wend",
    "While",   "With",   "Xor"};

Instruction Make(Action action, Operator op = Operator::kAdd) {
  Instruction instruction;
  instruction.action = action;
  instruction.op = op;
  return instruction;
}

class Parser {
 public:
  Parser(std::string_view text, int depth) : lexer_(text), depth_(depth) { Advance(); }

  Program Read() {
    if (token_.kind == TokenKind::kEnd) return {};
    ReadExpression(kLowest);
    if (token_.kind != TokenKind::kEnd) RaiseSyntax(kExpectedEndOfStatement);
    return std::move(program_);
  }

 private:
  void Advance() { token_ = lexer_.Next(); }
  bool AtSymbol(std::string_view text) const {
    return token_.kind == TokenKind::kSymbol && token_.text == text;
  }
  bool AtWord(std::string_view word) const {
    return token_.kind == TokenKind::kName && EqualsIgnoreCase(token_.text, word);
  }
  bool TakeSymbol(std::string_view text) {
    if (!AtSymbol(text)) return false;
    Advance();
    return true;
  }

  const BinaryOperator* AtBinaryOperator() const {
    if (token_.kind != TokenKind::kSymbol && token_.kind != TokenKind::kName) return nullptr;
    for (const BinaryOperator& entry : kBinaryOperators) {
      if (EqualsIgnoreCase(token_.text, entry.text)) return &entry;
    }
    return nullptr;
  }

  // Reads operands joined by operators of at least a priority. Chains of equal operators are read
  // by the loop, so that only nesting recurs. Returns whether all of it is one literal.
  bool ReadExpression(int least_priority) {
    // Each level takes a few hundred bytes of stack, several times that in instrumented builds.
    if (++depth_ > kDeepest) RaiseRunTime(kErrStackSpace);
    bool literal = ReadOperand();
    for (const BinaryOperator* entry = AtBinaryOperator();
         entry != nullptr && entry->priority >= least_priority; entry = AtBinaryOperator()) {
      Advance();
      const bool right_literal = ReadExpression(entry->priority + 1);
      Instruction instruction = Make(Action::kBinary, entry->op);
      instruction.literals = {literal, right_literal};
      program_.code.push_back(instruction);
      literal = false;
    }
    --depth_;
    return literal;
  }

  bool ReadOperand() {
    if (TakeSymbol("-")) {
      const bool literal = ReadExpression(kNegatePriority);
      program_.code.push_back(Make(Action::kUnary, Operator::kNegate));
      return literal;
    }
    if (TakeSymbol("+")) return ReadExpression(kNegatePriority);
    if (AtWord("Not")) {
      Advance();
      ReadExpression(kNotPriority);
      program_.code.push_back(Make(Action::kUnary, Operator::kNot));
      return false;
    }
    return ReadPrimary();
  }

  bool ReadPrimary() {
    if (token_.kind == TokenKind::kLiteral) {
      PushConstant(std::move(token_.value));
      Advance();
      return true;
    }
    if (TakeSymbol("(")) {
      const bool literal = ReadExpression(kLowest);
      if (!TakeSymbol(")")) RaiseSyntax(kExpectedClosingParenthesis);
      return literal;
    }
    if (!AtName()) RaiseSyntax(kSyntaxError);
    const bool bracketed = token_.kind == TokenKind::kBracketedName;
    const std::string name(token_.text);
    Advance();
    if (bracketed) return ReadNamed(name);
    if (const auto constant = Keyword(name)) {
      PushConstant(*constant);
      return false;  // beside a text, True and False are values like any other
    }
    for (const std::string_view word : kReservedWords) {
      if (EqualsIgnoreCase(name, word)) RaiseSyntax(kSyntaxError);
    }
    if (auto constant = FindConstant(name); constant && !AtSymbol("(") && !AtSymbol(".")) {
      PushConstant(std::move(*constant));
      return false;
    }
    return ReadNamed(name);
  }

  bool AtName() const {
    return token_.kind == TokenKind::kName || token_.kind == TokenKind::kBracketedName;
  }

  // A name with all that is called, indexed or asked of it; never a literal.
  bool ReadNamed(const std::string& name) {
    ReadName(name);
    while (AtSymbol("(") || AtSymbol(".")) ReadAccess();
    return false;
  }

  static std::optional<Variant> Keyword(std::string_view name) {
    if (EqualsIgnoreCase(name, "True")) return Variant(true);
    if (EqualsIgnoreCase(name, "False")) return Variant(false);
    if (EqualsIgnoreCase(name, "Null")) return Variant::Null();
    if (EqualsIgnoreCase(name, "Empty")) return Variant();
    if (EqualsIgnoreCase(name, "Nothing")) return Variant::Nothing();
    return std::nullopt;
  }

  // A name alone, a call, or a member of the object of that name.
  void ReadName(const std::string& name) {
    if (AtSymbol(".")) {
      Instruction instruction = Make(Action::kMember);
      instruction.object = NameIndex(name);
      instruction.index = NameIndex(TakeMemberName());
      instruction.arguments = ReadArguments();
      program_.code.push_back(instruction);
      return;
    }
    const bool called = AtSymbol("(");
    Instruction instruction = Make(called ? Action::kCall : Action::kName);
    instruction.arguments = ReadArguments();
    instruction.function = FindFunction(name);
    instruction.index = NameIndex(name);
    if (instruction.function != nullptr) instruction.action = Action::kFunction;
    program_.code.push_back(instruction);
  }

  // An index or a member of the value just read.
  void ReadAccess() {
    Instruction instruction = Make(Action::kElement);
    if (AtSymbol(".")) {
      instruction.action = Action::kValueMember;
      instruction.index = NameIndex(TakeMemberName());
    }
    instruction.arguments = ReadArguments();
    program_.code.push_back(instruction);
  }

  std::string TakeMemberName() {
    Advance();
    if (!AtName()) RaiseSyntax(kExpectedIdentifier);
    std::string name(token_.text);
    Advance();
    return name;
  }

  std::uint32_t ReadArguments() {
    if (!TakeSymbol("(") || TakeSymbol(")")) return 0;
    std::uint32_t count = 0;
    do {
      if (AtSymbol(",")) {
        PushConstant(OmittedArgument());
      } else {
        ReadExpression(kLowest);
      }
      ++count;
    } while (TakeSymbol(","));
    if (!TakeSymbol(")")) RaiseSyntax(kExpectedClosingParenthesis);
    return count;
  }

  void PushConstant(Variant value) {
    Instruction instruction = Make(Action::kConstant);
    instruction.index = static_cast<std::uint32_t>(program_.constants.size());
    program_.constants.push_back(std::move(value));
    program_.code.push_back(instruction);
  }

  std::uint32_t NameIndex(std::string name) {
    program_.names.push_back(std::move(name));
    return static_cast<std::uint32_t>(program_.names.size() - 1);
  }

  Lexer lexer_;
  Token token_;
  Program program_;
  int depth_;
};

}  // namespace

Program Parse(std::string_view expression, int depth) {
  if (expression.size() > kLongestExpression) RaiseRunTime(kErrStackSpace);
  return Parser(expression, depth).Read();
}

}  // namespace qm
