#pragma once

#include <cstdlib>
#include <string>

namespace marrowkit::test {

/// Sets a variable of the environment.
inline void SetVariable(const char* name, const std::string& value) {
#ifdef _WIN32
    _putenv_s(name, value.c_str());
#else
    setenv(name, value.c_str(), 1);
#endif
}

inline void UnsetVariable(const char* name) {
#ifdef _WIN32
    _putenv_s(name, "");
#else
    unsetenv(name);
#endif
}

}  // namespace marrowkit::test
