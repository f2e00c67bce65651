#include "datasets/import_reader.h"

#include <algorithm>

#include "datasets/import_text.h"
#include "runtime/text.h"

namespace qm {

namespace {

// Enough of a record to hold version and record type.
constexpr std::size_t kHead = 64;

std::string ControlReason(std::string_view text) {
  if (!HasControlCharacter(text)) return {};
  const auto found = std::find_if(text.begin(), text.end(), IsControlCharacter);
  const auto before = text.substr(0, static_cast<std::size_t>(found - text.begin()));
  return "control character with code " + std::to_string(static_cast<unsigned char>(*found)) +
         " in column " + std::to_string(CharacterCount(before) + 1);
}

}  // namespace

std::string FixedWidthReader::Check(const RawLine& line) {
  if (line.overlong) {
    return "longer than " + std::to_string(kMaxLineBytes) + " bytes, which no record is";
  }
  if (utf8_ || IsAscii(line.bytes)) {
    text_ = line.bytes;
  } else if (auto decoded = DecodeWindows1252(line.bytes)) {
    text_ = std::move(*decoded);
  } else {
    return "neither UTF-8 nor Windows-1252: a byte that stands for no character";
  }
  if (text_.empty()) return "empty line";
  if (std::string reason = ControlReason(text_); !reason.empty()) return reason;

  const std::string length = std::to_string(CharacterCount(text_));
  const std::string_view head = CharacterSlice(text_, 0, kHead);
  layout_ = layouts_.Forced() != nullptr ? layouts_.Forced() : layouts_.Find(head);
  if (layout_ == nullptr) {
    return "no known version code (" + layouts_.KnownCodes() + "); the line has " + length +
           " characters";
  }
  const auto type =
      CharacterSlice(head, static_cast<std::size_t>(layout_->record_type_column - 1), 1);
  const std::int32_t expected = layout_->RecordLength(type);
  if (expected == 0) {
    return "record type '" + std::string(type) + "' in column " +
           std::to_string(layout_->record_type_column) + "; I, C, A or M is expected";
  }
  if (length != std::to_string(expected)) {
    return "length " + length + "; a version " + std::to_string(layout_->version) +
           " record of type " + std::string(type) + " has " + std::to_string(expected);
  }
  return {};
}

ImportRecord FixedWidthReader::Record() {
  ImportRecord record;
  record.layout = layout_;
  record.values = CutRecord(layout_->Layout(), text_);
  layout_->Layout().GetTextFromNAACCRRec(text_, record.texts);
  return record;
}

}  // namespace qm
