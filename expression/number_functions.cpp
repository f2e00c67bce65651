// Numbers: rounding and signs keep the type of their argument, the rest computes in Double.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/functions.h"
#include "expression/operators.h"
#include "runtime/date_text.h"

namespace qm {

namespace {

// A function of a real number applied to any number, in its own type. What is whole goes through
// unchanged by rounding, so only its sign can matter: see Abs.
template <typename OfReal>
Variant Keep(const Variant& value, OfReal of_real) {
  switch (value.Type()) {
    case VarType::kNull:
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
      return value;
    case VarType::kEmpty:
    case VarType::kBoolean:
      return ToInt16(value);
    case VarType::kSingle:
      return static_cast<float>(of_real(static_cast<double>(value.Get<float>())));
    case VarType::kCurrency:
      return CurrencyOf(of_real(static_cast<long double>(value.Get<Currency>().scaled) / 10000));
    case VarType::kDate:
      return ToDate(Variant(of_real(ToDouble(value))));
    default:
      return of_real(ToDouble(value));
  }
}

Variant Int(Arguments args) {
  return Keep(args[0], [](auto x) { return std::floor(x); });
}

Variant Fix(Arguments args) {
  return Keep(args[0], [](auto x) { return std::trunc(x); });
}

Variant Abs(Arguments args) {
  const bool negative = !args[0].IsNull() && ToDouble(args[0]) < 0;
  if (!negative) return Keep(args[0], [](auto x) { return x; });
  return args[0].IsText() ? Variant(-ToDouble(args[0])) : Negate(args[0]);
}

Variant Sgn(Arguments args) {
  const double value = ToDouble(args[0]);
  return static_cast<std::int16_t>(value > 0 ? 1 : value < 0 ? -1 : 0);
}

Variant Round(Arguments args) {
  constexpr std::int32_t kMostDigits = 22;
  const std::int32_t digits = WholeArgument(args, 1, 0, 0);
  if (digits > kMostDigits) RaiseRunTime(kErrInvalidCall);
  if (args[0].Type() == VarType::kBoolean) return args[0];
  const double scale = std::pow(10.0, digits);
  return Keep(args[0], [scale](auto x) {
    const auto scaled = x * scale;
    // From here on a double has no fraction left to round.
    constexpr double kWhole = 4503599627370496.0;
    return std::abs(scaled) < kWhole ? std::nearbyint(scaled) / scale : x;
  });
}

template <double (*kFunction)(double)>
Variant Real(Arguments args) {
  return Finite(kFunction(ToDouble(args[0])));
}

double Root(double x) {
  if (x < 0) RaiseRunTime(kErrInvalidCall);
  return std::sqrt(x);
}

double NaturalLog(double x) {
  if (x <= 0) RaiseRunTime(kErrInvalidCall);
  return std::log(x);
}

// A whole number's bits: 16 of them for what fits an Integer by type, else 32.
std::uint32_t Bits(const Variant& value) {
  switch (value.Type()) {
    case VarType::kEmpty:
    case VarType::kByte:
    case VarType::kBoolean:
    case VarType::kInteger:
      return static_cast<std::uint16_t>(ToInt16(value));
    default:
      return static_cast<std::uint32_t>(ToInt32(value));
  }
}

template <unsigned kShift>
Variant Digits(Arguments args) {
  if (args[0].IsNull()) return args[0];
  std::uint32_t bits = Bits(args[0]);
  std::string text;
  do {
    text.insert(text.begin(), "0123456789ABCDEF"[bits & ((1U << kShift) - 1U)]);
    bits >>= kShift;
  } while (bits != 0);
  return text;
}

// A colour: each part counts as at most 255.
Variant Rgb(Arguments args) {
  std::int32_t colour = 0;
  for (std::size_t i = 3; i-- > 0;) {
    colour = colour * 256 + std::min(std::int32_t{ToInt16(args[i])}, 255);
    if (ToInt16(args[i]) < 0) RaiseRunTime(kErrInvalidCall);
  }
  return colour;
}

constexpr std::array kNumberFunctions = {
    Function{"Int", 1, 1, Int},
    Function{"Fix", 1, 1, Fix},
    Function{"Abs", 1, 1, Abs},
    Function{"Sgn", 1, 1, Sgn},
    Function{"Round", 1, 2, Round},
    Function{"Sqr", 1, 1, Real<Root>},
    Function{"Exp", 1, 1, Real<std::exp>},
    Function{"Log", 1, 1, Real<NaturalLog>},
    Function{"Sin", 1, 1, Real<std::sin>},
    Function{"Cos", 1, 1, Real<std::cos>},
    Function{"Tan", 1, 1, Real<std::tan>},
    Function{"Atn", 1, 1, Real<std::atan>},
    Function{"Hex", 1, 1, Digits<4>},
    Function{"Oct", 1, 1, Digits<3>},
    Function{"RGB", 3, 3, Rgb},
};

}  // namespace

std::span<const Function> NumberFunctions() { return kNumberFunctions; }

}  // namespace qm
