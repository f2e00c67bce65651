#include "component/bound_argument.h"

#include <utility>

#include "component/array_conversion.h"
#include "component/client_variable.h"
#include "component/values.h"

namespace qm::component {

namespace {

const VARIANT& Followed(const VARIANT& value) {
  return value.vt == (VT_BYREF | VT_VARIANT) ? Followed(*value.pvarVal) : value;
}

SAFEARRAY* ArrayIn(const VARIANT& value) {
  const VARIANT& followed = Followed(value);
  if ((followed.vt & VT_ARRAY) == 0) return nullptr;
  return (followed.vt & VT_BYREF) != 0 ? *followed.pparray : followed.parray;
}

}  // namespace

// A fixed array cannot be destroyed.
BoundArgument::~BoundArgument() {
  const VARIANT& value = value_.get();
  if ((value.vt & VT_ARRAY) != 0 && value.parray != nullptr) {
    value.parray->fFeatures &= static_cast<USHORT>(~FADF_FIXEDSIZE);
  }
}

HRESULT BoundArgument::Bind(VARIANT* given, LCID locale) {
  HRESULT outcome = S_OK;
  if (given == nullptr || IsMissing(*given)) {
    if (!parameter_->optional) return DISP_E_PARAMNOTOPTIONAL;
    BindOmitted();
  } else {
    given_ = given;
    if (parameter_->array) {
      outcome = BindArray(*given, locale);
    } else if (parameter_->type == VT_DISPATCH || parameter_->type == VT_UNKNOWN) {
      outcome = BindObject(*given);
    } else {
      outcome = BindValue(*given, locale);
    }
  }
  if (FAILED(outcome)) return outcome;
  PointToValue();
  if (parameter_->by_reference) outcome = VariantCopy(before_.Receive(), &value_.get());
  if (parameter_->array && given_ != nullptr && IsFixed(ArrayIn(*given_))) {
    value_.get().parray->fFeatures |= FADF_FIXEDSIZE;
  }
  return outcome;
}

void BoundArgument::BindResult() { PointToValue(); }

void BoundArgument::BindOmitted() {
  if (parameter_->default_value.get().vt != VT_EMPTY) {
    VARIANT source = parameter_->default_value.get();
    VariantCopy(value_.Receive(), &source);
    if (parameter_->type != VT_VARIANT && value_.get().vt != parameter_->type) {
      VariantChangeType(&value_.get(), &value_.get(), 0, parameter_->type);
    }
  } else if (parameter_->type == VT_VARIANT) {
    value_ = PlatformVariant::Missing();
  } else {
    value_.get().vt = parameter_->type;  // 0, no text
  }
}

HRESULT BoundArgument::BindObject(const VARIANT& given) {
  const VARIANT& followed = Followed(given);
  const auto type = static_cast<VARTYPE>(followed.vt & ~VT_BYREF);
  if (type != VT_DISPATCH && type != VT_UNKNOWN) return DISP_E_TYPEMISMATCH;
  IUnknown* const object = (followed.vt & VT_BYREF) != 0 ? *followed.ppunkVal : followed.punkVal;
  void* wanted = nullptr;
  if (object != nullptr) {
    const IID& id = parameter_->interface_id == IID_NULL ? IID_IDispatch : parameter_->interface_id;
    if (FAILED(object->QueryInterface(id, &wanted))) return DISP_E_TYPEMISMATCH;
  }
  value_.Receive()->punkVal = static_cast<IUnknown*>(wanted);
  value_.get().vt = VT_DISPATCH;
  return S_OK;
}

HRESULT BoundArgument::BindArray(const VARIANT& given, LCID locale) {
  SAFEARRAY* const array = ArrayIn(given);
  const VARIANT& followed = Followed(given);
  if (array == nullptr && followed.vt != VT_EMPTY && (followed.vt & VT_ARRAY) == 0) {
    return DISP_E_TYPEMISMATCH;
  }
  SAFEARRAY* typed = nullptr;
  if (array != nullptr) {
    HRESULT outcome = ConvertArray(array, parameter_->type, locale, &typed);
    if (FAILED(outcome) && parameter_->filled_only) {
      outcome = MakeLike(array, parameter_->type, &typed);
    }
    if (FAILED(outcome)) return outcome;
  }
  value_.Receive()->parray = typed;
  value_.get().vt = static_cast<VARTYPE>(VT_ARRAY | parameter_->type);
  return S_OK;
}

HRESULT BoundArgument::BindValue(const VARIANT& given, LCID locale) {
  VARIANT reference = Followed(given);
  const HRESULT outcome = VariantCopyInd(value_.Receive(), &reference);
  if (FAILED(outcome) || parameter_->type == VT_VARIANT) return outcome;
  const VARIANT& value = value_.get();
  if ((value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN) && value.punkVal == nullptr) {
    return ResultOf(kErrObjectNotSet);
  }
  return ChangeType(value_, parameter_->type, locale);
}

void BoundArgument::PointToValue() {
  VARIANT& value = value_.get();
  const auto type =
      static_cast<VARTYPE>(parameter_->array ? VT_ARRAY | parameter_->type : parameter_->type);
  if (!parameter_->by_reference) {
    passed_ = value;
    return;
  }
  passed_.vt = static_cast<VARTYPE>(VT_BYREF | type);
  if (type == VT_VARIANT) {
    passed_.pvarVal = &value;
    return;
  }
  value.vt = type;
  passed_.byref = &value.llVal;
}

HRESULT BoundArgument::WriteArrayBack(VARIANT& target, LCID locale) {
  SAFEARRAY* const array = value_.get().parray;
  if (SAFEARRAY* const own = ArrayIn(target); IsFixed(own)) return CopyElements(array, own, locale);
  const auto used = static_cast<VARTYPE>(target.vt & ~VT_BYREF);
  const bool typed = (target.vt & VT_BYREF) != 0 || used == (VT_ARRAY | parameter_->type);
  const auto element = static_cast<VARTYPE>(typed ? used & ~VT_ARRAY : VT_VARIANT);
  SAFEARRAY* fresh = nullptr;
  HRESULT outcome = ConvertArray(array, element, locale, &fresh);
  if (FAILED(outcome)) return outcome;
  if ((target.vt & VT_BYREF) == 0) {
    outcome = VariantClear(&target);
    target.vt = static_cast<VARTYPE>(VT_ARRAY | element);
    target.parray = fresh;
    return outcome;
  }
  return SafeArrayDestroy(std::exchange(*target.pparray, fresh));
}

// An object passed by reference is never replaced by the library.
HRESULT BoundArgument::WriteBack(LCID locale) {
  if (!parameter_->by_reference || given_ == nullptr || (given_->vt & VT_BYREF) == 0 ||
      parameter_->type == VT_DISPATCH || AreEqual(value_.get(), before_.get())) {
    return S_OK;
  }
  VARIANT& target = given_->vt == (VT_BYREF | VT_VARIANT) ? *given_->pvarVal : *given_;
  return parameter_->array ? WriteArrayBack(target, locale)
                           : Assign(target, std::move(value_), locale);
}

HRESULT BoundArgument::TakeResult(VARIANT* result) {
  VARIANT& value = value_.get();
  if (parameter_->array) {
    SAFEARRAY* variants = nullptr;
    const HRESULT outcome = ConvertArray(value.parray, VT_VARIANT, LOCALE_USER_DEFAULT, &variants);
    if (FAILED(outcome)) return outcome;
    VariantClear(&value);
    value.parray = variants;
    value.vt = VT_ARRAY | VT_VARIANT;
  }
  *result = value_.Detach();
  return S_OK;
}

}  // namespace qm::component
