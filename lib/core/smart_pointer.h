#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace Tal {

/// A counted reference to a T that derives from SafeReferenceCount; null is allowed.
template <class T>
class SmartPointer {
 public:
  SmartPointer() noexcept = default;
  SmartPointer(std::nullptr_t) noexcept {}

  /// Takes a reference of its own on `object`, which may be null.
  SmartPointer(T* object) noexcept : object_(object) {
    if (object_ != nullptr) object_->incRef();
  }

  SmartPointer(const SmartPointer& other) noexcept : SmartPointer(other.object_) {}
  SmartPointer(SmartPointer&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  SmartPointer(const SmartPointer<U>& other) noexcept : SmartPointer(other.get()) {}

  SmartPointer& operator=(SmartPointer other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  ~SmartPointer() {
    if (object_ != nullptr) object_->decRef();
  }

  /// The object, or null; it lives at least as long as this pointer holds it.
  T* get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  friend bool operator==(const SmartPointer& a, const SmartPointer& b) noexcept {
    return a.object_ == b.object_;
  }
  /// Without this, a comparison would take and drop a reference: the last one of an object held by nobody.
  friend bool operator==(const SmartPointer& a, const T* b) noexcept { return a.object_ == b; }
  friend bool operator==(const SmartPointer& a, std::nullptr_t) noexcept { return a.object_ == nullptr; }

 private:
  T* object_ = nullptr;
};

/// Makes a T and holds the first reference to it.
template <class T, class... Args>
SmartPointer<T> makeSmart(Args&&... args) {
  return SmartPointer<T>(new T(std::forward<Args>(args)...));
}

}  // namespace Tal
