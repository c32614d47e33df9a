// A lock and its guard.
#pragma once

#include <mutex>

namespace UMC {

// A critical section: the thread that holds it may take it again.
class Mutex {
 public:
  void Lock() { m_mutex.lock(); }
  void Unlock() { m_mutex.unlock(); }
  // Takes the lock if no other thread holds it.
  bool TryLock() { return m_mutex.try_lock(); }

 private:
  std::recursive_mutex m_mutex;
};

// Counts the locks taken through it and releases what is left of them at its end.
class ScopedLock {
 public:
  // Takes the lock once.
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
