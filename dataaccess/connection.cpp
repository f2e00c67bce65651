#include <qm/connection.h>

#include <utility>

#include <qm/error.h>

#include "dataaccess/connection_impl.h"

namespace qm {

std::shared_ptr<Connection> Connection::Create() { return std::make_shared<ConnectionImpl>(); }

void Connection::Open(std::string_view connection_string, std::string_view user,
                      std::string_view password, std::int32_t) {
  if (!connection_string.empty()) SetConnectionString(connection_string);
  SetCredentials(user, password);
  Open();
}

Transaction::Transaction(std::shared_ptr<Connection> connection)
    : connection_(std::move(connection)) {
  connection_->BeginTrans();
}

Transaction::~Transaction() {
  if (!connection_) return;
  try {
    connection_->RollbackTrans();
  } catch (const Error&) {
    // Closing the connection, or the engine by itself, may have ended it already.
    connection_.reset();
  }
}

void Transaction::Commit() {
  connection_->CommitTrans();
  connection_.reset();
}

}  // namespace qm
