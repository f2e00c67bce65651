#include "component/enumerator.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

#include "component/module.h"

namespace qm::component {

namespace {

using Values = std::shared_ptr<const std::vector<PlatformVariant>>;

class Enumerator final : public IEnumVARIANT {
 public:
  Enumerator(Values values, std::size_t position)
      : values_(std::move(values)), position_(position) {}
  virtual ~Enumerator() = default;

  STDMETHODIMP QueryInterface(REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = id == __uuidof(IUnknown) || id == __uuidof(IEnumVARIANT) ? this : nullptr;
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

  STDMETHODIMP Next(ULONG count, VARIANT* places, ULONG* delivered) override {
    if (places == nullptr) return E_POINTER;
    ULONG done = 0;
    for (; done < count && position_ < values_->size(); ++done, ++position_) {
      VARIANT value = (*values_)[position_].get();
      VariantInit(&places[done]);
      if (FAILED(VariantCopy(&places[done], &value))) return E_OUTOFMEMORY;
    }
    if (delivered != nullptr) *delivered = done;
    return done == count ? S_OK : S_FALSE;
  }
  STDMETHODIMP Skip(ULONG count) override {
    const std::size_t left = values_->size() - position_;
    position_ += std::min<std::size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
  }
  STDMETHODIMP Reset() override {
    position_ = 0;
    return S_OK;
  }
  STDMETHODIMP Clone(IEnumVARIANT** clone) override {
    if (clone == nullptr) return E_POINTER;
    *clone = new (std::nothrow) Enumerator(values_, position_);
    return *clone == nullptr ? E_OUTOFMEMORY : S_OK;
  }

 private:
  ModuleReference reference_;
  std::atomic<ULONG> references_ = 1;
  Values values_;
  std::size_t position_;
};

}  // namespace

IEnumVARIANT* MakeEnumerator(std::vector<PlatformVariant> values) {
  return new Enumerator(std::make_shared<const std::vector<PlatformVariant>>(std::move(values)), 0);
}

}  // namespace qm::component
