#include "dataaccess/providers/automation/variant_conversion.h"

#include <cstdint>
#include <limits>
#include <new>
#include <utility>

#include <qm/error.h>

#include "dataaccess/providers/automation/com_pointer.h"
#include "dataaccess/providers/automation/late_bound.h"
#include "runtime/utf16.h"

namespace qm {

namespace {

constexpr int kDeepestNesting = 16;

Variant WholeNumber(std::int64_t value) {
  const auto narrow = static_cast<std::int32_t>(value);
  return narrow == value ? Variant(narrow) : Variant(value);
}

Variant WholeNumber(std::uint64_t value) {
  if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    return static_cast<double>(value);
  }
  return WholeNumber(static_cast<std::int64_t>(value));
}

Variant FromDecimal(DECIMAL decimal) {
  if (decimal.scale == 0 && decimal.Hi32 == 0 && decimal.Lo64 <= INT64_MAX) {
    const auto size = static_cast<std::int64_t>(decimal.Lo64);
    return WholeNumber(decimal.sign == 0 ? size : -size);
  }
  double real = 0;
  if (FAILED(VarR8FromDec(&decimal, &real))) RaiseRunTime(kErrOverflow);
  return real;
}

PlatformVariant ElementOf(SAFEARRAY* array, LONG index) {
  VARTYPE type = VT_EMPTY;
  SafeArrayGetVartype(array, &type);
  PlatformVariant element;
  HRESULT outcome = S_OK;
  if (type == VT_VARIANT) {
    outcome = SafeArrayGetElement(array, &index, &element.get());
  } else if (type == VT_RECORD || type == VT_DECIMAL || type == VT_EMPTY) {
    outcome = DISP_E_TYPEMISMATCH;
  } else {
    // All scalar payloads share one place in the union.
    outcome = SafeArrayGetElement(array, &index, &element.get().llVal);
    if (SUCCEEDED(outcome)) element.get().vt = type;
  }
  if (FAILED(outcome)) RaiseRunTime(kErrTypeMismatch);
  return element;
}

Variant FromPlatformNested(const VARIANT& value, int depth);

Variant FromArray(SAFEARRAY* array, int depth) {
  Variant::Array elements;
  if (array == nullptr || SafeArrayGetDim(array) == 0) return Variant(std::move(elements));
  if (SafeArrayGetDim(array) != 1) RaiseRunTime(kErrTypeMismatch);
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(array, 1, &lower);
  SafeArrayGetUBound(array, 1, &upper);
  for (LONG i = lower; i <= upper; ++i) {
    elements.push_back(FromPlatformNested(ElementOf(array, i).get(), depth + 1));
  }
  return Variant(std::move(elements));
}

Variant FromPlatformNested(const VARIANT& value, int depth) {
  if (depth > kDeepestNesting) RaiseRunTime(kErrTypeMismatch);
  if (value.vt == (VT_BYREF | VT_VARIANT)) return FromPlatformNested(*value.pvarVal, depth + 1);
  if ((value.vt & VT_ARRAY) != 0) {
    return FromArray((value.vt & VT_BYREF) != 0 ? *value.pparray : value.parray, depth);
  }
  if ((value.vt & VT_BYREF) != 0) {
    VARIANT reference = value;
    PlatformVariant copy;
    if (FAILED(VariantCopyInd(&copy.get(), &reference))) RaiseRunTime(kErrTypeMismatch);
    return FromPlatformNested(copy.get(), depth + 1);
  }
  switch (value.vt) {
    case VT_EMPTY:
      return {};
    case VT_ERROR:
      if (IsMissing(value)) return {};
      break;
    case VT_NULL:
      return Variant::Null();
    case VT_I2:
      return value.iVal;
    case VT_I4:
      return static_cast<std::int32_t>(value.lVal);
    case VT_INT:
      return static_cast<std::int32_t>(value.intVal);
    case VT_R4:
      return value.fltVal;
    case VT_R8:
      return value.dblVal;
    case VT_CY:
      return Currency{value.cyVal.int64};
    case VT_DATE:
      return Date{value.date};
    case VT_BSTR:
      return FromBstr(value.bstrVal);
    case VT_BOOL:
      return value.boolVal != VARIANT_FALSE;
    case VT_UI1:
      return static_cast<std::uint8_t>(value.bVal);
    case VT_I1:
      return static_cast<std::int16_t>(static_cast<signed char>(value.cVal));
    case VT_UI2:
      return static_cast<std::int32_t>(value.uiVal);
    case VT_UI4:
      return WholeNumber(std::uint64_t{value.ulVal});
    case VT_UINT:
      return WholeNumber(std::uint64_t{value.uintVal});
    case VT_I8:
      return std::int64_t{value.llVal};
    case VT_UI8:
      return WholeNumber(std::uint64_t{value.ullVal});
    case VT_DECIMAL:
      return FromDecimal(value.decVal);
    case VT_DISPATCH:
    case VT_UNKNOWN: {
      if (value.punkVal == nullptr) return Variant::Nothing();
      const auto object = ComPointer<IDispatch>::From(value.punkVal);
      if (!object) RaiseRunTime(kErrTypeMismatch);
      return FromPlatformNested(DefaultValue(object.get()).get(), depth + 1);
    }
    default:
      break;
  }
  RaiseRunTime(kErrTypeMismatch);
}

void PutLongLong(VARIANT& result, std::int64_t value) {
  constexpr std::int64_t kExact = std::int64_t{1} << 53;
  if (value >= -kExact && value <= kExact) {
    result.vt = VT_R8;
    result.dblVal = static_cast<double>(value);
    return;
  }
  DECIMAL decimal{};
  VarDecFromI8(value, &decimal);
  result.decVal = decimal;  // overwrites the type, which shares its place
  result.vt = VT_DECIMAL;
}

SAFEARRAY* MakeArray(const Variant::Array& elements, LONG lower_bound) {
  SAFEARRAYBOUND bound{static_cast<ULONG>(elements.size()), lower_bound};
  SAFEARRAY* const array = SafeArrayCreate(VT_VARIANT, 1, &bound);
  if (array == nullptr) throw std::bad_alloc();
  for (const Variant& element : elements) {
    PlatformVariant value(element);
    if (const auto* exact = element.GetIf<std::int64_t>()) {
      value.Receive()->llVal = *exact;
      value.get().vt = VT_I8;
    }
    LONG index = lower_bound++;
    SafeArrayPutElement(array, &index, &value.get());
  }
  return array;
}

}  // namespace

