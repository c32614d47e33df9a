// Run-time class checks that also work between modules which each have their own copy of a class.
#pragma once

#include <cstring>

namespace UMC {

// Each class is identified by a function: its address identifies the class within one module, the text it
// returns identifies it everywhere.
using ClassNameFunction = const char* (*)();

// The root class: the first two virtual operations of every class.
class RuntimeObject {
 public:
  RuntimeObject() = default;
  RuntimeObject(const RuntimeObject&) = delete;
  RuntimeObject& operator=(const RuntimeObject&) = default;

  // True if `function` is the class-name function of this object's class or of one of its bases.
  [[nodiscard]] virtual bool IsClass(ClassNameFunction function) const = 0;
  // The same by the text of the class name.
  [[nodiscard]] virtual bool IsClassNamed(const char* name) const = 0;
  virtual ~RuntimeObject() = default;
};

// Implements both checks for Derived, which has a static ClassName(). Bases are checked in turn.
template <class Derived, class Base = RuntimeObject>
class RuntimeClass : public Base {
 public:
  using Base::Base;

  [[nodiscard]] bool IsClass(ClassNameFunction function) const override {
    if (function == &Derived::ClassName) return true;
    if constexpr (requires { Base::ClassName(); }) return Base::IsClass(function);
    return false;
  }

  [[nodiscard]] bool IsClassNamed(const char* name) const override {
    if (std::strcmp(name, Derived::ClassName()) == 0) return true;
    if constexpr (requires { Base::ClassName(); }) return Base::IsClassNamed(name);
    return false;
  }
};

// `object` as a T, or null if it is not one (or is null).
template <class T, class Object>
T* DynamicCast(Object* object) {
  if (object == nullptr) return nullptr;
  if (!object->IsClass(&T::ClassName) && !object->IsClassNamed(T::ClassName())) return nullptr;
  return static_cast<T*>(object);
}

}  // namespace UMC
