// A lock and its guard.
#pragma once

#include <mutex>

namespace UMC {

// A recursive lock.
class Mutex {
 public:
  void Lock() { m_mutex.lock(); }
  void Unlock() { m_mutex.unlock(); }
  // Acquires the lock unless another thread holds it.
  bool TryLock() { return m_mutex.try_lock(); }

 private:
  std::recursive_mutex m_mutex;
};

// Counts the locks acquired through it and releases the remaining ones on destruction.
class ScopedLock {
 public:
  // Acquires the lock once.
  explicit ScopedLock(Mutex& mutex) : m_mutex(mutex) { Lock(); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;
  ~ScopedLock() {
    while (m_locks > 0) Unlock();
  }

  void Lock() {
    if (!m_mutex.TryLock()) m_mutex.Lock();
    ++m_locks;
  }

  void Unlock() {
    if (m_locks == 0) return;
    --m_locks;
    m_mutex.Unlock();
  }

 private:
  Mutex& m_mutex;
  int m_locks = 0;
};

}  // namespace UMC
