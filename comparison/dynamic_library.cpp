#include "comparison/dynamic_library.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace qm {

#ifdef _WIN32

void* LoadSharedLibrary(const std::filesystem::path& path) { return LoadLibraryW(path.c_str()); }

void* FindSymbol(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

#else

void* LoadSharedLibrary(const std::filesystem::path& path) {
  return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* FindSymbol(void* library, const char* name) { return dlsym(library, name); }

#endif

}  // namespace qm
