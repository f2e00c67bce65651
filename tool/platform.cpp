#include "tool/platform.h"

#ifdef _WIN32

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace qm::tool {

namespace {

std::string Utf8(std::wstring_view text) {
  const auto units = static_cast<int>(text.size());
  std::string result(text.size() * 3, '\0');
  result.resize(static_cast<std::size_t>(
      WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(),
                          static_cast<int>(result.size()), nullptr, nullptr)));
  return result;
}

}  // namespace

std::vector<std::string> Arguments(int /*argc*/, char** /*argv*/) {
  int count = 0;
  const std::unique_ptr<LPWSTR, decltype([](LPWSTR* list) { LocalFree(list); })> list(
      CommandLineToArgvW(GetCommandLineW(), &count));
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(Utf8(list.get()[i]));
  return arguments;
}

void PrepareProcess() {
  for (const int stream : {0, 1}) _setmode(stream, _O_BINARY);
  SetConsoleOutputCP(CP_UTF8);
  SetConsoleCP(CP_UTF8);
  const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
  DWORD mode = 0;
  if (GetConsoleMode(console, &mode)) {
    SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  }
  const std::unique_ptr<wchar_t, decltype([](wchar_t* block) { FreeEnvironmentStringsW(block); })>
      environment(GetEnvironmentStringsW());
  for (const wchar_t* entry = environment.get(); entry != nullptr && *entry != L'\0';) {
    const std::wstring_view text(entry);
    entry += text.size() + 1;
    if (text.front() != L'=') _putenv(Utf8(text).c_str());
  }
}

}  // namespace qm::tool

#else

namespace qm::tool {

std::vector<std::string> Arguments(int argc, char** argv) { return {argv + 1, argv + argc}; }

void PrepareProcess() {}

}  // namespace qm::tool

#endif
