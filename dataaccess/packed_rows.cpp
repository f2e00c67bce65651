#include "dataaccess/packed_rows.h"

#include <cstdint>
#include <cstring>

namespace qm {

namespace {

template <typename T>
void Put(std::string& bytes, T value) {
  char raw[sizeof(T)];
  std::memcpy(raw, &value, sizeof(T));
  bytes.append(raw, sizeof(T));
}

template <typename T>
T Take(const char*& at) {
  T value;
  std::memcpy(&value, at, sizeof(T));
  at += sizeof(T);
  return value;
}

void TakeValue(const char*& at, Variant& value) {
  switch (static_cast<VarType>(*at++)) {
    case VarType::kLong:
      value = Take<std::int32_t>(at);
      return;
    case VarType::kLongLong:
      value = Take<std::int64_t>(at);
      return;
    case VarType::kDouble:
      value = Take<double>(at);
      return;
    case VarType::kString: {
      const auto size = Take<std::uint32_t>(at);
      value.AssignText({at, size});
      at += size;
      return;
    }
    default:
      value = Variant::Null();
  }
}

}  // namespace

std::size_t PackedRows::Pack(RowIdentity values) {
  const std::size_t start = bytes_.size();
  Put(bytes_, static_cast<std::uint32_t>(values.size()));
  for (const Variant& value : values) {
    bytes_ += static_cast<char>(value.Type());
    if (const auto* text = value.GetIf<std::string>()) {
      Put(bytes_, static_cast<std::uint32_t>(text->size()));
      bytes_ += *text;
    } else if (const auto* whole = value.GetIf<std::int32_t>()) {
      Put(bytes_, *whole);
    } else if (const auto* large = value.GetIf<std::int64_t>()) {
      Put(bytes_, *large);
    } else if (const auto* real = value.GetIf<double>()) {
      Put(bytes_, *real);
    }
  }
  return start;
}

void PackedRows::Append(RowIdentity values) { starts_.push_back(Pack(values)); }

void PackedRows::Replace(std::size_t index, RowIdentity values) { starts_[index] = Pack(values); }

void PackedRows::Read(std::size_t index, Row& row) const {
  const char* at = bytes_.data() + starts_[index];
  const auto count = Take<std::uint32_t>(at);
  row.resize(count);
  for (Variant& value : row) TakeValue(at, value);
}

}  // namespace qm
