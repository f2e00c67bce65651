#include "expression/script_engine.h"

#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/evaluator.h"
#include "expression/functions.h"
#include "expression/program.h"
#include "runtime/text.h"

namespace qm {

struct ScriptEngine::State {
  ScriptObjects objects;
};

namespace {

template <typename Value>
ScriptEngine::Member Property(Value value) {
  return {0, [value](Arguments) { return Variant(value); }};
}

// The number is all that is raised: a text given with it may hold a record's value.
Variant RaiseError(Arguments args) {
  const std::int32_t number = ToInt32(args[0]);
  if (number == 0 || number > 65535) RaiseRunTime(kErrInvalidCall);
  RaiseRunTime(number);
}

// While an expression runs no error has happened yet.
ScriptEngine::Members ErrorObject() {
  return {{"", Property(std::int32_t{0})},
          {"Number", Property(std::int32_t{0})},
          {"Source", Property("")},
          {"Description", Property("")},
          {"HelpFile", Property("")},
          {"HelpContext", Property(std::int32_t{0})},
          {"Clear", {0, [](Arguments) { return Variant(); }}},
          {"Raise", {1, RaiseError, 5}}};
}

}  // namespace

ScriptEngine::ScriptEngine() : state_(std::make_unique<State>()) {
  AddObject("Err", ErrorObject(), false);
}

ScriptEngine::~ScriptEngine() = default;

void ScriptEngine::AddObject(std::string_view name, const Members& members, bool members_global) {
  Members by_key;
  for (const auto& [member_name, member] : members) {
    const std::string key = UpperCase(member_name);
    if (members_global) state_->objects.global_members.insert_or_assign(key, member);
    by_key.insert_or_assign(key, member);
  }
  state_->objects.named.insert_or_assign(UpperCase(name), std::move(by_key));
}

Variant ScriptEngine::Eval(std::string_view expression) const { return Run(Parse(expression)); }

Variant ScriptEngine::Run(const Program& program) const {
  return qm::Run(program, state_->objects);
}

}  // namespace qm
