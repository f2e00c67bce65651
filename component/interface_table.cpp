#include "component/interface_table.h"

#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "component/interfaces.h"
#include "component/module.h"

namespace qm::component {

namespace {

// QueryInterface, AddRef, Release and the four of IDispatch stand before an interface's own.
constexpr std::size_t kInheritedSlots = 7;

struct IdLess {
  bool operator()(const IID& a, const IID& b) const { return memcmp(&a, &b, sizeof(IID)) < 0; }
};

struct Description {
  ComPointer<ITypeInfo> info;
  TYPEATTR* attributes = nullptr;

  explicit Description(ComPointer<ITypeInfo> described) : info(std::move(described)) {
    info->GetTypeAttr(&attributes);
  }
  ~Description() {
    if (attributes != nullptr) info->ReleaseTypeAttr(attributes);
  }
  Description(const Description&) = delete;
  Description& operator=(const Description&) = delete;
};

// An enumeration is a Long, any other type of the library's own an object.
void DescribeUserType(ITypeInfo* info, HREFTYPE reference, Parameter& parameter) {
  ComPointer<ITypeInfo> type;
  if (FAILED(info->GetRefTypeInfo(reference, type.Receive()))) return;
  const Description description(type);
  switch (description.attributes->typekind) {
    case TKIND_ENUM:
      parameter.type = VT_I4;
      break;
    case TKIND_ALIAS:
      DescribeUserType(type.get(), description.attributes->tdescAlias.hreftype, parameter);
      break;
    default:
      parameter.type = VT_DISPATCH;
      parameter.interface_id = description.attributes->guid;
      break;
  }
}

void Describe(ITypeInfo* info, const TYPEDESC& type, Parameter& parameter) {
  switch (type.vt) {
    case VT_PTR:
      // A pointer to an interface is the object itself, any other a place.
      if (type.lptdesc->vt == VT_USERDEFINED) {
        DescribeUserType(info, type.lptdesc->hreftype, parameter);
        parameter.by_reference = parameter.type != VT_DISPATCH;
      } else {
        Describe(info, *type.lptdesc, parameter);
        parameter.by_reference = true;
      }
      break;
    case VT_SAFEARRAY:
      Describe(info, *type.lptdesc, parameter);
      parameter.array = true;
      break;
    case VT_USERDEFINED:
      DescribeUserType(info, type.hreftype, parameter);
      break;
    case VT_INT:
    case VT_HRESULT:
      parameter.type = VT_I4;
      break;
    default:
      parameter.type = type.vt;
      break;
  }
}

Parameter DescribeParameter(ITypeInfo* info, const ELEMDESC& element) {
  Parameter parameter;
  Describe(info, element.tdesc, parameter);
  const USHORT flags = element.paramdesc.wParamFlags;
  parameter.optional = (flags & (PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT)) != 0;
  if ((flags & PARAMFLAG_FHASDEFAULT) != 0) {
    VariantCopy(parameter.default_value.Receive(),
                &element.paramdesc.pparamdescex->varDefaultValue);
  }
  return parameter;
}

// Which members of an interface only fill their arrays: the type library does not tell, since
// clients pass every array by reference both ways.
bool OnlyFillsArrays(REFIID id, DISPID member) {
  constexpr DISPID kGetTextFields = 43;
  constexpr DISPID kGetControlArrays = 44;
  constexpr DISPID kGetTextFromNAACCRRec = 51;
  return id == __uuidof(_NAACCRLayout) &&
         (member == kGetTextFields || member == kGetControlArrays ||
          member == kGetTextFromNAACCRRec);
}

Member DescribeMember(ITypeInfo* info, const FUNCDESC& function, std::size_t slot) {
  Member member;
  member.id = function.memid;
  member.kind = function.invkind;
  member.slot = slot;
  for (SHORT i = 0; i < function.cParams; ++i) {
    const ELEMDESC& element = function.lprgelemdescParam[i];
    member.parameters.push_back(DescribeParameter(info, element));
    member.gives_result = (element.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0;
  }
  return member;
}

HRESULT ReadTable(REFIID id, InterfaceTable& table) {
  ComPointer<ITypeLib> library;
  HRESULT outcome = LoadOwnTypeLibrary(library.Receive());
  if (FAILED(outcome)) return outcome;
  outcome = library->GetTypeInfoOfGuid(id, table.dispatch.Receive());
  if (FAILED(outcome)) return outcome;
  // The other half of a dual interface: how its vtable is called.
  HREFTYPE reference = 0;
  ComPointer<ITypeInfo> direct = table.dispatch;
  if (Description(table.dispatch).attributes->typekind == TKIND_DISPATCH) {
    outcome = table.dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference);
    if (SUCCEEDED(outcome)) outcome = table.dispatch->GetRefTypeInfo(reference, direct.Receive());
    if (FAILED(outcome)) return outcome;
  }
  const Description description(direct);
  for (UINT i = 0; i < description.attributes->cFuncs; ++i) {
    FUNCDESC* function = nullptr;
    outcome = direct->GetFuncDesc(i, &function);
    if (FAILED(outcome)) return outcome;
    Member& member =
        table.members.emplace_back(DescribeMember(direct.get(), *function, kInheritedSlots + i));
    for (Parameter& parameter : member.parameters) {
      parameter.filled_only = parameter.array && OnlyFillsArrays(id, member.id);
    }
    direct->ReleaseFuncDesc(function);
  }
  return S_OK;
}

struct Tables {
  std::mutex mutex;
  std::map<IID, std::unique_ptr<const InterfaceTable>, IdLess> tables;
};

Tables& AllTables() {
  // Never destroyed: at the end of the process the type library may be gone.
  static Tables& tables = *new Tables;
  return tables;
}

}  // namespace

const Member* InterfaceTable::Find(DISPID id, WORD kinds) const {
  for (const Member& member : members) {
    if (member.id == id && (member.kind & kinds) != 0) return &member;
  }
  return nullptr;
}

HRESULT FindInterfaceTable(REFIID id, const InterfaceTable** table) {
  try {
    Tables& known = AllTables();
    const std::lock_guard lock(known.mutex);
    auto& entry = known.tables[id];
    if (!entry) {
      auto fresh = std::make_unique<InterfaceTable>();
      const HRESULT outcome = ReadTable(id, *fresh);
      if (FAILED(outcome)) return outcome;
      entry = std::move(fresh);
    }
    *table = entry.get();
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT FindClassInfo(REFCLSID id, ITypeInfo** info) {
  *info = nullptr;
  try {
    ComPointer<ITypeLib> library;
    const HRESULT outcome = LoadOwnTypeLibrary(library.Receive());
    return FAILED(outcome) ? outcome : library->GetTypeInfoOfGuid(id, info);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace qm::component
