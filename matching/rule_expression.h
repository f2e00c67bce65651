// RuleExpression: a rule's field expression, read once and evaluated for many records.
//
// A plain column name gives that column's value. A script with its fields between marks is parsed
// once, and each record's values are bound in the places of its marks; that gives what putting them
// into the text as literals gives. Where it would not (a mark within a literal, a value with a line
// break, an expression that cannot be parsed), `Evaluate` says so, and the expression has to be
// rewritten and read for that record (match_field.h), which also raises its errors.
//
// An object belongs to one thread; copy it for another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "expression/program.h"
#include "expression/script_engine.h"
#include "matching/match_field.h"

namespace qm {

class RuleExpression {
 public:
  /// A trimmed expression.
  explicit RuleExpression(std::string_view expression);

  const std::string& text() const { return text_; }
  /// The columns it reads, each once, as it writes them. Complete unless it has to be rewritten.
  const std::vector<std::string>& fields() const { return fields_; }
  bool IsColumn() const { return kind_ == Kind::kColumn; }
  /// Whether it always has to be rewritten, and so may read any column.
  bool IsRewritten() const { return kind_ == Kind::kRewritten; }
  /// Whether equal values always give an equal result: neither the clock nor a text made by the
  /// expression itself decides, and it never has to be rewritten for values without line breaks.
  bool IsFixed() const;

  /// Its value, without quotes, where `values` are the texts of `fields()`; false when it has to be
  /// rewritten for them. Errors of the script pass.
  bool Evaluate(std::span<const std::string> values, ValueText mode, const ScriptEngine& engine,
                std::string& result);

 private:
  enum class Kind : std::uint8_t { kColumn, kProgram, kRewritten };
  struct Place {
    std::size_t constant = 0;  // of the program
    std::size_t field = 0;
  };

  void ReadScript();

  std::string text_;
  std::vector<std::string> fields_;
  Kind kind_ = Kind::kRewritten;
  Program program_;
  std::vector<Place> places_;
};

}  // namespace qm
