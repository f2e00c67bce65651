// ComPointer: one counted reference to a platform object.
#pragma once

#include <utility>

#include "dataaccess/providers/automation/platform.h"

namespace qm {

template <typename Interface>
class ComPointer {
 public:
  ComPointer() = default;
  /// Shares the caller's reference.
  explicit ComPointer(Interface* object) : object_(object) {
    if (object_ != nullptr) object_->AddRef();
  }
  ComPointer(const ComPointer& other) : ComPointer(other.object_) {}
  ComPointer(ComPointer&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ComPointer& operator=(ComPointer other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ComPointer() {
    if (object_ != nullptr) object_->Release();
  }

  /// Takes a reference over that the caller counted already.
  static ComPointer Taking(Interface* object) {
    ComPointer result;
    result.object_ = object;
    return result;
  }
  /// Another interface of an object, or nothing.
  static ComPointer From(IUnknown* object) {
    ComPointer result;
    if (object != nullptr) {
      object->QueryInterface(__uuidof(Interface), reinterpret_cast<void**>(&result.object_));
    }
    return result;
  }

  Interface* get() const { return object_; }
  Interface* operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }
  /// Hands the reference to the caller.
  Interface* Detach() { return std::exchange(object_, nullptr); }
  /// Where a function of the platform puts a reference that it counted.
  Interface** Receive() {
    *this = ComPointer();
    return &object_;
  }

 private:
  Interface* object_ = nullptr;
};

}  // namespace qm
