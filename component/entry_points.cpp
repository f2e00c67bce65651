// What the component's file exports: its class factories and its registration.

#include <atomic>
#include <new>

#include "component/class_table.h"
#include "component/guard.h"
#include "component/module.h"
#include "component/registration.h"
#include "runtime/thread_state.h"

namespace qm::component {

namespace {

class ClassFactory final : public IClassFactory {
 public:
  explicit ClassFactory(const CreatableClass& made) : made_(&made) { LockModule(true); }
  virtual ~ClassFactory() { LockModule(false); }
  ClassFactory(const ClassFactory&) = delete;
  ClassFactory& operator=(const ClassFactory&) = delete;

  STDMETHODIMP QueryInterface(REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = id == __uuidof(IUnknown) || id == __uuidof(IClassFactory) ? this : nullptr;
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    HRESULT outcome = S_OK;
    const HRESULT made = Guarded(id, [&] {
      const auto fresh = ComPointer<IDispatch>::Taking(made_->create());
      outcome = fresh->QueryInterface(id, object);
    });
    return FAILED(made) ? made : outcome;
  }
  STDMETHODIMP LockServer(BOOL lock) override {
    LockModule(lock != FALSE);
    return S_OK;
  }

 private:
  std::atomic<ULONG> references_ = 1;
  const CreatableClass* made_;
};

}  // namespace

}  // namespace qm::component

using namespace qm::component;

STDAPI DllGetClassObject(REFCLSID class_id, REFIID id, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  for (const CreatableClass& entry : kCreatableClasses) {
    if (*entry.id != class_id) continue;
    auto* const factory = new (std::nothrow) ClassFactory(entry);
    if (factory == nullptr) return E_OUTOFMEMORY;
    const HRESULT outcome = factory->QueryInterface(id, object);
    factory->Release();
    return outcome;
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return ModuleIsInUse() ? S_FALSE : S_OK; }

STDAPI DllRegisterServer() { return Register(RegistrationScope::kMachine); }
STDAPI DllUnregisterServer() { return Unregister(RegistrationScope::kMachine); }

// `regsvr32 /n /i:user` registers for the user alone.
STDAPI DllInstall(BOOL install, LPCWSTR scope_name) {
  const wchar_t* const name = scope_name == nullptr ? L"" : scope_name;
  const bool user = CompareStringOrdinal(name, -1, L"user", -1, TRUE) == CSTR_EQUAL;
  if (!user && *name != L'\0') return E_INVALIDARG;
  const auto scope = user ? RegistrationScope::kUser : RegistrationScope::kMachine;
  return install != FALSE ? Register(scope) : Unregister(scope);
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    SetModule(module);
    qm::AbandonThreadStates();
  }
  return TRUE;
}
