#include "component/values.h"

#include <new>

namespace qm::component {

namespace {

SAFEARRAY* MakeArray(VARTYPE type, std::size_t size) {
  SAFEARRAY* const array = SafeArrayCreateVector(type, 0, static_cast<ULONG>(size));
  if (array == nullptr) throw std::bad_alloc();
  return array;
}

constexpr std::int32_t kErrArrayFixed = 10;

bool Covers(SAFEARRAY* array, VARTYPE type, std::size_t size) {
  VARTYPE own = VT_EMPTY;
  LONG lower = 0;
  LONG upper = -1;
  return SafeArrayGetDim(array) == 1 && SUCCEEDED(SafeArrayGetVartype(array, &own)) &&
         own == type && SUCCEEDED(SafeArrayGetLBound(array, 1, &lower)) &&
         SUCCEEDED(SafeArrayGetUBound(array, 1, &upper)) && lower <= 0 &&
         upper >= static_cast<LONG>(size) - 1;
}

// The array to fill: a new one, or the client's own where that cannot be replaced but has room.
SAFEARRAY* ArrayFor(SAFEARRAY** place, VARTYPE type, std::size_t size) {
  RequireNotNull(place);
  if (!IsFixed(*place)) {
    SAFEARRAY* const fresh = MakeArray(type, size);
    if (*place != nullptr) SafeArrayDestroy(*place);
    *place = fresh;
  } else if (!Covers(*place, type, size)) {
    throw Error(kErrArrayFixed, "QMDataObjects2", "This array is fixed or temporarily locked");
  }
  return *place;
}

void PutText(SAFEARRAY* array, LONG i, const std::string& text) {
  BSTR const element = MakeBstr(text);
  SafeArrayPutElement(array, &i, element);
  SysFreeString(element);
}

}  // namespace

bool IsFixed(SAFEARRAY* array) {
  return array != nullptr &&
         (array->cLocks != 0 || (array->fFeatures & (FADF_FIXEDSIZE | FADF_STATIC)) != 0);
}

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
  SAFEARRAY* const filled = ArrayFor(array, VT_BSTR, values.size());
  for (LONG i = 0; i < static_cast<LONG>(values.size()); ++i) {
    PutText(filled, i, values[static_cast<std::size_t>(i)]);
  }
}

void PutBack(const std::vector<std::string>& texts, SAFEARRAY* const* array) {
  if (array == nullptr || *array == nullptr) return;
  LONG lower = 0;
  SafeArrayGetLBound(*array, 1, &lower);
  for (LONG i = lower; i < static_cast<LONG>(texts.size()); ++i) {
    PutText(*array, i, texts[static_cast<std::size_t>(i)]);
  }
}

void HandOut(const std::vector<std::int16_t>& values, SAFEARRAY** array) {
  SAFEARRAY* const filled = ArrayFor(array, VT_I2, values.size());
  for (LONG i = 0; i < static_cast<LONG>(values.size()); ++i) {
    std::int16_t element = values[static_cast<std::size_t>(i)];
    SafeArrayPutElement(filled, &i, &element);
  }
}

}  // namespace qm::component
