#include "component/array_conversion.h"

#include "component/client_variable.h"

namespace qm::component {

namespace {

LONG Elements(SAFEARRAY* array, LONG& lower) {
  LONG upper = -1;
  lower = 0;
  if (array == nullptr || SafeArrayGetDim(array) != 1) return 0;
  SafeArrayGetLBound(array, 1, &lower);
  SafeArrayGetUBound(array, 1, &upper);
  return upper - lower + 1;
}

HRESULT GetElement(SAFEARRAY* array, LONG index, PlatformVariant& element) {
  VARTYPE type = VT_EMPTY;
  HRESULT outcome = SafeArrayGetVartype(array, &type);
  if (FAILED(outcome)) return outcome;
  if (type == VT_VARIANT) return SafeArrayGetElement(array, &index, element.Receive());
  // All scalar payloads share one place in the union.
  outcome = SafeArrayGetElement(array, &index, &element.Receive()->llVal);
  if (SUCCEEDED(outcome)) element.get().vt = type;
  return outcome;
}

HRESULT PutElement(SAFEARRAY* array, VARTYPE type, LONG index, VARIANT& element) {
  switch (type) {
    case VT_VARIANT:
      return SafeArrayPutElement(array, &index, &element);
    case VT_BSTR:
      return SafeArrayPutElement(array, &index, element.bstrVal);
    default:
      return SafeArrayPutElement(array, &index, &element.llVal);
  }
}

bool AreEqualArrays(SAFEARRAY* a, SAFEARRAY* b) {
  if (a == nullptr || b == nullptr) return a == b;
  LONG lower = 0;
  LONG other_lower = 0;
  const LONG count = Elements(a, lower);
  if (count != Elements(b, other_lower) || lower != other_lower) return false;
  for (LONG i = lower; i < lower + count; ++i) {
    PlatformVariant left;
    PlatformVariant right;
    if (FAILED(GetElement(a, i, left)) || FAILED(GetElement(b, i, right)) ||
        !AreEqual(left.get(), right.get())) {
      return false;
    }
  }
  return true;
}

}  // namespace

HRESULT CopyElements(SAFEARRAY* from, SAFEARRAY* to, LCID locale) {
  VARTYPE type = VT_EMPTY;
  HRESULT outcome = SafeArrayGetVartype(to, &type);
  LONG lower = 0;
  const LONG count = Elements(from, lower);
  for (LONG i = lower; i < lower + count && SUCCEEDED(outcome); ++i) {
    PlatformVariant element;
    outcome = GetElement(from, i, element);
    if (SUCCEEDED(outcome) && type != VT_VARIANT) outcome = ChangeType(element, type, locale);
    if (SUCCEEDED(outcome)) outcome = PutElement(to, type, i, element.get());
  }
  return outcome;
}

HRESULT MakeLike(SAFEARRAY* model, VARTYPE type, SAFEARRAY** made) {
  if (model != nullptr && SafeArrayGetDim(model) > 1) return DISP_E_TYPEMISMATCH;
  LONG lower = 0;
  const LONG count = Elements(model, lower);
  SAFEARRAYBOUND bound{static_cast<ULONG>(count), lower};
  *made = SafeArrayCreate(type, 1, &bound);
  return *made == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT ConvertArray(SAFEARRAY* from, VARTYPE type, LCID locale, SAFEARRAY** to) {
  HRESULT outcome = MakeLike(from, type, to);
  if (FAILED(outcome)) return outcome;
  outcome = CopyElements(from, *to, locale);
  if (FAILED(outcome)) {
    SafeArrayDestroy(*to);
    *to = nullptr;
  }
  return outcome;
}

bool AreEqual(const VARIANT& a, const VARIANT& b) {
  if (a.vt != b.vt) return false;
  if ((a.vt & VT_ARRAY) != 0) return AreEqualArrays(a.parray, b.parray);
  switch (a.vt) {
    case VT_BSTR: {
      const UINT size = SysStringByteLen(a.bstrVal);
      return size == SysStringByteLen(b.bstrVal) &&
             (size == 0 || memcmp(a.bstrVal, b.bstrVal, size) == 0);
    }
    case VT_I2:
    case VT_BOOL:
      return a.iVal == b.iVal;
    case VT_I4:
      return a.lVal == b.lVal;
    default:
      return false;
  }
}

}  // namespace qm::component
