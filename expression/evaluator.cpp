#include "expression/evaluator.h"

#include <span>
#include <utility>
#include <vector>

#include <qm/conversions.h>
#include <qm/error.h>
#include "runtime/text.h"

namespace qm {

namespace {

// Bytes of text that the values of one evaluation may hold together.
constexpr std::size_t kMostText = 4 * kLongestText;

class Machine {
 public:
  Machine(const Program& program, const ScriptObjects& objects)
      : program_(program), objects_(objects) {}

  Variant Run() {
    for (const Instruction& instruction : program_.code) {
      Execute(instruction);
    }
    return stack_.empty() ? Variant() : std::move(stack_.back());
  }

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

  static std::size_t TextSize(const Variant& value) {
    const auto* text = value.GetIf<std::string>();
    return text == nullptr ? 0 : text->size();
  }

  void Push(Variant value) {
    const std::size_t size = TextSize(value);
    CheckTextLength(static_cast<double>(size));
    text_size_ += size;
    if (text_size_ > kMostText) RaiseRunTime(kErrStringSpace);
    stack_.push_back(std::move(value));
  }

  void Replace(std::size_t count, Variant value) {
    for (; count > 0; --count) {
      text_size_ -= TextSize(stack_.back());
      stack_.pop_back();
    }
    Push(std::move(value));
  }

  const std::string& Name(std::uint32_t index) const { return program_.names[index]; }

  Variant CallFunction(const Instruction& instruction) const {
    const Function& function = *instruction.function;
    if (instruction.arguments < function.fewest || instruction.arguments > function.most) {
      RaiseRunTime(kErrWrongArgumentCount, function.name);
    }
    return function.call(Top(instruction.arguments));
  }

  Variant CallMember(const std::string& name, const ScriptEngine::Member& member,
                     std::size_t count) const {
    if (static_cast<int>(count) != member.argument_count) {
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

  // An object has no value of its own; a name that stands for nothing is a variable never set.
  Variant ValueOfName(const Instruction& instruction) const {
    const std::string& name = Name(instruction.index);
    const std::string key = UpperCase(name);
    if (objects_.named.contains(key)) RaiseRunTime(kErrNoSuchMember, name);
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
  std::vector<Variant> stack_;
  std::size_t text_size_ = 0;
};

}  // namespace

Variant Run(const Program& program, const ScriptObjects& objects) {
  return Machine(program, objects).Run();
}

}  // namespace qm
