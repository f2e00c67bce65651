#include "runtime/private_file.h"

#include <qm/error.h>

#include <string>
#include <system_error>
#include <utility>

#ifdef _WIN32
#include <process.h>
#else
#include <fcntl.h>
#include <unistd.h>
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

std::string ProcessSuffix() {
#ifdef _WIN32
  return ".partial-" + std::to_string(_getpid());
#else
  return ".partial-" + std::to_string(::getpid());
#endif
}

}  // namespace

PrivateFile::PrivateFile(std::filesystem::path path) : path_(std::move(path)), partial_(path_) {
  partial_ += ProcessSuffix();
  std::error_code ignored;
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
