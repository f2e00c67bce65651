// Display and DisplayField for automation clients. A display holds its fields by reference: a field
// changed after it was added is changed in the display.
#pragma once

#include <utility>
#include <vector>

#include <qm/display.h>

#include "component/automation_object.h"
#include "component/interfaces.h"

namespace qm::component {

class DisplayFieldObject final
    : public AutomationObject<DisplayFieldObject, _DisplayField, &CLSID_DisplayField> {
 public:
  DisplayFieldObject() = default;
  explicit DisplayFieldObject(DisplayField field) : field_(std::move(field)) {}

  const DisplayField& field() const { return field_; }

  STDMETHODIMP get_FieldNumber(BSTR* result) override {
    return Get(result, [&] { return field_.FieldNumber(); });
  }
  STDMETHODIMP put_FieldNumber(BSTR newval) override {
    return Do([&] { field_.SetFieldNumber(Text(newval)); });
  }
  STDMETHODIMP get_Sequence(short* result) override {
    return Get(result, [&] { return field_.Sequence(); });
  }
  STDMETHODIMP put_Sequence(short newval) override {
    return Do([&] { field_.SetSequence(newval); });
  }
  STDMETHODIMP get_Invisible(VARIANT_BOOL* result) override {
    return Get(result, [&] { return field_.Invisible(); });
  }
  STDMETHODIMP put_Invisible(VARIANT_BOOL newval) override {
    return Do([&] { field_.SetInvisible(Bool(newval)); });
  }
  STDMETHODIMP get_Protected(VARIANT_BOOL* result) override {
    return Get(result, [&] { return field_.Protected(); });
  }
  STDMETHODIMP put_Protected(VARIANT_BOOL newval) override {
    return Do([&] { field_.SetProtected(Bool(newval)); });
  }
  STDMETHODIMP get_Default(BSTR* result) override {
    return Get(result, [&] { return field_.Default(); });
  }
  STDMETHODIMP put_Default(BSTR newval) override {
    return Do([&] { field_.SetDefault(Text(newval)); });
  }

 private:
  DisplayField field_;
};

class DisplayObject final : public AutomationObject<DisplayObject, _Display, &CLSID_Display> {
 public:
  DisplayObject() = default;
  explicit DisplayObject(Display display);

  const Display& display() const { return display_; }

  STDMETHODIMP get_Item(short Index, _Display** result) override;
  STDMETHODIMP putref_Item(short Index, _DisplayField* newval) override;
  STDMETHODIMP Add(_DisplayField* objDisplayField, BSTR strKey) override;
  STDMETHODIMP Remove(short Index) override;
  STDMETHODIMP get_NewEnum(IUnknown** result) override;
  STDMETHODIMP get_Count(short* result) override {
    return Get(result, [&] { return display_.Count(); });
  }
  STDMETHODIMP get_Name(BSTR* result) override {
    return Get(result, [&] { return display_.Name(); });
  }
  STDMETHODIMP put_Name(BSTR newval) override {
    return Do([&] { display_.SetName(Text(newval)); });
  }
  STDMETHODIMP get_Default(VARIANT_BOOL* result) override {
    return Get(result, [&] { return display_.Default(); });
  }
  STDMETHODIMP put_Default(VARIANT_BOOL newval) override {
    return Do([&] { display_.SetDefault(Bool(newval)); });
  }
  STDMETHODIMP get_DisplayID(short* result) override {
    return Get(result, [&] { return display_.DisplayID(); });
  }
  STDMETHODIMP put_DisplayID(short newval) override {
    return Do([&] { display_.SetDisplayID(newval); });
  }

 private:
  Display display_;
  std::vector<ComPointer<_DisplayField>> fields_;  ///< the same, as the client's objects
};

}  // namespace qm::component
