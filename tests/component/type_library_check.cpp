// Checks a type library against a table of its members: every interface's members in order, with
// kinds, arguments, types, defaults and roles, their places in the vtable, the enumerations and the
// classes.
//
//   type_library_check FILE members.csv
//
// Prints every difference and, last, the result.

#include <windows.h>
// They build on the first.
#include <oleauto.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Rows = std::vector<std::string>;

std::string Narrow(BSTR text) {
  const std::wstring wide(text == nullptr ? L"" : text);
  SysFreeString(text);
  return {wide.begin(), wide.end()};  // the library's names are ASCII
}

std::string NameOf(ITypeInfo* info, MEMBERID id = MEMBERID_NIL) {
  BSTR name = nullptr;
  info->GetDocumentation(id, &name, nullptr, nullptr, nullptr);
  return Narrow(name);
}

struct Type {
  std::string name;
  bool by_reference = false;
};

Type Describe(ITypeInfo* info, const TYPEDESC& type) {
  switch (type.vt) {
    case VT_I2:
      return {"short"};
    case VT_I4:
      return {"long"};
    case VT_BSTR:
      return {"string"};
    case VT_BOOL:
      return {"boolean"};
    case VT_VARIANT:
      return {"variant"};
    case VT_DISPATCH:
      return {"object"};
    case VT_UNKNOWN:
      return {"enumerator"};
    case VT_SAFEARRAY:
      return {Describe(info, *type.lptdesc).name + "()"};
    case VT_USERDEFINED: {
      ITypeInfo* user = nullptr;
      info->GetRefTypeInfo(type.hreftype, &user);
      return {NameOf(user)};
    }
    case VT_PTR: {
      const bool object = type.lptdesc->vt == VT_USERDEFINED;
      Type inner = Describe(info, *type.lptdesc);
      if (inner.name == "IDispatch") inner.name = "object";
      inner.by_reference = !object || inner.name == "ShareMode";
      return inner;
    }
    default:
      return {"?" + std::to_string(type.vt)};
  }
}

std::string DefaultOf(const ELEMDESC& element) {
  const USHORT flags = element.paramdesc.wParamFlags;
  if ((flags & PARAMFLAG_FHASDEFAULT) == 0) return (flags & PARAMFLAG_FOPT) != 0 ? " optional" : "";
  VARIANT text;
  VariantInit(&text);
  VariantChangeType(&text, &element.paramdesc.pparamdescex->varDefaultValue, 0, VT_BSTR);
  return " optional=" + Narrow(text.bstrVal);
}

std::string KindOf(const FUNCDESC& function) {
  switch (function.invkind) {
    case INVOKE_PROPERTYGET:
      return "get";
    case INVOKE_PROPERTYPUT:
      return "put";
    case INVOKE_PROPERTYPUTREF:
      return "set";
    default:
      return "method";
  }
}

std::string RoleOf(const FUNCDESC& function) {
  if (function.memid == DISPID_VALUE) return "default";
  return function.memid == DISPID_NEWENUM ? "enumerator" : "";
}

// An argument by reference goes both ways and any other in; what is not so is shown.
std::string UnusualDirection(const ELEMDESC& element, bool by_reference) {
  const int ways = element.paramdesc.wParamFlags & (PARAMFLAG_FIN | PARAMFLAG_FOUT);
  const int usual = by_reference ? PARAMFLAG_FIN | PARAMFLAG_FOUT : PARAMFLAG_FIN;
  return ways == usual ? "" : " direction " + std::to_string(ways);
}

