#include "datasets/application_folder.h"

#include <filesystem>
#include <system_error>

#ifdef _WIN32
#include <windows.h>

#include <array>
#endif

#include "runtime/component_folder.h"
#include "runtime/path_text.h"

namespace qm {

namespace {

std::filesystem::path ProgramFile() {
#ifdef _WIN32
  std::array<wchar_t, 32768> name{};
  const auto size = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
  return std::filesystem::path(name.data(), name.data() + size);
#else
  std::error_code unreadable;
  return std::filesystem::read_symlink("/proc/self/exe", unreadable);
#endif
}

}  // namespace

std::string ApplicationFolder() {
  const std::filesystem::path program = ProgramFile();
  return PathText(program.empty() ? ComponentFolder() : program.parent_path());
}

}  // namespace qm
