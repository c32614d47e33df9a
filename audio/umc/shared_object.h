// An object shared by all decoders of a kind: created on first use, destroyed with the module.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

namespace UMC {

// Holds a T. Thread-safe.
template <class T>
class SharedObject {
 public:
  // The object. `make` returns it as a std::unique_ptr<const T>, or null if memory is exhausted; the result
  // is then null as well, and the next call tries again.
  template <class Make>
  const T* Get(Make make) {
    const T* made = m_made.load(std::memory_order_acquire);
    return made != nullptr ? made : MakeOnce(make);
  }

 private:
  template <class Make>
  const T* MakeOnce(Make make) {
    const std::scoped_lock lock(m_mutex);
    if (m_object == nullptr) {
      m_object = make();
      m_made.store(m_object.get(), std::memory_order_release);
    }
    return m_object.get();
  }

  std::mutex m_mutex;
  std::unique_ptr<const T> m_object;
  std::atomic<const T*> m_made{nullptr};
};

}  // namespace UMC
