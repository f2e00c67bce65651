// ScriptEngine: evaluates expressions of the VBScript language, as the script control's `Eval`
// takes them. Objects with functions can be added, so that an expression may call them.
//
// `Eval` keeps nothing between calls, so that the sequence of `Rnd` begins anew with each. Its
// errors are run-time errors with the language's own numbers (13 type mismatch, 94 invalid use of
// Null, 1002 syntax error, …). Nesting is bounded: a deep or huge expression is an error, never a
// crash.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include <qm/variant.h>

namespace qm {

struct Program;

class ScriptEngine {
 public:
  struct Member {
    int argument_count = 1;
    std::function<Variant(std::span<const Variant>)> call;
    int most_arguments = 0;  ///< where some may be left out
  };
  using Members = std::map<std::string, Member>;

  ScriptEngine();
  ~ScriptEngine();
  ScriptEngine(const ScriptEngine&) = delete;
  ScriptEngine& operator=(const ScriptEngine&) = delete;

  /// Adds an object under a name; with `members_global` its members can be called without it.
  /// Names are matched without regard to case. A member with an empty name is what the object's own
  /// name stands for. The language's object `Err` is there from the start.
  void AddObject(std::string_view name, const Members& members, bool members_global);

  Variant Eval(std::string_view expression) const;
  /// What `Eval` gives for the expression that the program was read from.
  Variant Run(const Program& program) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qm
