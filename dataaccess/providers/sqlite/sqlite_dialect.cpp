#include "dataaccess/providers/sqlite/sqlite_dialect.h"

#include "dataaccess/keyword_spelling.h"

namespace qm {

std::string InSqliteDialect(std::string_view text) { return WithOrderSpelt(text); }

}  // namespace qm
