#include "runtime/component_folder.h"

#include <string>
#include <system_error>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace qm {

namespace {
// Its address tells the file that this code was loaded from.
const char anchor = 0;
}  // namespace

#ifdef _WIN32

std::filesystem::path ComponentFolder() {
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&anchor), &module);
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
  return std::filesystem::path(path).parent_path();
}

#else

std::filesystem::path ComponentFolder() {
  Dl_info info{};
  std::error_code ignored;
  if (dladdr(&anchor, &info) != 0 && info.dli_fname != nullptr) {
    // A program's own name may lead over the search path or a link; its true file does not.
    const auto file = std::filesystem::canonical(info.dli_fname, ignored);
    if (!ignored) return file.parent_path();
  }
  return std::filesystem::canonical("/proc/self/exe", ignored).parent_path();
}

#endif

}  // namespace qm
