// The engine itself: evaluating a text, random numbers, version and locale; and what it does not
// do, which is to make objects, to show anything and to read files.
#include <array>
#include <bit>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/functions.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::int32_t kErrPermissionDenied = 70;
constexpr std::int32_t kErrCannotCreateObject = 429;
constexpr std::int32_t kErrLocale = 447;

// What is no text is its own value.
Variant Eval(Evaluation& evaluation, Arguments args) {
  return args[0].IsText() ? evaluation.Eval(args[0].Get<std::string>()) : args[0];
}

// Rnd([number]): the next of a sequence; the last one again for 0; for a negative number the one
// that belongs to it.
Variant Rnd(Evaluation& evaluation, Arguments args) {
  constexpr std::uint32_t kMask = 0xFFFFFF;
  std::uint32_t& state = evaluation.Random();
  const Variant* given = OptionalArgument(args, 0);
  const float number = given == nullptr ? 1.0F : ToSingle(*given);
  if (number < 0) {
    const auto bits = std::bit_cast<std::uint32_t>(number);
    state = (bits + (bits >> 24U)) & kMask;
  }
  if (number != 0) state = (state * 0x43FD43FDU + 0xC39EC3U) & kMask;
  return static_cast<float>(state) / 16777216.0F;
}

constexpr std::int32_t kUsEnglish = 1033;

Variant Engine(Arguments) { return "VBScript"; }
template <std::int32_t kNumber>
Variant Number(Arguments) {
  return kNumber;
}

// SetLocale(locale) gives the one before. There is only US English; 0 is the system's own.
Variant SetLocale(Arguments args) {
  const bool known = args[0].IsText() && !IsNumeric(args[0])
                         ? EqualsIgnoreCase(args[0].Get<std::string>(), "en-us")
                         : ToInt32(args[0]) == kUsEnglish || ToInt32(args[0]) == 0;
  if (!known) RaiseRunTime(kErrLocale);
  return kUsEnglish;
}

template <std::int32_t kError>
Variant Refuse(Arguments) {
  RaiseRunTime(kError);
}

constexpr std::array kEngineFunctions = {
    Function{"Eval", 1, 1, nullptr, Eval},
    Function{"Rnd", 0, 1, nullptr, Rnd},
    Function{"ScriptEngine", 0, 0, Engine},
    Function{"ScriptEngineMajorVersion", 0, 0, Number<5>},
    Function{"ScriptEngineMinorVersion", 0, 0, Number<8>},
    Function{"ScriptEngineBuildVersion", 0, 0, Number<16384>},
    Function{"GetLocale", 0, 0, Number<kUsEnglish>},
    Function{"GetUILanguage", 0, 0, Number<kUsEnglish>},
    Function{"SetLocale", 1, 1, SetLocale},
    Function{"CreateObject", 1, 2, Refuse<kErrCannotCreateObject>},
    Function{"GetObject", 0, 2, Refuse<kErrCannotCreateObject>},
    Function{"GetRef", 1, 1, Refuse<kErrInvalidCall>},
    Function{"MsgBox", 1, 5, Refuse<kErrPermissionDenied>},
    Function{"InputBox", 1, 7, Refuse<kErrPermissionDenied>},
    Function{"LoadPicture", 0, 1, Refuse<kErrPermissionDenied>},
};

}  // namespace

std::span<const Function> EngineFunctions() { return kEngineFunctions; }

}  // namespace qm
