// InterfaceTable: the members of one dual interface as the type library describes them, in the form
// that `dispatch_call` binds late-bound calls with. Read once a process for each interface.
#pragma once

#include <vector>

#include "dataaccess/providers/automation/com_pointer.h"
#include "dataaccess/providers/automation/variant_conversion.h"

namespace qm::component {

struct Parameter {
  VARTYPE type = VT_EMPTY;  ///< of the value; an array's is that of its elements
  bool array = false;
  bool by_reference = false;
  bool optional = false;
  bool filled_only = false;     ///< an array whose elements before the call do not matter
  IID interface_id = IID_NULL;  ///< that an object must have
  PlatformVariant default_value;
};

struct Member {
  DISPID id = DISPID_UNKNOWN;
  INVOKEKIND kind = INVOKE_FUNC;
  std::size_t slot = 0;  ///< in the vtable
  std::vector<Parameter> parameters;
  bool gives_result = false;  ///< through the last parameter
};

struct InterfaceTable {
  ComPointer<ITypeInfo> dispatch;  ///< what `GetTypeInfo` hands out
  std::vector<Member> members;

  /// A member by its identifier and one of the kinds wanted, or null.
  const Member* Find(DISPID id, WORD kinds) const;
};

/// Fails where the type library cannot be read; the table lives as long as the process.
HRESULT FindInterfaceTable(REFIID id, const InterfaceTable** table);

/// The type information of a class.
HRESULT FindClassInfo(REFCLSID id, ITypeInfo** info);

}  // namespace qm::component
