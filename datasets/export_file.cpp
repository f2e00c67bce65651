#include "datasets/export_file.h"

#include <qm/error.h>
#include <zlib.h>

#include <array>
#include <system_error>
#include <utility>

#include "datasets/import_source.h"
#include "runtime/path_text.h"
#include "runtime/private_file.h"
#include "runtime/text.h"

namespace qm {

namespace fs = std::filesystem;

namespace {

constexpr std::int32_t kErrFileExists = 58;

// The file behind symbolic links, so that a link stays one.
fs::path Target(const fs::path& file) {
  std::error_code failure;
  fs::path target = fs::weakly_canonical(file, failure);
  return failure ? file : target;
}

void RequireFree(const fs::path& file, bool replace) {
  std::error_code failure;
  const fs::file_status status = fs::status(file, failure);
  if (!fs::exists(status)) return;
  if (!fs::is_regular_file(status)) RaiseFile(kErrPathAccess, file, "not a regular file");
  if (!replace) RaiseFile(kErrFileExists, file, "such a file is there already");
}

}  // namespace

struct ExportFile::Place {
  fs::path name;  ///< as the caller gave it
  bool replace;
  PrivateFile file;
};

class ExportFile::Gzip {
 public:
  Gzip() {
    constexpr int kGzipFormat = 16;
    constexpr int kMemoryLevel = 8;
    if (deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, MAX_WBITS + kGzipFormat,
                     kMemoryLevel, Z_DEFAULT_STRATEGY) != Z_OK) {
      throw Error(kErrDevice, "QMDataObjects2", "the data cannot be compressed");
    }
  }
  Gzip(const Gzip&) = delete;
  Gzip& operator=(const Gzip&) = delete;
  ~Gzip() { deflateEnd(&stream_); }

  /// Gives what is ready so far, with `finish` all of it, to the sink.
  template <typename Sink>
  void Add(std::string_view bytes, bool finish, const Sink& sink) {
    // The library only reads there, but says so in newer versions alone.
    stream_.next_in =
        const_cast<Bytef*>(static_cast<const Bytef*>(static_cast<const void*>(bytes.data())));
    stream_.avail_in = static_cast<uInt>(bytes.size());
    do {
      stream_.next_out = out_.data();
      stream_.avail_out = static_cast<uInt>(out_.size());
      deflate(&stream_, finish ? Z_FINISH : Z_NO_FLUSH);
      const void* ready = out_.data();
      sink({static_cast<const char*>(ready), out_.size() - stream_.avail_out});
    } while (stream_.avail_out == 0);
  }

 private:
  z_stream stream_{};
  std::array<Bytef, std::size_t{64} * 1024> out_{};
};

ExportFile::ExportFile(const fs::path& file, bool replace) : stream_(nullptr) {
  const fs::path target = Target(file);
  RequireFree(target, replace);
  place_.reset(new Place{file, replace, PrivateFile(target)});
  stream_ = &place_->file.Stream();
  if (EqualsIgnoreCase(PathText(file.extension()), ".gz")) gzip_ = std::make_unique<Gzip>();
}

ExportFile::ExportFile(std::ostream& stream) : stream_(&stream) {}

ExportFile::~ExportFile() = default;

void ExportFile::WriteThrough(std::string_view bytes) {
  if (stream_->write(bytes.data(), static_cast<std::streamsize>(bytes.size()))) return;
  if (place_) RaiseFile(kErrPathAccess, place_->name, "cannot be written");
  throw Error(kErrDevice, "QMDataObjects2", "the records cannot be written");
}

void ExportFile::Write(std::string_view bytes) {
  if (gzip_) {
    gzip_->Add(bytes, false, [this](std::string_view ready) { WriteThrough(ready); });
  } else {
    WriteThrough(bytes);
  }
}

void ExportFile::Commit() {
  if (gzip_) gzip_->Add({}, true, [this](std::string_view ready) { WriteThrough(ready); });
  stream_->flush();
  WriteThrough({});
  if (!place_) return;
  place_->file.Close();
  // Somebody else may have been quicker.
  RequireFree(Target(place_->name), place_->replace);
  place_->file.Commit();
}

}  // namespace qm
