#include "runtime/owner_only.h"

#ifdef _WIN32

#include <windows.h>

#include <sddl.h>

#include <cstddef>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace qm {

namespace {

struct FreeLocal {
  void operator()(void* memory) const { LocalFree(memory); }
};
struct CloseIt {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
template <typename T>
using Local = std::unique_ptr<T, FreeLocal>;
using Handle = std::unique_ptr<void, CloseIt>;

[[noreturn]] void RaiseLast() {
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

// The user whom this thread acts for, as the text that stands for him in access lists.
std::wstring User() {
  HANDLE opened = nullptr;
  if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &opened) &&
      !OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened)) {
    RaiseLast();
  }
  const Handle token(opened);
  DWORD size = 0;
  GetTokenInformation(opened, TokenUser, nullptr, 0, &size);
  std::vector<std::max_align_t> memory(size / sizeof(std::max_align_t) + 1);
  auto* const user = static_cast<TOKEN_USER*>(static_cast<void*>(memory.data()));
  wchar_t* text = nullptr;
  if (!GetTokenInformation(opened, TokenUser, user, size, &size) ||
      !ConvertSidToStringSidW(user->User.Sid, &text)) {
    RaiseLast();
  }
  const Local<wchar_t> owned(text);
  return text;
}

// An access list of its own, which takes nothing over from the folder above.
Local<void> OwnerOnly(bool folder) {
  const std::wstring whole = folder ? L"(A;OICI;FA;;;" : L"(A;;FA;;;";
  std::wstring list = L"D:P";
  for (const std::wstring& who : {User(), std::wstring(L"SY"), std::wstring(L"BA")}) {
    list += whole + who + L")";
  }
  void* descriptor = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(list.c_str(), SDDL_REVISION_1,
                                                            &descriptor, nullptr)) {
    RaiseLast();
  }
  return Local<void>(descriptor);
}

}  // namespace

bool CreateFileForOwner(const std::filesystem::path& file) {
  const Local<void> rights = OwnerOnly(false);
  SECURITY_ATTRIBUTES attributes{sizeof attributes, rights.get(), FALSE};
  const HANDLE made = CreateFileW(file.c_str(), GENERIC_WRITE, 0, &attributes, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  return made != INVALID_HANDLE_VALUE && CloseHandle(made);
}

void KeepForOwner(const std::filesystem::path& path) {
  const Local<void> rights = OwnerOnly(std::filesystem::is_directory(path));
  if (SetFileSecurityW(path.c_str(),
                       DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                       rights.get())) {
    return;
  }
  const DWORD code = GetLastError();
  if (code == ERROR_INVALID_FUNCTION || code == ERROR_NOT_SUPPORTED) return;
  throw std::filesystem::filesystem_error(
      "cannot set permissions", path,
      std::error_code(static_cast<int>(code), std::system_category()));
}

}  // namespace qm

#else

#include <fcntl.h>
#include <unistd.h>

namespace qm {

// The mode must hold from the first moment, which a stream cannot ask for.
bool CreateFileForOwner(const std::filesystem::path& file) {
  const int made = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  return made >= 0 && ::close(made) == 0;
}

void KeepForOwner(const std::filesystem::path& path) {
  using std::filesystem::perms;
  const bool folder = std::filesystem::is_directory(path);
  std::filesystem::permissions(path,
                               folder ? perms::owner_all : perms::owner_read | perms::owner_write);
}

}  // namespace qm

#endif
