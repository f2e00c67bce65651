// Those members of a recordset that ADO has and that are several calls of the library's: Move, the
// arguments of AddNew and Update, GetRows and GetString.

#include <new>
#include <vector>

#include "component/recordset_object.h"
#include "dataaccess/data_error.h"

namespace qm::component {

namespace {

constexpr LONG kRestOfRows = -1;
constexpr LONG kClipString = 2;

struct Assignment {
  int ordinal;
  Variant value;
};

// An argument that is one element or an array of them.
Variant::Array ListIn(const VARIANT& given) {
  Variant value = Value(given);
  return value.IsArray() ? value.Elements() : Variant::Array{std::move(value)};
}

std::vector<int> OrdinalsIn(const Recordset& recordset, const VARIANT& fields) {
  std::vector<int> ordinals;
  if (IsMissing(fields)) {
    for (int i = 0; i < recordset.FieldCount(); ++i) ordinals.push_back(i);
  } else {
    for (const Variant& index : ListIn(fields)) ordinals.push_back(OrdinalOf(recordset, index));
  }
  return ordinals;
}

// Nothing where neither is given; 3001 for lists of different lengths.
std::vector<Assignment> AssignmentsIn(const Recordset& recordset, const VARIANT& fields,
                                      const VARIANT& values) {
  if (IsMissing(fields) && IsMissing(values)) return {};
  if (IsMissing(fields) || IsMissing(values)) RaiseData(kErrBadArgument, "fields and values");
  const std::vector<int> ordinals = OrdinalsIn(recordset, fields);
  // One field takes its value as it is.
  Variant::Array list = Value(fields).IsArray() ? ListIn(values) : Variant::Array{Value(values)};
  if (list.size() != ordinals.size()) RaiseData(kErrBadArgument, "fields and values");
  std::vector<Assignment> assignments;
  for (std::size_t i = 0; i < list.size(); ++i) {
    assignments.push_back({ordinals[i], std::move(list[i])});
  }
  return assignments;
}

void Assign(Recordset& recordset, const std::vector<Assignment>& assignments) {
  for (const auto& [ordinal, value] : assignments) recordset.SetValue(ordinal, value);
}

// A bookmark or one of the places that have a number.
void GoToStart(Recordset& recordset, const VARIANT& given) {
  const Variant start = Value(given);
  if (start.IsArray()) return recordset.SetBookmark(start);
  switch (start.IsEmpty() ? kBookmarkCurrent : ToInt32(start)) {
    case kBookmarkCurrent:
      return;
    case kBookmarkFirst:
      return recordset.MoveFirst();
    case kBookmarkLast:
      return recordset.MoveLast();
    default:
      RaiseData(kErrBadArgument, "start");
  }
}

// Calls `take` on each of the rows wanted and moves behind them. 3021 without a row to begin with.
template <typename Take>
void ReadRows(Recordset& recordset, LONG count, Take&& take) {
  if (recordset.Bof() || recordset.Eof()) RaiseData(kErrNoCurrentRecord);
  for (LONG i = 0; (i < count || count == kRestOfRows) && !recordset.Eof(); ++i) {
    take();
    recordset.MoveNext();
  }
}

// An array of fields by rows from values that stand row after row.
PlatformVariant Table(std::vector<PlatformVariant>& values, std::size_t fields) {
  const auto rows = fields == 0 ? 0 : values.size() / fields;
  SAFEARRAYBOUND bounds[] = {{static_cast<ULONG>(fields), 0}, {static_cast<ULONG>(rows), 0}};
  PlatformVariant table;
  table.get().parray = SafeArrayCreate(VT_VARIANT, 2, bounds);
  if (table.get().parray == nullptr) throw std::bad_alloc();
  table.get().vt = VT_ARRAY | VT_VARIANT;
  VARIANT* place = nullptr;
  if (FAILED(SafeArrayAccessData(table.get().parray, reinterpret_cast<void**>(&place)))) {
    throw std::bad_alloc();
  }
  // The first subscript is the one that runs fastest.
  for (PlatformVariant& value : values) *place++ = value.Detach();
  SafeArrayUnaccessData(table.get().parray);
  return table;
}

std::string TextOr(const VARIANT& given, std::string_view usual) {
  return IsMissing(given) ? std::string(usual) : ToText(Value(given));
}

}  // namespace

// Beyond an end it stays there, unless it starts there.
STDMETHODIMP RecordsetObject::Move(LONG NumRecords, VARIANT Start) {
  return Do([&] {
    if (recordset_->Bof() && recordset_->Eof()) RaiseData(kErrNoCurrentRecord);
    GoToStart(*recordset_, Start);
    for (LONG i = 0; i < NumRecords && (i == 0 || !recordset_->Eof()); ++i) recordset_->MoveNext();
    for (LONG i = 0; i > NumRecords && (i == 0 || !recordset_->Bof()); --i) {
      recordset_->MovePrevious();
    }
  });
}

// With fields and values the new row is written at once.
STDMETHODIMP RecordsetObject::AddNew(VARIANT FieldList, VARIANT Values) {
  return Do([&] {
    const auto assignments = AssignmentsIn(*recordset_, FieldList, Values);
    recordset_->AddNew();
    if (assignments.empty()) return;
    Assign(*recordset_, assignments);
    recordset_->Update();
  });
}

STDMETHODIMP RecordsetObject::Update(VARIANT Fields, VARIANT Values) {
  return Do([&] {
    Assign(*recordset_, AssignmentsIn(*recordset_, Fields, Values));
    recordset_->Update();
  });
}

STDMETHODIMP RecordsetObject::GetRows(LONG Rows, VARIANT Start, VARIANT Fields, VARIANT* result) {
  return Get(result, [&] {
    const std::vector<int> ordinals = OrdinalsIn(*recordset_, Fields);
    GoToStart(*recordset_, Start);
    std::vector<PlatformVariant> values;
    ReadRows(*recordset_, Rows, [&] {
      for (const int ordinal : ordinals) values.emplace_back(recordset_->Value(ordinal));
    });
    return Table(values, ordinals.size());
  });
}

STDMETHODIMP RecordsetObject::GetString(LONG StringFormat, LONG NumRows, VARIANT ColumnDelimiter,
                                        VARIANT RowDelimiter, VARIANT NullExpr, BSTR* result) {
  return Get(result, [&] {
    if (StringFormat != kClipString) RaiseData(kErrBadArgument, "string format");
    const std::string between = TextOr(ColumnDelimiter, "\t");
    const std::string behind = TextOr(RowDelimiter, "\r");
    const std::string for_null = TextOr(NullExpr, "");
    std::string text;
    ReadRows(*recordset_, NumRows, [&] {
      for (int i = 0; i < recordset_->FieldCount(); ++i) {
        if (i != 0) text += between;
        const Variant value = recordset_->Value(i);
        text += value.IsNull() ? for_null : ToText(value);
      }
      text += behind;
    });
    return text;
  });
}

}  // namespace qm::component
