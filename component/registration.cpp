#include "component/registration.h"

#include <new>
#include <string>

#include "component/class_table.h"
#include "component/module.h"

// The cross compiler's headers lack them.
extern "C" {
HRESULT WINAPI RegisterTypeLibForUser(ITypeLib* library, OLECHAR* path, OLECHAR* help_folder);
HRESULT WINAPI UnRegisterTypeLibForUser(REFGUID id, WORD major, WORD minor, LCID locale,
                                        SYSKIND system);
}

namespace qm::component {

namespace {

constexpr const wchar_t* kClasses = L"Software\\Classes\\";
constexpr SYSKIND kSystem = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;

HKEY RootOf(RegistrationScope scope) {
  return scope == RegistrationScope::kMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

std::wstring Braced(const GUID& id) {
  wchar_t text[40] = {};
  StringFromGUID2(id, text, 40);
  return text;
}

struct Writer {
  HKEY root;
  HRESULT outcome = S_OK;

  void Write(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
    if (FAILED(outcome)) return;
    outcome = HRESULT_FROM_WIN32(static_cast<unsigned long>(
        RegSetKeyValueW(root, (kClasses + key).c_str(), name, REG_SZ, value.c_str(),
                        static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)))));
  }
};

HRESULT DeleteKey(HKEY root, const std::wstring& key) {
  const LSTATUS status = RegDeleteTreeW(root, (kClasses + key).c_str());
  return status == ERROR_FILE_NOT_FOUND ? S_OK
                                        : HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
}

std::wstring ProgramId(const CreatableClass& entry) {
  return std::wstring(L"QMDataObjects2.") + entry.name;
}

void WriteClass(Writer& writer, const CreatableClass& entry, const std::wstring& path,
                const std::wstring& library) {
  const std::wstring key = L"CLSID\\" + Braced(*entry.id);
  writer.Write(key, nullptr, entry.description);
  writer.Write(key + L"\\InprocServer32", nullptr, path);
  writer.Write(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
  writer.Write(key + L"\\ProgID", nullptr, ProgramId(entry));
  writer.Write(key + L"\\Programmable", nullptr, L"");
  writer.Write(key + L"\\TypeLib", nullptr, library);
  writer.Write(key + L"\\Version", nullptr, L"1.0");
  writer.Write(ProgramId(entry), nullptr, entry.description);
  writer.Write(ProgramId(entry) + L"\\CLSID", nullptr, Braced(*entry.id));
}

HRESULT RegisterLibrary(RegistrationScope scope, ITypeLib* library, std::wstring& path) {
  return scope == RegistrationScope::kMachine
             ? RegisterTypeLib(library, path.data(), nullptr)
             : RegisterTypeLibForUser(library, path.data(), nullptr);
}

HRESULT UnregisterLibrary(RegistrationScope scope, TLIBATTR& library) {
  const HRESULT outcome =
      scope == RegistrationScope::kMachine
          ? UnRegisterTypeLib(library.guid, library.wMajorVerNum, library.wMinorVerNum,
                              library.lcid, kSystem)
          : UnRegisterTypeLibForUser(library.guid, library.wMajorVerNum, library.wMinorVerNum,
                                     library.lcid, kSystem);
  return outcome == TYPE_E_REGISTRYACCESS ? S_OK : outcome;
}

HRESULT RegisterAll(RegistrationScope scope) {
  ComPointer<ITypeLib> library;
  HRESULT outcome = LoadOwnTypeLibrary(library.Receive());
  if (FAILED(outcome)) return outcome;
  std::wstring path = ModulePath();
  outcome = RegisterLibrary(scope, library.get(), path);
  if (FAILED(outcome)) return outcome;
  TLIBATTR* attributes = nullptr;
  outcome = library->GetLibAttr(&attributes);
  if (FAILED(outcome)) return outcome;
  const std::wstring library_id = Braced(attributes->guid);
  library->ReleaseTLibAttr(attributes);
  Writer writer{RootOf(scope)};
  for (const CreatableClass& entry : kCreatableClasses) {
    WriteClass(writer, entry, path, library_id);
  }
  return writer.outcome;
}

HRESULT UnregisterAll(RegistrationScope scope) {
  HRESULT first_failure = S_OK;
  const auto keep = [&](HRESULT outcome) {
    if (FAILED(outcome) && SUCCEEDED(first_failure)) first_failure = outcome;
  };
  for (const CreatableClass& entry : kCreatableClasses) {
    keep(DeleteKey(RootOf(scope), ProgramId(entry)));
    keep(DeleteKey(RootOf(scope), L"CLSID\\" + Braced(*entry.id)));
  }
  ComPointer<ITypeLib> library;
  keep(LoadOwnTypeLibrary(library.Receive()));
  TLIBATTR* attributes = nullptr;
  if (library && SUCCEEDED(library->GetLibAttr(&attributes))) {
    keep(UnregisterLibrary(scope, *attributes));
    library->ReleaseTLibAttr(attributes);
  }
  return first_failure;
}

}  // namespace

HRESULT Register(RegistrationScope scope) noexcept {
  try {
    const HRESULT outcome = RegisterAll(scope);
    if (FAILED(outcome)) Unregister(scope);
    return outcome;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT Unregister(RegistrationScope scope) noexcept {
  try {
    return UnregisterAll(scope);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace qm::component
