// Process-wide state that static objects of any library may use, before main and after it, in any order.
#pragma once

#include <new>

namespace OrvWorkFlow::Runtime {

// The one `Object` of this module, made at the first call and never destroyed. Any thread.
template <class Object>
Object& NeverDestroyed() {
  alignas(Object) static unsigned char storage[sizeof(Object)];
  static Object* const object = new (storage) Object;
  return *object;
}

}  // namespace OrvWorkFlow::Runtime
