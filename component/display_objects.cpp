#include "component/display_objects.h"

#include <optional>
#include <string>

#include "component/creators.h"
#include "component/enumerator.h"

namespace qm::component {

namespace {

DisplayField FieldIn(_DisplayField* object) {
  return RequireNative<DisplayFieldObject>(object).field();
}

std::size_t Position(short index) { return static_cast<std::size_t>(index) - 1; }

}  // namespace

DisplayObject::DisplayObject(Display display) : display_(std::move(display)) {
  for (const DisplayField& field : display_) {
    fields_.push_back(ComPointer<_DisplayField>::Taking(MakeObject<DisplayFieldObject>(field)));
  }
}

// The published type of the element, which no element has: always an error.
STDMETHODIMP DisplayObject::get_Item(short Index, _Display** result) {
  return Get(result, [&] { return MakeObject<DisplayObject>(display_.Item(Index)); });
}

STDMETHODIMP DisplayObject::putref_Item(short Index, _DisplayField* newval) {
  return Do([&] {
    display_.SetItem(Index, FieldIn(newval));
    fields_[Position(Index)] = ComPointer<_DisplayField>(newval);
  });
}

STDMETHODIMP DisplayObject::Add(_DisplayField* objDisplayField, BSTR strKey) {
  return Do([&] {
    std::optional<std::string> key;
    if (SysStringLen(strKey) != 0) key = Text(strKey);
    display_.Add(FieldIn(objDisplayField), key);
    fields_.emplace_back(objDisplayField);
  });
}

STDMETHODIMP DisplayObject::Remove(short Index) {
  return Do([&] {
    display_.Remove(Index);
    fields_.erase(fields_.begin() + static_cast<std::ptrdiff_t>(Position(Index)));
  });
}

STDMETHODIMP DisplayObject::get_NewEnum(IUnknown** result) {
  return Get(result, [&] {
    std::vector<PlatformVariant> values;
    for (const auto& field : fields_) values.push_back(PlatformVariant::Object(field.get()));
    return MakeEnumerator(std::move(values));
  });
}

IDispatch* CreateDisplay() { return MakeObject<DisplayObject>(); }
IDispatch* CreateDisplayField() { return MakeObject<DisplayFieldObject>(); }

}  // namespace qm::component
