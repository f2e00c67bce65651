// File names between the UTF-8 text of the library and paths, which are UTF-16 on Windows: there
// the path class takes narrow text for something else than UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace qm {

inline std::filesystem::path PathOf(std::string_view utf8) {
  return {std::u8string(utf8.begin(), utf8.end())};
}

inline std::string PathText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

}  // namespace qm
