// The library as a front end sees it: exported names looked up at run time. The one test header, beside
// system_file.h, that knows the system.
#pragma once

#include <cstring>
#include <string>
#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace test {

#ifdef _WIN32
using LibraryHandle = HMODULE;
inline constexpr const char *library_file = "qor_fyn_def.dll";
inline LibraryHandle load_library() { return LoadLibraryA(library_file); }
inline bool unload_library(LibraryHandle handle) { return FreeLibrary(handle) != 0; }
inline void *find(LibraryHandle handle, const char *name) {
    const FARPROC found = GetProcAddress(handle, name);
    void *address;
    std::memcpy(&address, &found, sizeof address);
    return address;
}
inline void set_environment_variable(const char *name, const char *value) { SetEnvironmentVariableA(name, value); }
#else
using LibraryHandle = void *;
inline constexpr const char *library_file = "libqor_fyn_def.so";
inline LibraryHandle load_library() { return dlopen(library_file, RTLD_NOW | RTLD_LOCAL); }
inline bool unload_library(LibraryHandle handle) { return dlclose(handle) == 0; }
inline void *find(LibraryHandle handle, const char *name) { return dlsym(handle, name); }
inline void set_environment_variable(const char *name, const char *value) {
    value ? setenv(name, value, 1) : unsetenv(name);
}
#endif

inline LibraryHandle library() {
    static const LibraryHandle handle = load_library();
    return handle;
}

inline void *find(const std::string &name) { return find(library(), name.c_str()); }

template <class Function> Function entry(const std::string &name) { return reinterpret_cast<Function>(find(name)); }

} // namespace test
