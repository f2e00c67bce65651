// Values at the edge: what clients pass, as the library takes it, and results as clients take them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/variant.h>

#include "component/guard.h"
#include "dataaccess/providers/automation/com_pointer.h"
#include "dataaccess/providers/automation/variant_conversion.h"

namespace qm {
class Connection;
class NAACCRLayout;
class Recordset;
}  // namespace qm

namespace qm::component {

// Connections and recordsets, in both directions (references.cpp): one of the library's own has one
// object while a client holds it; one of the platform's is the client's own object.
// An object of another class of the component is 13.
std::shared_ptr<Connection> ConnectionIn(IDispatch* object);  ///< null for nothing
std::shared_ptr<Recordset> RecordsetIn(IDispatch* object);    ///< 91 for nothing
IDispatch* ObjectFor(const std::shared_ptr<Connection>& connection);
IDispatch* ObjectFor(const std::shared_ptr<Recordset>& recordset);

inline std::string Text(BSTR text) { return FromBstr(text); }
inline std::string Text(const BSTR* text) {
  return text == nullptr ? std::string() : FromBstr(*text);
}
inline bool Bool(VARIANT_BOOL value) { return value != VARIANT_FALSE; }
inline Variant Value(const VARIANT& value) { return FromPlatform(value); }
/// Nothing for an argument that was not given.
inline std::optional<Variant> Optional(const VARIANT& value) {
  if (IsMissing(value)) return std::nullopt;
  return FromPlatform(value);
}
/// A number passed by reference. 91 for a null place.
template <typename Number>
Number At(const Number* place) {
  RequireNotNull(place);
  return *place;
}

inline void HandOut(std::string_view value, BSTR* result) { *result = MakeBstr(value); }
inline void HandOut(bool value, VARIANT_BOOL* result) {
  *result = value ? VARIANT_TRUE : VARIANT_FALSE;
}
inline void HandOut(std::int16_t value, short* result) { *result = value; }
inline void HandOut(std::int32_t value, LONG* result) { *result = value; }
inline void HandOut(std::int64_t value, LONG* result) {
  *result = NarrowInt32(static_cast<double>(value));
}
inline void HandOut(const std::shared_ptr<Connection>& connection, IDispatch** result) {
  *result = ObjectFor(connection);
}
inline void HandOut(const std::shared_ptr<Recordset>& recordset, IDispatch** result) {
  *result = ObjectFor(recordset);
}
inline void HandOut(const Variant& value, VARIANT* result) { *result = ToPlatform(value); }
/// A VARIANT made by the call.
inline void HandOut(PlatformVariant value, VARIANT* result) { *result = value.Detach(); }
/// A reference that was counted for the client.
template <typename Object, typename Interface>
void HandOut(Object* object, Interface** result) {
  *result = object;
}

template <typename Interface>
void HandOut(ComPointer<Interface> object, Interface** result) {
  *result = object.Detach();
}

/// Replaces a client's text.
void Rewrite(BSTR* place, std::string_view text);

// Arrays of the client's: read with their elements at their own subscripts (a lower bound above 0
// leaves empty elements) and put back into those; handed out from subscript 0 as new arrays, or in
// place into a fixed or locked one that has room: 10 where it has none.
bool IsFixed(SAFEARRAY* array);
std::vector<std::string> Texts(SAFEARRAY* const* array);
void PutBack(const std::vector<std::string>& texts, SAFEARRAY* const* array);
void HandOut(const std::vector<std::string>& values, SAFEARRAY** array);
void HandOut(const std::vector<std::int16_t>& values, SAFEARRAY** array);

}  // namespace qm::component
