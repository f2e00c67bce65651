// Variant: one value of the interface, with the types and the type numbers that the platform gives
// them. Fields, rule expressions and properties all speak in variants.
//
// A variant is a plain value: copying copies the text, moving leaves Empty-or-valid. Nothing here
// converts; conversions, with their overflow and rounding rules, are in <qm/conversions.h>.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <qm/api.h>

namespace qm {

/// The platform's type numbers, as `VarType` of an expression reports them.
enum class VarType : std::uint16_t {
  kEmpty = 0,
  kNull = 1,
  kInteger = 2,   ///< 16-bit signed
  kLong = 3,      ///< 32-bit signed
  kSingle = 4,    ///< 32-bit floating point
  kDouble = 5,    ///< 64-bit floating point
  kCurrency = 6,  ///< fixed point, four decimals
  kDate = 7,      ///< days since 1899-12-30, with the time of day as fraction
  kString = 8,    ///< UTF-8
  kObject = 9,    ///< only Nothing, the reference to no object
  kBoolean = 11,
  kByte = 17,      ///< 8-bit unsigned
  kLongLong = 20,  ///< 64-bit signed; only where an engine delivers more than 32 bits
  kArray = 8204    ///< array of variants, lower bound 0
};

/// A point in time: days since 1899-12-30 00:00, the fraction is the time of day. Before that day
/// the fraction still counts forward, as the platform's dates do (-1.25 is 1899-12-29 06:00).
struct Date {
  double serial = 0;
  friend bool operator==(const Date&, const Date&) = default;
};

/// An amount in ten-thousandths.
struct Currency {
  std::int64_t scaled = 0;
  friend bool operator==(const Currency&, const Currency&) = default;
};

class QM_API Variant {
 public:
  struct EmptyValue {
    friend bool operator==(EmptyValue, EmptyValue) { return true; }
  };
  struct NullValue {
    friend bool operator==(NullValue, NullValue) { return true; }
  };
  struct NothingValue {
    friend bool operator==(NothingValue, NothingValue) { return true; }
  };
  using Array = std::vector<Variant>;
  using ArrayPointer = std::shared_ptr<const Array>;

  Variant() = default;
  Variant(std::int16_t value) : value_(value) {}
  Variant(std::int32_t value) : value_(value) {}
  Variant(std::int64_t value) : value_(value) {}
  Variant(std::uint8_t value) : value_(value) {}
  Variant(float value) : value_(value) {}
  Variant(double value) : value_(value) {}
  Variant(bool value) : value_(value) {}
  Variant(Date value) : value_(value) {}
  Variant(Currency value) : value_(value) {}
  Variant(std::string value) : value_(std::move(value)) {}
  Variant(std::string_view value) : value_(std::string(value)) {}
  Variant(const char* value) : value_(std::string(value)) {}
  explicit Variant(Array values) : value_(std::make_shared<const Array>(std::move(values))) {}
  Variant(const void*) = delete;

  static Variant Null() { return Variant(Storage(NullValue{})); }
  static Variant Nothing() { return Variant(Storage(NothingValue{})); }

  VarType Type() const noexcept;
  bool IsEmpty() const noexcept { return std::holds_alternative<EmptyValue>(value_); }
  bool IsNull() const noexcept { return std::holds_alternative<NullValue>(value_); }
  bool IsText() const noexcept { return std::holds_alternative<std::string>(value_); }
  bool IsArray() const noexcept { return std::holds_alternative<ArrayPointer>(value_); }

  /// The held value of exactly that type; anything else is a fault of the caller
  /// (`std::bad_variant_access`). `Get<std::string>()`, `Get<std::int32_t>()`, …
  template <typename T>
  const T& Get() const {
    return std::get<T>(value_);
  }
  template <typename T>
  const T* GetIf() const noexcept {
    return std::get_if<T>(&value_);
  }
  /// Moves the text out, which leaves a text; not a text, a fault of the caller.
  std::string TakeText() { return std::get<std::string>(std::move(value_)); }
  /// Holds that text from now on, in the room of the one it held, where that is large enough.
  void AssignText(std::string_view text) {
    if (auto* own = std::get_if<std::string>(&value_)) {
      own->assign(text);
    } else {
      value_.emplace<std::string>(text);
    }
  }
  const Array& Elements() const { return *std::get<ArrayPointer>(value_); }

  /// Same type and same value; no conversion, and Null equals Null. The comparison operators of
  /// the expression language are another thing (`expression/`).
  friend bool operator==(const Variant& a, const Variant& b);

 private:
  using Storage =
      std::variant<EmptyValue, NullValue, std::int16_t, std::int32_t, std::int64_t, std::uint8_t,
                   float, double, bool, Date, Currency, std::string, NothingValue, ArrayPointer>;
  explicit Variant(Storage value) : value_(std::move(value)) {}

  Storage value_;
};

/// The name that `TypeName` of an expression gives the type: "Integer", "String", "Variant()", …
QM_API std::string_view TypeName(VarType type);

}  // namespace qm
