#include "component/client_variable.h"

#include <cstring>
#include <utility>

namespace qm::component {

namespace {

// Of the payloads that are copied as they are; 0 for all others.
std::size_t SizeOf(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_BOOL:
    case VT_I2:
    case VT_UI2:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
      return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
      return 8;
    default:
      return 0;
  }
}

}  // namespace

HRESULT ChangeType(PlatformVariant& value, VARTYPE type, LCID locale) {
  if (value.get().vt == type) return S_OK;
  const USHORT flags = type == VT_BSTR ? VARIANT_ALPHABOOL : 0;
  return VariantChangeTypeEx(&value.get(), &value.get(), locale, flags, type);
}

HRESULT Assign(VARIANT& variable, PlatformVariant value, LCID locale) {
  if (variable.vt == (VT_BYREF | VT_VARIANT)) {
    return Assign(*variable.pvarVal, std::move(value), locale);
  }
  if ((variable.vt & VT_BYREF) == 0) {
    const HRESULT outcome = VariantClear(&variable);
    if (SUCCEEDED(outcome)) variable = value.Detach();
    return outcome;
  }
  const auto type = static_cast<VARTYPE>(variable.vt & ~VT_BYREF);
  const HRESULT outcome = ChangeType(value, type, locale);
  if (FAILED(outcome)) return outcome;
  if (type == VT_BSTR) {
    std::swap(*variable.pbstrVal, value.get().bstrVal);  // what it held goes with the value
  } else if (type == VT_DECIMAL) {
    *variable.pdecVal = value.get().decVal;
    variable.pdecVal->wReserved = 0;
  } else if (const std::size_t size = SizeOf(type); size != 0) {
    std::memcpy(variable.byref, &value.get().llVal, size);
  } else {
    return DISP_E_TYPEMISMATCH;
  }
  return S_OK;
}

}  // namespace qm::component
