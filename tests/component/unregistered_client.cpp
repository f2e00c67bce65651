// A client of the component where it is not registered: by the manifest beside it.
//
//   unregistered_client FOLDER
//
// FOLDER holds the component with its manifest. Prints every check that fails and, last, the
// result.

#include "client_support.h"

#include <string>

namespace {

// Every creatable class by its name, late bound as a script would.
void CheckClasses(bool there) {
  for (const wchar_t* name :
       {L"QMConnection", L"QMDataSets", L"Display", L"DisplayField", L"Matcher"}) {
    CLSID id{};
    const std::wstring program = std::wstring(L"QMDataObjects2.") + name;
    IDispatch* object = nullptr;
    if (SUCCEEDED(CLSIDFromProgID(program.c_str(), &id))) {
      CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                       reinterpret_cast<void**>(&object));
    }
    Check(there ? "a class is found by the manifest" : "a class is not registered",
          (object != nullptr) == there);
    if (object != nullptr) object->Release();
  }
}

void CheckTypeInformation() {
  IDispatch* matcher = nullptr;
  CoCreateInstance(CLSID_Matcher, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                   reinterpret_cast<void**>(&matcher));
  if (matcher == nullptr) return Check("a matcher", false);
  wchar_t member[] = L"CutoffScore";
  wchar_t* names[] = {member};
  DISPID id = 0;
  Check("a member is found by its name",
        SUCCEEDED(matcher->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id)));
  DISPPARAMS none{};
  VARIANT value{};
  Check("and read",
        SUCCEEDED(matcher->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                                  &value, nullptr, nullptr)) &&
            value.vt == VT_I2);
  matcher->Release();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) return 2;
  CoInitialize(nullptr);
  CheckClasses(false);
  wchar_t folder[MAX_PATH];
  GetFullPathNameW(argv[1], MAX_PATH, folder, nullptr);
  const std::wstring manifest = std::wstring(folder) + L"\\QMDataObjects2.Component.manifest";
  ACTCTXW context{};
  context.cbSize = sizeof context;
  context.dwFlags = ACTCTX_FLAG_ASSEMBLY_DIRECTORY_VALID;
  context.lpSource = manifest.c_str();
  context.lpAssemblyDirectory = folder;
  const HANDLE made = CreateActCtxW(&context);
  Check("the manifest is read", made != INVALID_HANDLE_VALUE);
  ULONG_PTR cookie = 0;
  if (made != INVALID_HANDLE_VALUE && ActivateActCtx(made, &cookie)) {
    CheckClasses(true);
    CheckTypeInformation();
    DeactivateActCtx(0, cookie);
    ReleaseActCtx(made);
  }
  CoUninitialize();
  return Result();
}
