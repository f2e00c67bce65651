// Conversions between variants and plain values, by the platform's rules: halves round to the even
// neighbour, a value outside the target type is an overflow (6), a text that reads as no number a
// type mismatch (13), Null an invalid use of Null (94). Empty converts to 0, "" or False.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <qm/api.h>
#include <qm/variant.h>

namespace qm {

QM_API std::int16_t ToInt16(const Variant& value);
QM_API std::int32_t ToInt32(const Variant& value);
QM_API std::uint8_t ToByte(const Variant& value);
QM_API float ToSingle(const Variant& value);
QM_API double ToDouble(const Variant& value);
QM_API Currency ToCurrency(const Variant& value);
/// The amount to four decimals.
QM_API Currency CurrencyOf(long double amount);
QM_API bool ToBool(const Variant& value);
/// The text form: numbers with a point and without blanks, Single with 7 and Double with 15
/// significant digits, "True"/"False", dates in US short form ("1/2/2020 3:04:05 PM").
/// Null raises 94, an array 13, Nothing 91.
QM_API std::string ToText(const Variant& value);
QM_API std::string ToText(Variant&& value);
/// As `ToText`, but Null gives the empty string.
QM_API std::string ToTextOrEmpty(const Variant& value);
QM_API std::string ToTextOrEmpty(Variant&& value);

/// Whether the value is a number, or a text that reads as one, as `IsNumeric` decides: blanks
/// around, a sign before or after, thousands commas, "$", parentheses, "1e2" and "1d2", "&H10".
QM_API bool IsNumeric(const Variant& value);
/// The number that a text reads as, by the same rules; nothing when it does not.
QM_API std::optional<double> ParseNumber(std::string_view text);

/// Nearest whole number, halves to the even neighbour.
QM_API double RoundHalfEven(double value);
/// Narrowing with the platform's overflow error (6).
QM_API std::int16_t NarrowInt16(double whole);
QM_API std::int32_t NarrowInt32(double whole);

}  // namespace qm
