#include "runtime/private_file.h"

#include <qm/error.h>

#include <charconv>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#ifdef _WIN32
#include <windows.h>
#else
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#endif

#include "runtime/owner_only.h"
#include "runtime/path_text.h"

namespace qm {

namespace {

[[noreturn]] void RaisePathAccess(const std::filesystem::path& path) {
  constexpr std::int32_t kPathAccess = 75;
  throw Error(kPathAccess, "QMDataObjects2", "cannot write " + PathText(path));
}

// Whether a process of that number runs; one that may not be asked does.
bool Runs(std::uint32_t process) {
#ifdef _WIN32
  const HANDLE handle = OpenProcess(SYNCHRONIZE, FALSE, process);
  if (handle == nullptr) return GetLastError() != ERROR_INVALID_PARAMETER;
  const bool running = WaitForSingleObject(handle, 0) == WAIT_TIMEOUT;
  CloseHandle(handle);
  return running;
#else
  constexpr auto kHighest = static_cast<std::uint32_t>(std::numeric_limits<pid_t>::max());
  if (process > kHighest) return false;
  return ::kill(static_cast<pid_t>(process), 0) == 0 || errno != ESRCH;
#endif
}

// Whether a name ends with the number of a process that does not use the file any more.
bool IsAbandoned(std::string_view ending) {
  std::int64_t process = 0;
  const char* end = ending.data() + ending.size();
  const auto [rest, failure] = std::from_chars(ending.data(), end, process);
  if (failure != std::errc() || process <= 0 || (rest != end && *rest != '-')) return false;
  if (process > std::numeric_limits<std::uint32_t>::max()) return true;
  const auto number = static_cast<std::uint32_t>(process);
  return std::to_string(number) == ProcessNumber() || !Runs(number);
}

}  // namespace

std::string ProcessNumber() {
#ifdef _WIN32
  return std::to_string(GetCurrentProcessId());
#else
  return std::to_string(::getpid());
#endif
}

std::vector<std::filesystem::path> Leftovers(const std::filesystem::path& beginning,
                                             std::filesystem::file_type type) {
  namespace fs = std::filesystem;
  std::vector<fs::path> found;
  const std::string begin = PathText(beginning.filename());
  const fs::path folder = beginning.has_parent_path() ? beginning.parent_path() : fs::path(".");
  std::error_code failure;
  for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
       entry.increment(failure)) {
    const std::string name = PathText(entry->path().filename());
    std::error_code ignored;
    if (name.starts_with(begin) && IsAbandoned(std::string_view(name).substr(begin.size())) &&
        entry->symlink_status(ignored).type() == type) {
      found.push_back(entry->path());
    }
  }
  return found;
}

PrivateFile::PrivateFile(std::filesystem::path path) : path_(std::move(path)), partial_(path_) {
  partial_ += ".partial-";
  std::error_code ignored;
  for (const auto& left : Leftovers(partial_, std::filesystem::file_type::regular)) {
    std::filesystem::remove(left, ignored);
  }
  partial_ += ProcessNumber();
  std::filesystem::remove(partial_, ignored);
  if (!CreateFileForOwner(partial_)) RaisePathAccess(path_);
  stream_.open(partial_, std::ios::binary | std::ios::out);
  if (!stream_) RaisePathAccess(path_);
}

PrivateFile::~PrivateFile() {
  if (committed_) return;
  stream_.close();
  std::error_code ignored;
  std::filesystem::remove(partial_, ignored);
}

const std::filesystem::path& PrivateFile::Close() {
  if (stream_.is_open()) {
    stream_.close();
    if (!stream_) RaisePathAccess(path_);
  }
  return partial_;
}

void PrivateFile::Commit() {
  Close();
  std::error_code failure;
  std::filesystem::rename(partial_, path_, failure);
  if (failure) RaisePathAccess(path_);
  committed_ = true;
}

}  // namespace qm
