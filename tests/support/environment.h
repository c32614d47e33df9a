// Environment variables for the length of a test.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

// Sets one, or takes it away (null).
class Environment {
 public:
  Environment(const char* name, const char* value) : m_name(name) {
    if (const char* old = std::getenv(name)) m_old = old;
    set(value);
  }
  ~Environment() { set(m_old ? m_old->c_str() : nullptr); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  void set(const char* value) {
#if defined(_WIN32)
    _putenv_s(m_name, value == nullptr ? "" : value);
#else
    if (value != nullptr) {
      setenv(m_name, value, 1);
    } else {
      unsetenv(m_name);
    }
#endif
  }

  const char* m_name;
  std::optional<std::string> m_old;
};
