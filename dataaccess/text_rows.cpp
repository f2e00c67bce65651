#include "dataaccess/text_rows.h"

#include <qm/conversions.h>
#include <qm/error.h>

#include "dataaccess/connection_impl.h"
#include "dataaccess/data_error.h"

namespace qm {

ValueKind RecordsetTexts::Read(int column, std::string_view& text) const {
  const auto place = static_cast<std::size_t>(column);
  const Variant value = recordset_.Value(column);
  std::string read = ToTextOrEmpty(value);
  if (rooms_.size() <= place) rooms_.resize(static_cast<std::size_t>(recordset_.FieldCount()));
  rooms_[place] = std::move(read);
  text = rooms_[place];
  return KindOf(value);
}

TextRows::TextRows(const std::shared_ptr<Connection>& connection, std::string_view query)
    : connection_(std::dynamic_pointer_cast<ConnectionImpl>(connection)) {
  if (!connection_ || connection_->State() != kStateOpen) RaiseData(kErrInvalidConnection);
  connection_->Observe(query);
  statement_ = connection_->Prepare(query, false, true);
  if (statement_->Writes()) connection_->PrepareToWrite();
  statement_->Start();
  if (!statement_->HasRows()) RaiseData(kErrObjectClosed);
  shape_ = statement_->Shape();
  rooms_.resize(shape_->columns.size());
}

Variant TextRows::Value(std::string_view name) const {
  const int column = Find(name);
  if (column < 0) RaiseData(kErrNoSuchItem, "column \"" + std::string(name) + "\"");
  return Value(column);
}

}  // namespace qm
