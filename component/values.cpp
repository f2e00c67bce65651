#include "component/values.h"

#include <new>

namespace qm::component {

namespace {

SAFEARRAY* MakeArray(VARTYPE type, std::size_t size) {
  SAFEARRAY* const array = SafeArrayCreateVector(type, 0, static_cast<ULONG>(size));
  if (array == nullptr) throw std::bad_alloc();
  return array;
}

void Replace(SAFEARRAY** place, SAFEARRAY* array) {
  if (*place != nullptr) SafeArrayDestroy(*place);
  *place = array;
}

}  // namespace

void Rewrite(BSTR* place, std::string_view text) {
  BSTR const fresh = MakeBstr(text);
  SysFreeString(*place);
  *place = fresh;
}

std::vector<std::string> Texts(SAFEARRAY* const* array) {
  if (array == nullptr || *array == nullptr) return {};
  VARTYPE type = VT_EMPTY;
  SafeArrayGetVartype(*array, &type);
  if (type != VT_BSTR || SafeArrayGetDim(*array) != 1) RaiseRunTime(kErrTypeMismatch);
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(*array, 1, &lower);
  SafeArrayGetUBound(*array, 1, &upper);
  if (lower < 0) RaiseRunTime(kErrSubscript);
  std::vector<std::string> texts(upper < lower ? 0 : static_cast<std::size_t>(upper) + 1);
  for (LONG i = lower; i <= upper; ++i) {
    BSTR element = nullptr;
    if (FAILED(SafeArrayGetElement(*array, &i, &element))) RaiseRunTime(kErrSubscript);
    texts[static_cast<std::size_t>(i)] = FromBstr(element);
    SysFreeString(element);
  }
  return texts;
}

void HandOut(const std::vector<std::string>& values, SAFEARRAY** array) {
  RequireNotNull(array);
  SAFEARRAY* const fresh = MakeArray(VT_BSTR, values.size());
  for (LONG i = 0; i < static_cast<LONG>(values.size()); ++i) {
    BSTR const element = MakeBstr(values[static_cast<std::size_t>(i)]);
    SafeArrayPutElement(fresh, &i, element);
    SysFreeString(element);
  }
  Replace(array, fresh);
}

void HandOut(const std::vector<std::int16_t>& values, SAFEARRAY** array) {
  RequireNotNull(array);
  SAFEARRAY* const fresh = MakeArray(VT_I2, values.size());
  for (LONG i = 0; i < static_cast<LONG>(values.size()); ++i) {
    std::int16_t element = values[static_cast<std::size_t>(i)];
    SafeArrayPutElement(fresh, &i, &element);
  }
  Replace(array, fresh);
}

}  // namespace qm::component
