// The connection strings that clients have, as the string that the ODBC driver of the same database
// takes.
//
// `Driver={…};…` and `DSN=…` go through as they are, `Provider=MSDASQL;…` without its provider and
// with ODBC's names for data source, catalog, user and password. Strings of OLE DB providers become
// those of the driver installed for their database: SQL Server (SQLOLEDB, MSOLEDBSQL, SQLNCLI…) and
// Access files (Microsoft.Jet.OLEDB, Microsoft.ACE.OLEDB).
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "dataaccess/connection_string.h"

namespace qm {

/// Whether a string is one for an ODBC driver, by its keywords.
bool IsOdbcString(const ParsedConnectionString& connection);

/// `drivers` gives the names of the drivers installed; it is asked only where one has to be chosen.
/// 3706 when the database's driver is not among them. User and password stand in for those that the
/// string lacks.
std::string OdbcString(const ParsedConnectionString& connection, std::string_view user,
                       std::string_view password,
                       const std::function<std::vector<std::string>()>& drivers);

/// One more keyword behind a string.
void AppendPart(std::string& text, std::string_view keyword, std::string_view value);

}  // namespace qm
