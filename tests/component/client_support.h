// What the clients of the component share: counted checks and owners of the platform's things.
#pragma once

#include <windows.h>
// They build on the first.
#include <oleauto.h>
#include <qmdataobjects2_idl.h>

#include <iostream>
#include <string>
#include <utility>

inline int checks = 0;
inline int failures = 0;

inline void Check(const char* what, bool fulfilled) {
  ++checks;
  if (fulfilled) return;
  ++failures;
  std::cout << "FAILED: " << what << "\n";
}

/// The line that a client ends with, and what it returns.
inline int Result() {
  std::cout << "result: " << checks << " checks, " << failures << " failed\n";
  return failures == 0 ? 0 : 1;
}

/// A BSTR of its own.
class Text {
 public:
  Text() = default;
  explicit Text(const std::wstring& text) : text_(SysAllocString(text.c_str())) {}
  ~Text() { SysFreeString(text_); }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  BSTR get() const { return text_; }
  BSTR* place() { return &text_; }
  std::wstring wide() const { return text_ == nullptr ? L"" : text_; }

 private:
  BSTR text_ = nullptr;
};

/// One counted reference.
template <typename Interface>
class Ref {
 public:
  Ref() = default;
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Ref(const Ref&) = delete;
  Ref& operator=(Ref&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Ref() {
    if (object_ != nullptr) object_->Release();
  }
  Interface* operator->() const { return object_; }
  Interface* get() const { return object_; }
  Interface** place() { return &object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  Interface* object_ = nullptr;
};

template <typename Interface>
Ref<Interface> Create(const CLSID& id) {
  Ref<Interface> object;
  CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface),
                   reinterpret_cast<void**>(object.place()));
  return object;
}
