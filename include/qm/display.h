// Display: a stored, named selection of items that an application shows on a screen: which items,
// in which order, which are hidden or protected, and with which default values.
//
// `QMDataSets::LoadDisplay` fills one; walk it with a range-for. A display and its fields are plain
// values that may be made and changed freely; nothing is stored.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <qm/api.h>

namespace qm {

class QM_API DisplayField {
 public:
  /// The NAACCR item number, as stored.
  const std::string& FieldNumber() const { return field_number_; }
  void SetFieldNumber(std::string_view value) { field_number_ = value; }
  /// The position on the screen.
  std::int16_t Sequence() const { return sequence_; }
  void SetSequence(std::int16_t value) { sequence_ = value; }
  bool Invisible() const { return invisible_; }
  void SetInvisible(bool value) { invisible_ = value; }
  bool Protected() const { return protected_; }
  void SetProtected(bool value) { protected_ = value; }
  /// The item's default value.
  const std::string& Default() const { return default_; }
  void SetDefault(std::string_view value) { default_ = value; }

  friend bool operator==(const DisplayField&, const DisplayField&) = default;

 private:
  std::string field_number_;
  std::int16_t sequence_ = 0;
  bool invisible_ = false;
  bool protected_ = false;
  std::string default_;
};

class QM_API Display {
 public:
  /// A forward range over the fields, in their order.
  using const_iterator = std::vector<DisplayField>::const_iterator;
  const_iterator begin() const { return fields_.begin(); }
  const_iterator end() const { return fields_.end(); }

  /// Always the type mismatch (13), or 9 outside the range: the published member gives the element
  /// as a display, which it is not. Walk the display instead.
  const Display& Item(std::int16_t Index) const;
  /// Replaces the element at that 1-based position; 9 outside the range.
  void SetItem(std::int16_t Index, const DisplayField& objDisplayField);
  std::int16_t Count() const;
  /// Adds a field at the end. A key used before, whatever its case, is 457.
  void Add(const DisplayField& objDisplayField,
           const std::optional<std::string>& strKey = std::nullopt);
  /// Takes out the element at that 1-based position; 9 outside the range.
  void Remove(std::int16_t Index);

  const std::string& Name() const { return name_; }
  void SetName(std::string_view value) { name_ = value; }
  /// Whether this is the default display; loading never sets it.
  bool Default() const { return default_; }
  void SetDefault(bool value) { default_ = value; }
  std::int16_t DisplayID() const { return display_id_; }
  void SetDisplayID(std::int16_t value) { display_id_ = value; }

 private:
  std::vector<DisplayField> fields_;
  std::vector<std::optional<std::string>> keys_;
  std::string name_;
  bool default_ = false;
  std::int16_t display_id_ = 0;
};

}  // namespace qm
