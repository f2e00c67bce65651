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
#include <process.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace qm {

namespace {

[[noreturn]] void RaisePathAccess(const std::filesystem::path& path) {
  constexpr std::int32_t kPathAccess = 75;
  throw Error(kPathAccess, "QMDataObjects2", "cannot write " + path.string());
}

// The mode must hold from the first moment, which a stream cannot ask for.
bool CreateForOwner(const std::filesystem::path& path) {
#ifdef _WIN32
  return std::ofstream(path, std::ios::binary).good();
#else
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  return file >= 0 && ::close(file) == 0;
#endif
}

#ifndef _WIN32
// Whether a name ends with the number of a process that does not use the file any more.
bool IsAbandoned(std::string_view ending) {
  std::int64_t process = 0;
  const char* end = ending.data() + ending.size();
  const auto [rest, failure] = std::from_chars(ending.data(), end, process);
  if (failure != std::errc() || process <= 0 || (rest != end && *rest != '-')) return false;
  if (process > std::numeric_limits<pid_t>::max() || process == ::getpid()) return true;
  return ::kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH;
}
#endif

}  // namespace

std::string ProcessNumber() {
#ifdef _WIN32
  return std::to_string(_getpid());
#else
  return std::to_string(::getpid());
#endif
}

std::vector<std::filesystem::path> Leftovers(
    [[maybe_unused]] const std::filesystem::path& beginning,
    [[maybe_unused]] std::filesystem::file_type type) {
  namespace fs = std::filesystem;
  std::vector<fs::path> found;
#ifndef _WIN32
  const std::string begin = beginning.filename().string();
  const fs::path folder = beginning.has_parent_path() ? beginning.parent_path() : fs::path(".");
  std::error_code failure;
  for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
       entry.increment(failure)) {
    const std::string name = entry->path().filename().string();
    std::error_code ignored;
    if (name.starts_with(begin) && IsAbandoned(std::string_view(name).substr(begin.size())) &&
        entry->symlink_status(ignored).type() == type) {
      found.push_back(entry->path());
    }
  }
#endif
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
  if (!CreateForOwner(partial_)) RaisePathAccess(path_);
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
