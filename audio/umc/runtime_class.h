// Run-time class checks that also hold between modules which each have their own copy of a class.
#pragma once

#include <cstring>

namespace UMC {

// Every class answers by a function of its own, whose address tells the class inside one module and whose
// text tells it everywhere.
using ClassNameFunction = const char* (*)();

// The root: the first two virtual operations of every class.
class RuntimeObject {
 public:
  RuntimeObject() = default;
  RuntimeObject(const RuntimeObject&) = delete;
  RuntimeObject& operator=(const RuntimeObject&) = default;

  // True when `function` is the class-name function of this object's class or of one of its bases.
  [[nodiscard]] virtual bool IsClass(ClassNameFunction function) const = 0;
  // The same by the class name's text.
  [[nodiscard]] virtual bool IsClassNamed(const char* name) const = 0;
  virtual ~RuntimeObject() = default;
};

// Gives Derived, which has a static ClassName(), both checks. Bases are asked in turn.
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

// `object` as a T, or null when it is none (or null).
template <class T, class Object>
T* DynamicCast(Object* object) {
  if (object == nullptr) return nullptr;
  if (!object->IsClass(&T::ClassName) && !object->IsClassNamed(T::ClassName())) return nullptr;
  return static_cast<T*>(object);
}

}  // namespace UMC
