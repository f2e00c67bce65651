#include "datasets/import_source.h"

#include <qm/error.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "datasets/import_digest.h"
#include "datasets/import_text.h"
#include "runtime/path_text.h"

namespace qm {

namespace {

constexpr unsigned kBufferSize = 256U * 1024U;
constexpr std::size_t kSampleSize = std::size_t{64} * 1024;

// More control characters than a text with a few damaged places has.
bool LooksBinary(std::string_view sample) {
  const auto controls = std::count_if(sample.begin(), sample.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20U || byte == 0x7FU) && byte != '\t' && byte != '\n' && byte != '\r' &&
           byte != 0x1AU;
  });
  return static_cast<std::size_t>(controls) * 100 > sample.size();
}

}  // namespace

void RaiseFile(std::int32_t number, const std::filesystem::path& file, const std::string& what) {
  throw Error(number, "QMDataObjects2", PathText(file) + ": " + what);
}

struct TextSource::Handle {
  gzFile file = nullptr;
  Handle() = default;
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() {
    if (file != nullptr) gzclose_r(file);
  }
};

TextSource::TextSource(std::filesystem::path file)
    : file_(std::move(file)), handle_(std::make_unique<Handle>()) {
  std::error_code failure;
  const auto status = std::filesystem::status(file_, failure);
  if (status.type() == std::filesystem::file_type::not_found) {
    RaiseFile(kErrFileNotFound, file_, "no such file");
  }
  // It is read more than once, which a pipe cannot be.
  if (!std::filesystem::is_regular_file(status)) {
    RaiseFile(kErrPathAccess, file_, "not a regular file");
  }
#ifdef _WIN32
  handle_->file = gzopen_w(file_.c_str(), "rb");
#else
  handle_->file = gzopen(file_.c_str(), "rb");
#endif
  if (handle_->file == nullptr) RaiseFile(kErrPathAccess, file_, "cannot be opened");
  gzbuffer(handle_->file, kBufferSize);
}

TextSource::~TextSource() = default;

std::size_t TextSource::Read(char* buffer, std::size_t size) {
  const int count = gzread(handle_->file, buffer, static_cast<unsigned>(size));
  if (count == static_cast<int>(size)) return size;
  int code = Z_OK;
  gzerror(handle_->file, &code);
  if (code == Z_BUF_ERROR) RaiseFile(kErrFileFormat, file_, "the gzip data end too early");
  if (code == Z_DATA_ERROR) RaiseFile(kErrFileFormat, file_, "the gzip data are damaged");
  if (count < 0 || code != Z_OK) RaiseFile(kErrDevice, file_, "cannot be read");
  return static_cast<std::size_t>(count);
}

void TextSource::Seek(std::int64_t offset) {
  if (std::in_range<z_off_t>(offset)) {
    if (gzseek(handle_->file, static_cast<z_off_t>(offset), SEEK_SET) == offset) return;
    RaiseFile(kErrDevice, file_, "cannot be read");
  }
  // Where the library counts in 32 bits, what lies behind is reached by reading.
  if (gzrewind(handle_->file) != 0) RaiseFile(kErrDevice, file_, "cannot be read");
  std::vector<char> skipped(kBufferSize);
  for (std::int64_t left = offset; left > 0;) {
    const auto wanted = std::min<std::int64_t>(left, kBufferSize);
    const std::size_t count = Read(skipped.data(), static_cast<std::size_t>(wanted));
    if (count == 0) RaiseFile(kErrDevice, file_, "cannot be read");
    left -= static_cast<std::int64_t>(count);
  }
}

TextScan ScanText(const std::filesystem::path& file) {
  TextSource source(file);
  TextScan scan;
  Digest digest;
  Utf8Check utf8;
  std::int64_t line = 1;
  bool binary = false;
  std::vector<char> buffer(kBufferSize);
  while (const std::size_t count = source.Read(buffer.data(), buffer.size())) {
    const std::string_view bytes(buffer.data(), count);
    if (scan.size == 0) {
      if (bytes.starts_with("\xEF\xBB\xBF")) scan.start = 3;
      binary = LooksBinary(bytes.substr(0, kSampleSize));
    }
    if (const auto nul = bytes.find('\0'); nul != std::string_view::npos) {
      line += std::count(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(nul), '\n');
      RaiseFile(kErrFileFormat, file,
                "line " + std::to_string(line) + ": a NUL byte; this is no text file");
    }
    line += std::count(bytes.begin(), bytes.end(), '\n');
    digest.Update(bytes);
    utf8.Update(bytes);
    scan.size += static_cast<std::int64_t>(count);
  }
  scan.digest = digest.Finish();
  scan.utf8 = utf8.Complete();
  if (binary && !scan.utf8) {
    RaiseFile(kErrFileFormat, file, "binary data; this is no text file");
  }
  // What a broken transfer leaves: the library takes no bytes as no text.
  if (scan.size == 0 && file.extension() == ".gz" && std::filesystem::is_empty(file)) {
    RaiseFile(kErrFileFormat, file, "the gzip data end too early");
  }
  return scan;
}

}  // namespace qm
