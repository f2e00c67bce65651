#include "review/report_json.h"

#include <cstdio>

#include "runtime/text.h"

namespace qm {

namespace {

// U+2028 and U+2029 end a line in scripts.
constexpr std::string_view kLineSeparators = "\xe2\x80";
constexpr std::size_t kSeparatorLength = 3;

bool IsLineSeparator(std::string_view text) {
  return text.size() >= kSeparatorLength && text.starts_with(kLineSeparators) &&
         (text[2] == '\xa8' || text[2] == '\xa9');
}

bool NeedsEscape(unsigned char byte) {
  return byte < 0x20U || byte == 0x7fU || byte == '"' || byte == '\\' || byte == '<' ||
         byte == '>' || byte == '&';
}

}  // namespace

void AppendJson(std::string& json, std::string_view value) {
  const bool valid = IsValidUtf8(value);
  json += '"';
  for (std::size_t i = 0; i < value.size(); ++i) {
    const auto byte = static_cast<unsigned char>(value[i]);
    if (NeedsEscape(byte)) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
      json += escape;
    } else if (byte >= 0x80U && !valid) {
      json += "\\ufffd";
    } else if (IsLineSeparator(value.substr(i))) {
      json += value[i + 2] == '\xa8' ? "\\u2028" : "\\u2029";
      i += kSeparatorLength - 1;
    } else {
      json += value[i];
    }
  }
  json += '"';
}

void AppendJson(std::string& json, const std::vector<std::string>& values) {
  json += '[';
  for (const std::string& value : values) {
    if (json.back() != '[') json += ',';
    AppendJson(json, value);
  }
  json += ']';
}

}  // namespace qm
