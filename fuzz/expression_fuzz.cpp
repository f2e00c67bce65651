// Evaluates whatever it is given as an expression. A value or an error of the language is right;
// a crash, a leak, an undefined operation, a hang or any other exception is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/script_engine.h"

namespace {

const qm::ScriptEngine& Engine() {
  static const auto* engine = [] {
    auto* made = new qm::ScriptEngine;
    const auto first = [](std::span<const qm::Variant> args) {
      return qm::Variant(qm::ToText(args[0]).substr(0, 1));
    };
    made->AddObject("Functions", {{"Soundex", {1, first}}}, true);
    return made;
  }();
  return *engine;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const qm::Variant value = Engine().Eval({reinterpret_cast<const char*>(data), size});
    if (!value.IsArray()) qm::ToTextOrEmpty(value);
  } catch (const qm::Error& error) {
    // Every error has a number and a description of its own.
    if (error.number() == 0 || *error.description() == '\0') std::abort();
  }
  return 0;
}
