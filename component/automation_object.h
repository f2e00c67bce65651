// AutomationObject: what all classes of the component share, for a class `Self` that implements the
// dual interface `Interface` and is described by the coclass `kClass`: identity and counting, late
// binding through the type library, error and class information.
//
// Objects are made with `MakeObject`, which gives the first reference to the caller, and belong to
// the thread that made them. A method of `Self` is one call of `Do` or `Get`.
#pragma once

#include <atomic>
#include <utility>

#include "component/dispatch_call.h"
#include "component/guard.h"
#include "component/interface_table.h"
#include "component/module.h"
#include "component/values.h"

namespace qm::component {

/// What an object of this component is beneath its interfaces, behind a private interface.
class NativeObject {
 public:
  virtual ~NativeObject() = default;

 private:
  ModuleReference reference_;
};

/// It has another identifier in each copy of the component that a process loads: the objects of
/// another copy are strangers.
inline IID NativeInterface() {
  IID id = {0x9a3f0c52, 0x6a5e, 0x4b57, {}};
  HINSTANCE const module = OwnModule();
  static_assert(sizeof module <= sizeof id.Data4);
  memcpy(id.Data4, &module, sizeof module);
  return id;
}

template <typename Self, typename Interface, const CLSID* kClass>
class AutomationObject : public Interface,
                         public ISupportErrorInfo,
                         public IProvideClassInfo,
                         public NativeObject {
 public:
  STDMETHODIMP QueryInterface(REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    if (id == __uuidof(IUnknown) || id == __uuidof(IDispatch) || id == __uuidof(Interface)) {
      *object = static_cast<Interface*>(this);
    } else if (id == __uuidof(ISupportErrorInfo)) {
      *object = static_cast<ISupportErrorInfo*>(this);
    } else if (id == __uuidof(IProvideClassInfo)) {
      *object = static_cast<IProvideClassInfo*>(this);
    } else if (id == NativeInterface()) {
      *object = static_cast<NativeObject*>(this);
    } else {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete static_cast<Self*>(this);
    return left;
  }

  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    const InterfaceTable* table = nullptr;
    const HRESULT outcome = FindInterfaceTable(__uuidof(Interface), &table);
    if (SUCCEEDED(outcome)) *info = ComPointer<ITypeInfo>(table->dispatch).Detach();
    return outcome;
  }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    const InterfaceTable* table = nullptr;
    const HRESULT outcome = FindInterfaceTable(__uuidof(Interface), &table);
    return FAILED(outcome) ? outcome : table->dispatch->GetIDsOfNames(names, count, ids);
  }
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID locale, WORD kinds, DISPPARAMS* parameters,
                      VARIANT* result, EXCEPINFO* exception, UINT* wrong_argument) override {
    const InterfaceTable* table = nullptr;
    const HRESULT outcome = FindInterfaceTable(__uuidof(Interface), &table);
    if (FAILED(outcome)) return outcome;
    const ComPointer<IDispatch> alive(this);  // the call may drop the client's last reference
    return Dispatch(static_cast<Interface*>(this), *table,
                    {member, locale, kinds, parameters, result, exception, wrong_argument});
  }

  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID id) override {
    return id == __uuidof(Interface) ? S_OK : S_FALSE;
  }
  STDMETHODIMP GetClassInfo(ITypeInfo** info) override {
    return info == nullptr ? E_POINTER : FindClassInfo(*kClass, info);
  }

 protected:
  template <typename Call>
  HRESULT Do(Call&& call) noexcept {
    return Guarded(__uuidof(Interface), std::forward<Call>(call));
  }
  /// What the call gives is handed out through `result`.
  template <typename Result, typename Call>
  HRESULT Get(Result* result, Call&& call) noexcept {
    return Guarded(__uuidof(Interface), [&] {
      RequireNotNull(result);
      *result = {};
      HandOut(call(), result);
    });
  }

 private:
  std::atomic<ULONG> references_ = 1;
};

/// A new object; its one reference is the caller's.
template <typename Self, typename... Arguments>
Self* MakeObject(Arguments&&... arguments) {
  return new Self(std::forward<Arguments>(arguments)...);
}

/// The object of that class behind an interface, or null for a stranger's. Borrowed.
template <typename Self>
Self* NativeOf(IUnknown* object) {
  void* found = nullptr;
  if (object == nullptr || FAILED(object->QueryInterface(NativeInterface(), &found)))
    return nullptr;
  object->Release();
  return dynamic_cast<Self*>(static_cast<NativeObject*>(found));
}

/// The same where a stranger's will not do: 91 for nothing, 13 for another's.
template <typename Self>
Self& RequireNative(IUnknown* object) {
  RequireNotNull(object);
  Self* const found = NativeOf<Self>(object);
  if (found == nullptr) RaiseRunTime(kErrTypeMismatch);
  return *found;
}

}  // namespace qm::component
