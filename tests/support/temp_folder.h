// TempFolder: a folder of a test's own, readable by its owner alone, gone with its scope.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace qm::test {

class TempFolder {
 public:
  TempFolder() {
#ifdef _WIN32
    const auto name = "qm_test_" + std::to_string(std::random_device()());
    path_ = std::filesystem::temp_directory_path() / name;
    if (!create_directory(path_)) throw std::runtime_error("no temporary folder");
#else
    std::string name = (std::filesystem::temp_directory_path() / "qm_test_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = name;
#endif
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// The path of a file in it.
  std::string File(std::string_view name) const { return (path_ / name).string(); }
  /// Writes a file and gives its path.
  std::string Write(std::string_view name, std::string_view content) const {
    std::ofstream(path_ / name, std::ios::binary) << content;
    return File(name);
  }
  std::string Read(std::string_view name) const {
    std::ifstream in(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  std::filesystem::path path_;
};

}  // namespace qm::test