PlatformVariant::PlatformVariant(const Variant& value) : value_(ToPlatform(value)) {}

PlatformVariant PlatformVariant::Missing() {
  PlatformVariant result;
  result.value_.vt = VT_ERROR;
  result.value_.scode = DISP_E_PARAMNOTFOUND;
  return result;
}

PlatformVariant PlatformVariant::Object(IDispatch* object) {
  PlatformVariant result;
  result.value_.vt = VT_DISPATCH;
  result.value_.pdispVal = ComPointer<IDispatch>(object).Detach();
  return result;
}

VARIANT* PlatformVariant::Receive() {
  VariantClear(&value_);
  return &value_;
}

VARIANT PlatformVariant::Detach() {
  const VARIANT result = value_;
  VariantInit(&value_);
  return result;
}

bool IsMissing(const VARIANT& value) {
  if (value.vt == (VT_BYREF | VT_VARIANT)) return IsMissing(*value.pvarVal);
  return value.vt == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND;
}

Variant FromPlatform(const VARIANT& value) { return FromPlatformNested(value, 0); }

VARIANT ToPlatform(const Variant& value, LONG lower_bound) {
  VARIANT result;
  VariantInit(&result);
  result.vt = static_cast<VARTYPE>(value.Type());
  switch (value.Type()) {
    case VarType::kEmpty:
    case VarType::kNull:
      break;
    case VarType::kInteger:
      result.iVal = value.Get<std::int16_t>();
      break;
    case VarType::kLong:
      result.lVal = value.Get<std::int32_t>();
      break;
    case VarType::kSingle:
      result.fltVal = value.Get<float>();
      break;
    case VarType::kDouble:
      result.dblVal = value.Get<double>();
      break;
    case VarType::kCurrency:
      result.cyVal.int64 = value.Get<Currency>().scaled;
      break;
    case VarType::kDate:
      result.date = value.Get<Date>().serial;
      break;
    case VarType::kString:
      result.vt = VT_EMPTY;
      result.bstrVal = MakeBstr(value.Get<std::string>());
      result.vt = VT_BSTR;
      break;
    case VarType::kObject:
      result.pdispVal = nullptr;
      break;
    case VarType::kBoolean:
      result.boolVal = value.Get<bool>() ? VARIANT_TRUE : VARIANT_FALSE;
      break;
    case VarType::kByte:
      result.bVal = value.Get<std::uint8_t>();
      break;
    case VarType::kLongLong:
      PutLongLong(result, value.Get<std::int64_t>());
      break;
    case VarType::kArray:
      result.parray = MakeArray(value.Elements(), lower_bound);
      break;
  }
  return result;
}

std::string FromBstr(const OLECHAR* text, UINT length) {
  // Both are UTF-16 on this platform.
  return Utf8({reinterpret_cast<const char16_t*>(text), length});
}

std::string FromBstr(BSTR text) { return FromBstr(text, SysStringLen(text)); }

std::wstring Wide(std::string_view text) {
  const std::u16string units = Utf16(text);
  return {units.begin(), units.end()};
}

BSTR MakeBstr(std::string_view text) {
  const std::wstring wide = Wide(text);
  BSTR result = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  if (result == nullptr) throw std::bad_alloc();
  return result;
}

PlatformVariant DefaultValue(IDispatch* object) {
  return LateBound(ComPointer<IDispatch>(object))
      .Invoke(DISPID_VALUE, DISPATCH_PROPERTYGET | DISPATCH_METHOD, {});
}

}  // namespace qm
