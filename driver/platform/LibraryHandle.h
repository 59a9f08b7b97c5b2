// Owner of one object of the crypto library: a number, a key, a certificate, a stream. It never shares the
// object and never copies it.
#pragma once

#include "uefi/Base.h"

// Owns a TYPE that FREE releases; FREE must allow NULL. Empty when it holds NULL, as after a refused
// creation.
template <typename TYPE, auto FREE> class LibraryHandle {
public:
  explicit LibraryHandle(TYPE *Object = nullptr) : Object_(Object) {}
  LibraryHandle(LibraryHandle &&Other) noexcept : Object_(Other.Release()) {}
  LibraryHandle &operator=(LibraryHandle &&Other) noexcept {
    Reset(Other.Release());
    return *this;
  }
  ~LibraryHandle() { FREE(Object_); }

  [[nodiscard]] TYPE *Get() const { return Object_; }

  // Hands the object to whoever is to own it from now on.
  [[nodiscard]] TYPE *Release() {
    TYPE *Object = Object_;
    Object_ = nullptr;
    return Object;
  }

  // Releases what is held and takes Object instead.
  void Reset(TYPE *Object = nullptr) {
    TYPE *Old = Object_;
    Object_ = Object;
    FREE(Old);
  }

  explicit operator bool() const { return Object_ != nullptr; }

private:
  TYPE *Object_;
};

// Turns a named handle into one that may be taken from.
template <typename TYPE, auto FREE> LibraryHandle<TYPE, FREE> Move(LibraryHandle<TYPE, FREE> &Handle) {
  return LibraryHandle<TYPE, FREE>(Handle.Release());
}
