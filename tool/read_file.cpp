#include "tool/read_file.h"

#include <qm/error.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "runtime/path_text.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

constexpr std::int32_t kFileAccess = 75;

std::string Rest(std::istream& in) {
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

std::string ReadFile(const std::string& path) {
  if (path == "-") return Rest(std::cin);
  if (!std::filesystem::exists(PathOf(path))) {
    throw Error(kFileNotFound, "qm", "there is no file " + path);
  }
  std::ifstream in(PathOf(path), std::ios::binary);
  if (std::filesystem::is_directory(PathOf(path)) || !in) {
    throw Error(kFileAccess, "qm", "cannot read " + path);
  }
  return Rest(in);
}

}  // namespace qm::tool