// Members of the same property share an identifier, others never do.
std::string Row(ITypeInfo* info, const FUNCDESC& function) {
  std::vector<BSTR> names(static_cast<std::size_t>(function.cParams) + 1);
  UINT named = 0;
  info->GetNames(function.memid, names.data(), static_cast<UINT>(names.size()), &named);
  std::string arguments;
  std::string result;
  for (SHORT i = 0; i < function.cParams; ++i) {
    const ELEMDESC& element = function.lprgelemdescParam[i];
    const Type type = Describe(info, element.tdesc);
    if ((element.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0) {
      result = type.name;
      if ((element.paramdesc.wParamFlags & PARAMFLAG_FOUT) == 0) result += " not out";
      continue;
    }
    const bool put_value = function.invkind >= INVOKE_PROPERTYPUT && i + 1 == function.cParams;
    const BSTR name = names[static_cast<std::size_t>(i) + 1];
    if (!arguments.empty()) arguments += "; ";
    if (!put_value) arguments += Narrow(SysAllocString(name)) + " ";
    if (type.by_reference) arguments += "ref ";
    arguments += type.name + DefaultOf(element) + UnusualDirection(element, type.by_reference);
  }
  return NameOf(info, function.memid) + "," + KindOf(function) + "," + arguments + "," + result +
         "," + RoleOf(function);
}

// The members of an interface, an enumeration's constants, or a class's interfaces.
Rows RowsOf(ITypeInfo* described) {
  ITypeInfo* info = described;
  TYPEATTR* attributes = nullptr;
  info->GetTypeAttr(&attributes);
  Rows rows;
  if (attributes->typekind == TKIND_DISPATCH) {
    if ((attributes->wTypeFlags & TYPEFLAG_FDUAL) == 0) rows.emplace_back("not dual");
    HREFTYPE direct = 0;
    described->GetRefTypeOfImplType(static_cast<UINT>(-1), &direct);
    described->GetRefTypeInfo(direct, &info);
    info->GetTypeAttr(&attributes);
  }
  for (UINT i = 0; i < attributes->cFuncs; ++i) {
    FUNCDESC* function = nullptr;
    info->GetFuncDesc(i, &function);
    rows.push_back(Row(info, *function));
    if (function->oVft != static_cast<SHORT>((7 + i) * sizeof(void*))) rows.back() += " displaced";
  }
  for (UINT i = 0; i < attributes->cVars; ++i) {
    VARDESC* constant = nullptr;
    info->GetVarDesc(i, &constant);
    rows.push_back(NameOf(info, constant->memid) + ",constant,," +
                   std::to_string(constant->lpvarValue->lVal) + ",");
  }
  if (attributes->typekind == TKIND_COCLASS) {
    HREFTYPE type = 0;
    ITypeInfo* implemented = nullptr;
    info->GetRefTypeOfImplType(0, &type);
    info->GetRefTypeInfo(type, &implemented);
    const bool creatable = (attributes->wTypeFlags & TYPEFLAG_FCANCREATE) != 0;
    rows.push_back(NameOf(implemented) + ",class,,," + (creatable ? "creatable" : ""));
  }
  return rows;
}

std::string RowOf(ITypeLib* library) {
  BSTR name = nullptr;
  library->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr);
  TLIBATTR* attributes = nullptr;
  library->GetLibAttr(&attributes);
  const std::string version =
      std::to_string(attributes->wMajorVerNum) + "." + std::to_string(attributes->wMinorVerNum);
  library->ReleaseTLibAttr(attributes);
  return Narrow(name) + ",library,," + version + ",";
}

std::map<std::string, Rows> ReadTable(const char* path) {
  std::map<std::string, Rows> table;
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);  // the heading
  while (std::getline(file, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const auto first = line.find(',');
    const auto second = line.find(',', first + 1);
    table[line.substr(0, first)].push_back(line.substr(second + 1));
  }
  return table;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  CoInitialize(nullptr);
  const std::string file = argv[1];
  wchar_t path[MAX_PATH];
  GetFullPathNameW(std::wstring(file.begin(), file.end()).c_str(), MAX_PATH, path, nullptr);
  ITypeLib* library = nullptr;
  if (FAILED(LoadTypeLibEx(path, REGKIND_NONE, &library))) {
    std::cout << "cannot load the type library\n";
    return 1;
  }
  auto wanted = ReadTable(argv[2]);
  int members = 0;
  int differences = 0;
  const auto compare = [&](const std::string& name, const Rows& got) {
    const Rows& table = wanted[name];
    for (std::size_t row = 0; row < std::max(got.size(), table.size()); ++row) {
      ++members;
      const std::string there = row < got.size() ? got[row] : "(none)";
      const std::string published = row < table.size() ? table[row] : "(none)";
      if (there == published) continue;
      ++differences;
      std::cout << name << " " << row + 1 << "\n  there  " << there << "\n  wanted " << published
                << "\n";
    }
    wanted.erase(name);
  };
  compare("(library)", {RowOf(library)});
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    ITypeInfo* info = nullptr;
    library->GetTypeInfo(i, &info);
    compare(NameOf(info), RowsOf(info));
  }
  for (const auto& [name, rows] : wanted) {
    ++differences;
    std::cout << name << ": missing, with " << rows.size() << " members\n";
  }
  std::cout << "result: " << members << " members, " << differences << " differences\n";
  return differences == 0 ? 0 : 1;
}
