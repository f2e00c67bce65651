// Which connection serves a connection string: the library's own for its providers and for ODBC;
// for any other provider the platform's own, where the platform has one.
#pragma once

#include <memory>
#include <string_view>

#include <qm/connection.h>

namespace qm {

/// A new, unopened connection; the string is only looked at. One that reads as none, or names no
/// provider, is the library's own to refuse.
std::shared_ptr<Connection> CreateConnectionFor(std::string_view connection_string);

}  // namespace qm
