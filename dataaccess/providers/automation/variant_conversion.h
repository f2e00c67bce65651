// The platform's values and ours: VARIANT and qm::Variant, BSTR and UTF-8.
//
// From the platform: references are followed, an object gives the value of its default member,
// whole numbers become Integer, Long or LongLong, a decimal a whole number where it is one that
// fits and else a Double, arrays of one dimension lose their lower bound. An omitted argument is
// Empty. To the platform: a LongLong becomes a Double while that is exact, then a decimal, since
// script languages know no 64-bit numbers; arrays are arrays of variants, in which a LongLong stays
// what it is, so that a bookmark comes back unchanged.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include <qm/variant.h>

#include "dataaccess/providers/automation/platform.h"

namespace qm {

/// Owns one VARIANT.
class PlatformVariant {
 public:
  PlatformVariant() { VariantInit(&value_); }
  explicit PlatformVariant(const Variant& value);
  ~PlatformVariant() { VariantClear(&value_); }
  PlatformVariant(PlatformVariant&& other) noexcept : value_(other.value_) {
    VariantInit(&other.value_);
  }
  PlatformVariant& operator=(PlatformVariant&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  /// An argument that is not given.
  static PlatformVariant Missing();
  /// A reference to an object, counted once more.
  static PlatformVariant Object(IDispatch* object);

  VARIANT& get() { return value_; }
  const VARIANT& get() const { return value_; }
  /// The value, cleared, for a function of the platform to fill.
  VARIANT* Receive();
  VARIANT Detach();

 private:
  VARIANT value_;
};

/// 13 for a value that has no counterpart.
Variant FromPlatform(const VARIANT& value);
/// The caller owns the result. An array starts at `lower_bound`.
VARIANT ToPlatform(const Variant& value, LONG lower_bound = 0);
bool IsMissing(const VARIANT& value);

/// An unpaired surrogate becomes the replacement character.
std::string FromBstr(const OLECHAR* text, UINT length);
std::string FromBstr(BSTR text);
std::wstring Wide(std::string_view text);
/// The caller owns the result; 7 when memory is out.
BSTR MakeBstr(std::string_view text);

/// The value of an object's default member; the object's own error when it has none.
PlatformVariant DefaultValue(IDispatch* object);

}  // namespace qm
