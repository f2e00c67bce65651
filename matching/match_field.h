// The value of a rule's field expression for one record.
//
// A plain column name is looked up in the record. An expression with a parenthesis is a script:
// `<<name>>` becomes the field's value as a string literal, and the calling thread's script engine
// evaluates the rest. A value that holds a double quote breaks its literal; whoever writes rules
// avoids such fields.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <qm/recordset.h>

#include "dataaccess/text_rows.h"
#include "expression/script_engine.h"

namespace qm {

/// What stands around a field's name in an expression.
inline constexpr std::string_view kOpenMark = "<<";
inline constexpr std::string_view kCloseMark = ">>";

/// Replaces every `<<name>>` in `expression` by `field(name)` between double quotes. All
/// occurrences of one name go in one pass. Text that the replacement brings in is scanned again.
/// An endless rewriting, which a value with ">>" in it can cause, is a syntax error (1002).
void SubstituteFields(std::string& expression,
                      const std::function<std::string(std::string_view name)>& field);

/// How a record's values get into an expression: `kPlain` as published, or `kEscaped`, with double
/// quotes doubled and marks in a value left alone, so that no value can break or run as script.
enum class ValueText { kPlain, kEscaped };

/// The text of a record's field; raises 3265 for a name that it lacks.
using FieldReader = std::function<std::string(std::string_view name)>;

/// The value of `expression` for the record behind `field`, between single quotes; the expression
/// is rewritten in place. Errors of the script pass through.
std::string EvaluateExpression(std::string& expression, const FieldReader& field, ValueText values);

/// Raises 3265 for a column that a rule names and the record lacks.
[[noreturn]] void RaiseNoSuchField(std::string_view name, std::string_view rule);

/// The value of `expression`, which is rewritten in place, for the row that `record` stands on;
/// always between single quotes. Errors of the look-up (3265) and of the script pass through.
std::string EvaluateMatchField(std::string& expression, const Recordset& record,
                               ValueText values = ValueText::kPlain);
std::string EvaluateMatchField(std::string& expression, const RowTexts& record, ValueText values);

/// The calling thread's script engine, made at its first use: the object "Functions" with the
/// member `Soundex` is added with its members global.
const ScriptEngine& MatchScriptEngine();

}  // namespace qm
