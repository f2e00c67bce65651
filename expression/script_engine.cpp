#include "expression/script_engine.h"

#include <utility>

#include "expression/evaluator.h"
#include "expression/program.h"
#include "runtime/text.h"

namespace qm {

struct ScriptEngine::State {
  ScriptObjects objects;
};

ScriptEngine::ScriptEngine() : state_(std::make_unique<State>()) {}

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

Variant ScriptEngine::Eval(std::string_view expression) const {
  return Run(Parse(expression), state_->objects);
}

}  // namespace qm
