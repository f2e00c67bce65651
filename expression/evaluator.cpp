#include "expression/evaluator.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include <qm/conversions.h>
#include <qm/error.h>
#include "runtime/text.h"

namespace qm {

namespace {

// Bytes of text and elements that the values of one evaluation may hold together, and the same for
// all values that it makes one after the other.
constexpr std::size_t kMostHeld = 4 * kLongestText;
constexpr std::size_t kMostMade = 16 * kLongestText;

// What an evaluation has used, with all evaluations within it.
struct Usage {
  std::size_t held = 0;
  std::size_t made = 0;
  int depth = 0;
  std::uint32_t random = 0x50000;

  void Make(std::size_t size) {
    made += size;
    if (made > kMostMade) RaiseRunTime(kErrOutOfMemory);
  }
};

std::size_t SizeOf(const Variant& value, int depth = 0) {
  if (const auto* text = value.GetIf<std::string>()) return text->size();
  if (!value.IsArray()) return 0;
  if (depth == kDeepest) RaiseRunTime(kErrStackSpace);
  std::size_t size = 0;
  for (const Variant& element : value.Elements()) {
    size += sizeof(Variant) + SizeOf(element, depth + 1);
  }
  return size;
}

class Machine final : public Evaluation {
 public:
  Machine(const Program& program, const ScriptObjects& objects, Usage& usage)
      : program_(program), objects_(objects), usage_(usage) {}

  Variant Run() {
    for (const Instruction& instruction : program_.code) {
      Execute(instruction);
    }
    return stack_.empty() ? Variant() : Pop();
  }

  // Each level of evaluations takes the room of some levels of nesting.
  Variant Eval(const std::string& expression) override {
    constexpr int kLevels = 12;
    constexpr std::size_t kCost = 4096;
    usage_.Make(kCost + expression.size() * sizeof(Instruction));
    usage_.depth += kLevels;
    const Program program = Parse(expression, usage_.depth);
    Variant value = Machine(program, objects_, usage_).Run();
    usage_.depth -= kLevels;
    return value;
  }

  std::uint32_t& Random() override { return usage_.random; }

 private:
  void Execute(const Instruction& instruction) {
    switch (instruction.action) {
      case Action::kConstant:
        return Push(program_.constants[instruction.index]);
      case Action::kName:
        return Push(ValueOfName(instruction));
      case Action::kUnary:
        return Replace(1, instruction.op == Operator::kNot ? Not(Top(1)[0]) : Negate(Top(1)[0]));
      case Action::kBinary:
        return Replace(2, Apply(instruction.op, Top(2)[0], Top(2)[1], instruction.literals));
      case Action::kFunction:
        return Replace(instruction.arguments, CallFunction(instruction));
      case Action::kCall:
        return Replace(instruction.arguments, CallName(instruction));
      case Action::kMember:
        return Replace(instruction.arguments, CallObject(instruction));
      case Action::kValueMember:
        RaiseRunTime(Top(instruction.arguments + 1)[0].Type() == VarType::kObject
                         ? kErrObjectNotSet
                         : kErrObjectRequired);
      case Action::kElement:
        return Replace(instruction.arguments + 1, Element(Top(instruction.arguments + 1)));
    }
  }

  Arguments Top(std::size_t count) const { return Arguments(stack_).last(count); }

  void Push(Variant value) {
    const std::size_t size = SizeOf(value);
    if (value.IsText()) CheckTextLength(static_cast<double>(size));
    usage_.Make(size);
    usage_.held += size;
    if (usage_.held > kMostHeld) RaiseRunTime(kErrStringSpace);
    sizes_.push_back(size);
    stack_.push_back(std::move(value));
  }

  Variant Pop() {
    Variant value = std::move(stack_.back());
    usage_.held -= sizes_.back();
    stack_.pop_back();
    sizes_.pop_back();
    return value;
  }

  void Replace(std::size_t count, Variant value) {
    for (; count > 0; --count) Pop();
    Push(std::move(value));
  }

  const std::string& Name(std::uint32_t index) const { return program_.names[index]; }

  Variant CallFunction(const Instruction& instruction) {
    const Function& function = *instruction.function;
    if (instruction.arguments < function.fewest || instruction.arguments > function.most) {
      RaiseRunTime(kErrWrongArgumentCount, function.name);
    }
    const Arguments arguments = Top(instruction.arguments);
    return function.call != nullptr ? function.call(arguments)
                                    : function.call_within(*this, arguments);
  }

  Variant CallMember(const std::string& name, const ScriptEngine::Member& member,
                     std::size_t count) const {
    const int most = std::max(member.argument_count, member.most_arguments);
    if (static_cast<int>(count) < member.argument_count || static_cast<int>(count) > most) {
      RaiseRunTime(kErrWrongArgumentCount, name);
    }
    return member.call(Top(count));
  }

  Variant CallName(const Instruction& instruction) const {
    const std::string& name = Name(instruction.index);
    const auto member = objects_.global_members.find(UpperCase(name));
    if (member == objects_.global_members.end()) RaiseRunTime(kErrTypeMismatch, name);
    return CallMember(name, member->second, instruction.arguments);
  }

  Variant CallObject(const Instruction& instruction) const {
    const std::string& name = Name(instruction.index);
    const auto object = objects_.named.find(UpperCase(Name(instruction.object)));
    if (object == objects_.named.end()) RaiseRunTime(kErrObjectRequired, Name(instruction.object));
    const auto member = object->second.find(UpperCase(name));
    if (member == object->second.end()) RaiseRunTime(kErrNoSuchMember, name);
    return CallMember(name, member->second, instruction.arguments);
  }

  // An object has the value of its default member; a name that stands for nothing is a variable
  // never set.
  Variant ValueOfName(const Instruction& instruction) const {
    const std::string& name = Name(instruction.index);
    const std::string key = UpperCase(name);
    if (const auto object = objects_.named.find(key); object != objects_.named.end()) {
      const auto standard = object->second.find("");
      if (standard == object->second.end()) RaiseRunTime(kErrNoSuchMember, name);
      return CallMember(name, standard->second, 0);
    }
    const auto member = objects_.global_members.find(key);
    if (member == objects_.global_members.end()) return {};
    return CallMember(name, member->second, 0);
  }

  static Variant Element(Arguments value_and_indexes) {
    const Variant& value = value_and_indexes[0];
    if (!value.IsArray()) RaiseRunTime(kErrTypeMismatch);
    if (value_and_indexes.size() != 2) RaiseRunTime(kErrSubscript);
    const std::int32_t index = ToInt32(value_and_indexes[1]);
    const auto& elements = value.Elements();
    if (index < 0 || static_cast<std::size_t>(index) >= elements.size()) {
      RaiseRunTime(kErrSubscript);
    }
    return elements[static_cast<std::size_t>(index)];
  }

  const Program& program_;
  const ScriptObjects& objects_;
  Usage& usage_;
  std::vector<Variant> stack_;
  std::vector<std::size_t> sizes_;
};

}  // namespace

Variant Run(const Program& program, const ScriptObjects& objects) {
  Usage usage;
  return Machine(program, objects, usage).Run();
}

}  // namespace qm
