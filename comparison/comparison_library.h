// The external comparison library: two C functions in a shared library beside the component or at
// the path that `SetComparisonLibrary` was given.
//
// It is looked for at the first use and then serves the whole process; it is never unloaded. Texts
// cross in the Windows-1252 code page, "?" for what it has no character for.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace qm {

#if defined(_WIN32) && !defined(_WIN64)
#define QM_LIBRARY_CALL __stdcall
#else
#define QM_LIBRARY_CALL
#endif

class ComparisonLibrary {
 public:
  /// Error 53 without the file, 48 when it is no library, 453 when a function is missing; each
  /// names the path.
  explicit ComparisonLibrary(const std::filesystem::path& path);

  /// `TWIN_CRStrCmp`, its result as it is.
  double Compare(std::string_view a, std::string_view b, std::int32_t parameter) const;
  /// `TWIN_Soundex`, with a blank code buffer of four characters.
  std::string Soundex(std::string_view name) const;

 private:
  using CompareFunction = double(QM_LIBRARY_CALL*)(const char*, const char*, std::int32_t);
  using SoundexFunction = const char*(QM_LIBRARY_CALL*)(const char*, char*);

  CompareFunction compare_ = nullptr;
  SoundexFunction soundex_ = nullptr;
};

/// The process's library, or null when the built-in functions serve. Raises what the constructor
/// does for a path that was set; a file beside the component that is no such library is not used.
const ComparisonLibrary* FindComparisonLibrary();

}  // namespace qm
