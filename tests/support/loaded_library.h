// A shared library that a test loads and unloads itself.
#ifndef PIXTOLA_TESTS_SUPPORT_LOADED_LIBRARY_H_
#define PIXTOLA_TESTS_SUPPORT_LOADED_LIBRARY_H_

#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace pixtola::test {

class LoadedLibrary {
 public:
  explicit LoadedLibrary(const std::string& path) : handle_(Load(path)) {}
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
  ~LoadedLibrary() {
    if (handle_ != nullptr) Unload(handle_);
  }

  bool is_loaded() const { return handle_ != nullptr; }

  /// An exported function; null when there is none with this name.
  template <typename Function>
  Function Find(const char* name) const {
    return reinterpret_cast<Function>(Address(handle_, name));
  }

#if defined(_WIN32)
  /// Whether the library is loaded in the process.
  static bool IsInProcess(const std::string& path) {
    return GetModuleHandleA(path.c_str()) != nullptr;
  }

 private:
  using Handle = HMODULE;
  static Handle Load(const std::string& path) { return LoadLibraryA(path.c_str()); }
  static void Unload(Handle handle) { FreeLibrary(handle); }
  static void (*Address(Handle handle, const char* name))() {
    return reinterpret_cast<void (*)()>(GetProcAddress(handle, name));
  }
#else
  static bool IsInProcess(const std::string& path) {
    void* const handle = dlopen(path.c_str(), RTLD_NOLOAD | RTLD_LAZY);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
  }

 private:
  using Handle = void*;
  static Handle Load(const std::string& path) { return dlopen(path.c_str(), RTLD_NOW); }
  static void Unload(Handle handle) { dlclose(handle); }
  static void* Address(Handle handle, const char* name) { return dlsym(handle, name); }
#endif

  Handle handle_;
};

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_LOADED_LIBRARY_H_
