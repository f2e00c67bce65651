// RowSource: the rows under a recordset, one class for each way of holding them. The recordset
// keeps the copy of the current row, its ends and the pending edit; a source only moves.
//
// A move fills `row` (columns, then identity) and says how it went. After `kEnd` the place is
// unknown and the next move is `First` or `Last`.
#pragma once

#include <cstdint>
#include <memory>

#include "dataaccess/provider.h"

namespace qm {

enum class Moved {
  kRow,
  kEnd,     ///< no row there
  kDeleted  ///< the row of that place is gone; it can be moved over
};

class RowSource {
 public:
  virtual ~RowSource() = default;
  /// Whether `First`, `Last` and `Previous` may be asked for.
  virtual bool Scrolls() const { return true; }
  virtual Moved First(Row& row) = 0;
  virtual Moved Next(Row& row) = 0;
  virtual Moved Previous(Row& row) = 0;
  virtual Moved Last(Row& row) = 0;
  virtual std::int64_t Count() = 0;
  /// The current row was written, and is now so.
  virtual void Replaced(const Row& row) = 0;
  /// A row was inserted: it becomes the current one.
  virtual void Added(const Row& row) = 0;
  /// The current row proved to be old: rows read ahead are not to be used.
  virtual void Distrust() {}
  /// Ends a statement that is still open, keeping its rows.
  virtual void Detach() {}
};

/// Rows as they come; `limit` 0 means all.
std::unique_ptr<RowSource> MakeStreamSource(std::unique_ptr<ProviderStatement> statement,
                                            std::int64_t limit);
/// All rows as they are now.
std::unique_ptr<RowSource> MakeSnapshotSource(ProviderStatement& statement, std::int64_t limit);
/// The identities of now, each row read when it is moved to. The statement's rows have identity.
std::unique_ptr<RowSource> MakeKeysetSource(ProviderSession& session, ProviderStatement& statement,
                                            std::int64_t limit);
/// A table's rows, a page at a time.
std::unique_ptr<RowSource> MakePageSource(ProviderSession& session,
                                          std::shared_ptr<const RowOrigin> origin);

/// The trailing part of a row.
inline RowIdentity IdentityOf(const Row& row, const RowOrigin& origin) {
  return RowIdentity(row).last(origin.IdentityWidth());
}

}  // namespace qm
