// A comparison library whose results show what crossed into it.

#include <cstdint>
#include <cstring>

#define EXPORTED extern "C" __attribute__((visibility("default")))

/// Parameter 0: a tenth of the bytes of the first text; below 0 far too much; else a hundredth.
EXPORTED double TWIN_CRStrCmp(const char* a, const char* /*b*/, std::int32_t parameter) {
  if (parameter < 0) return 1e6;
  return parameter == 0 ? static_cast<double>(std::strlen(a)) / 10 : parameter / 100.0;
}

#ifndef QM_SAMPLE_WITHOUT_SOUNDEX
/// The name's first byte and its length in three digits, when the buffer came blank.
EXPORTED const char* TWIN_Soundex(const char* name, char code[4]) {
  if (std::memcmp(code, "    ", 4) != 0) return nullptr;
  static char result[5] = {};
  const std::size_t length = std::strlen(name);
  code[0] = name[0];
  for (std::size_t i = 3, rest = length; i > 0; --i, rest /= 10) {
    code[i] = static_cast<char>('0' + rest % 10);
  }
  std::memcpy(result, code, 4);
  return result;
}
#endif
