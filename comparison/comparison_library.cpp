#include "comparison/comparison_library.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <vector>

#include <qm/error.h>
#include <qm/matcher.h>

#include "comparison/dynamic_library.h"
#include "runtime/component_folder.h"
#include "runtime/path_text.h"

namespace qm {

namespace {

#ifdef _WIN32
constexpr const char* kLibraryName = "twinseek.dll";
#else
constexpr const char* kLibraryName = "libtwinseek.so";
#endif

enum LoadErrorNumber : std::int32_t { kErrLoading = 48, kErrNoFile = 53, kErrNoEntryPoint = 453 };

// Windows-1252 has these where Latin-1 has control characters, from 0x80 on; 0 is unused.
constexpr std::array<char16_t, 32> kAnsiSpecials = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char AnsiCharacter(unsigned code) {
  if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) return static_cast<char>(code);
  for (std::size_t i = 0; i < kAnsiSpecials.size(); ++i) {
    if (kAnsiSpecials[i] == code) return static_cast<char>(0x80 + i);
  }
  return '?';
}

std::string ToAnsi(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i++]);
    unsigned code = lead < 0x80U ? lead : lead < 0xE0U ? lead & 0x1FU : lead & 0x0FU;
    while (i < text.size() && (static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U) {
      code = (code << 6U) | (static_cast<unsigned char>(text[i++]) & 0x3FU);
    }
    result.push_back(AnsiCharacter(code));
  }
  return result;
}

std::string FromAnsi(std::string_view text) {
  std::string result;
  for (const char c : text) {
    unsigned code = static_cast<unsigned char>(c);
    if (code >= 0x80U && code < 0xA0U && kAnsiSpecials[code - 0x80U] != 0) {
      code = kAnsiSpecials[code - 0x80U];
    }
    if (code < 0x80U) {
      result.push_back(c);
    } else if (code < 0x800U) {
      result.push_back(static_cast<char>(0xC0U | (code >> 6U)));
      result.push_back(static_cast<char>(0x80U | (code & 0x3FU)));
    } else {
      result.push_back(static_cast<char>(0xE0U | (code >> 12U)));
      result.push_back(static_cast<char>(0x80U | ((code >> 6U) & 0x3FU)));
      result.push_back(static_cast<char>(0x80U | (code & 0x3FU)));
    }
  }
  return result;
}

template <typename Function>
Function RequiredFunction(void* library, const char* name, const std::string& path) {
  void* const symbol = FindSymbol(library, name);
  if (symbol == nullptr) {
    throw Error(kErrNoEntryPoint, "QMDataObjects2",
                std::string("Can't find entry point ") + name + " in '" + path + "'");
  }
  return reinterpret_cast<Function>(symbol);
}

// What the process uses. Threads that compare only read `current`; the rest is behind the mutex.
struct Binding {
  using Choice = std::optional<ComparisonLibrary>;  // nothing: the built-in functions

  std::mutex mutex;
  std::string path;
  // Every choice made, so that one in use by another thread stays valid.
  std::vector<std::unique_ptr<const Choice>> choices;
  std::atomic<const Choice*> current = nullptr;
};

Binding& ProcessBinding() {
  static Binding binding;
  return binding;
}

Binding::Choice Load(const std::string& path) {
  if (!path.empty()) return ComparisonLibrary(std::u8string(path.begin(), path.end()));
  const auto beside = ComponentFolder() / kLibraryName;
  std::error_code ignored;
  if (!std::filesystem::exists(beside, ignored)) return std::nullopt;
  try {
    return ComparisonLibrary(beside);
  } catch (const Error&) {
    return std::nullopt;
  }
}

const ComparisonLibrary* LibraryOf(const Binding::Choice& choice) {
  return choice ? &*choice : nullptr;
}

}  // namespace

ComparisonLibrary::ComparisonLibrary(const std::filesystem::path& path) {
  const std::string shown = PathText(path);
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored)) {
    throw Error(kErrNoFile, "QMDataObjects2", "File not found: '" + shown + "'");
  }
  // A path without a folder would be searched for along the system's folders.
  void* const library = LoadSharedLibrary(std::filesystem::absolute(path));
  if (library == nullptr) {
    throw Error(kErrLoading, "QMDataObjects2", "Error in loading '" + shown + "'");
  }
  compare_ = RequiredFunction<CompareFunction>(library, "TWIN_CRStrCmp", shown);
  soundex_ = RequiredFunction<SoundexFunction>(library, "TWIN_Soundex", shown);
}

double ComparisonLibrary::Compare(std::string_view a, std::string_view b,
                                  std::int32_t parameter) const {
  return compare_(ToAnsi(a).c_str(), ToAnsi(b).c_str(), parameter);
}

std::string ComparisonLibrary::Soundex(std::string_view name) const {
  // Longer than the four characters promised, for a library that ends its code with a zero byte.
  std::array<char, 16> code = {' ', ' ', ' ', ' '};
  const char* const result = soundex_(ToAnsi(name).c_str(), code.data());
  return result == nullptr ? std::string() : FromAnsi(result);
}

const ComparisonLibrary* FindComparisonLibrary() {
  Binding& binding = ProcessBinding();
  if (const auto* choice = binding.current.load(std::memory_order_acquire)) {
    return LibraryOf(*choice);
  }
  const std::lock_guard lock(binding.mutex);
  if (const auto* choice = binding.current.load(std::memory_order_relaxed)) {
    return LibraryOf(*choice);
  }
  binding.choices.push_back(std::make_unique<const Binding::Choice>(Load(binding.path)));
  binding.current.store(binding.choices.back().get(), std::memory_order_release);
  return LibraryOf(*binding.choices.back());
}

void SetComparisonLibrary(std::string_view path) {
  Binding& binding = ProcessBinding();
  const std::lock_guard lock(binding.mutex);
  binding.path = path;
  binding.current.store(nullptr, std::memory_order_release);
}

}  // namespace qm
