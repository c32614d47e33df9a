// Environment variables, permanently or for the duration of a test.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace fmp4 {

// Sets one, or removes it (null), for this program and those it starts.
inline void setEnvironment(const char* name, const char* value) {
#if defined(_WIN32)
  _putenv_s(name, value == nullptr ? "" : value);
#else
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
#endif
}

// The same until its destruction.
class Environment {
 public:
  Environment(const char* name, const char* value) : m_name(name) {
    if (const char* old = std::getenv(name)) m_old = old;
    setEnvironment(name, value);
  }
  ~Environment() { setEnvironment(m_name, m_old ? m_old->c_str() : nullptr); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  const char* m_name;
  std::optional<std::string> m_old;
};

}  // namespace fmp4
