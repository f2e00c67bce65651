#include "component/module.h"

#include <objidl.h>

#include <atomic>

#include "component/message_box.h"
#include "runtime/thread_state.h"

namespace qm::component {

namespace {

HINSTANCE own_module = nullptr;
std::atomic<long> objects = 0;
std::atomic<long> locks = 0;
std::atomic<long> threads = 0;

struct ThreadUse {
  long objects = 0;
  bool in_use = false;
  ULARGE_INTEGER spy{};
};
thread_local ThreadUse thread_use;

void EndThreadUse() {
  ThreadUse& use = thread_use;
  if (!use.in_use) return;
  use.in_use = false;
  EndThreadState();
  CoRevokeInitializeSpy(use.spy);
  --threads;
}

// Told by the component run-time when a thread is about to leave it; one serves all threads.
class ThreadSpy final : public IInitializeSpy {
 public:
  virtual ~ThreadSpy() = default;
  STDMETHODIMP QueryInterface(REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = id == __uuidof(IUnknown) || id == __uuidof(IInitializeSpy) ? this : nullptr;
    return *object == nullptr ? E_NOINTERFACE : S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP PreInitialize(DWORD, DWORD) override { return S_OK; }
  STDMETHODIMP PostInitialize(HRESULT outcome, DWORD, DWORD) override { return outcome; }
  STDMETHODIMP PreUninitialize(DWORD references) override {
    if (references <= 1) EndThreadUse();
    return S_OK;
  }
  STDMETHODIMP PostUninitialize(DWORD) override { return S_OK; }
};
ThreadSpy thread_spy;

void BeginThreadUse() {
  ThreadUse& use = thread_use;
  if (use.in_use) return;
  if (FAILED(CoRegisterInitializeSpy(&thread_spy, &use.spy))) return;
  use.in_use = true;
  ++threads;
  ShowMessagesInBoxes();
}

}  // namespace

void SetModule(HINSTANCE module) { own_module = module; }
HINSTANCE OwnModule() { return own_module; }

std::wstring ModulePath() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(own_module, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

HRESULT LoadOwnTypeLibrary(ITypeLib** library) {
  return LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, library);
}

ModuleReference::ModuleReference() {
  ++objects;
  ++thread_use.objects;
  BeginThreadUse();
}

ModuleReference::~ModuleReference() {
  if (--thread_use.objects == 0 && !ThreadStateHoldsAnything()) EndThreadUse();
  --objects;
}

void LockModule(bool lock) { locks += lock ? 1 : -1; }

bool ModuleIsInUse() { return objects != 0 || locks != 0 || threads != 0; }

}  // namespace qm::component
