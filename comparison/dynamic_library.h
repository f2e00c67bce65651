// Loading a shared library and finding its functions, on either platform.
#pragma once

#include <filesystem>

namespace qm {

/// Null when it cannot be loaded.
void* LoadSharedLibrary(const std::filesystem::path& path);
/// Null when the library has no such symbol.
void* FindSymbol(void* library, const char* name);

}  // namespace qm
