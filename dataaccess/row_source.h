// RowSource: the rows under a recordset, one class for each way of holding them. The recordset
// keeps the copy of the current row, its ends and the pending edit; a source only moves.
//
// A move fills `row` (columns, then identity) and says how it went. After `kEnd` the place is
// unknown and the next move is `First` or `Last`. Places can be marked where it scrolls; only a
// table's pages follow an order and can be sought in (3251 otherwise).
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include <qm/error.h>

#include "dataaccess/data_error.h"
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

  /// Appends what finds the current row again, however it was moved since.
  virtual void Mark(const Row&, Variant::Array&) const { RaiseData(kErrNotSupported); }
  /// Moves to a marked row; `kDeleted` stays where it was. 3001 for what is no mark of its own.
  virtual Moved GoTo(std::span<const Variant>, Row&) { RaiseData(kErrNotSupported); }

  virtual bool HasOrder() const { return false; }
  /// How many values a key of the order's index has at most; 0 without an index.
  virtual std::size_t IndexWidth() const { return 0; }
  /// Goes on from the current row in another order.
  virtual void SetOrder(const std::shared_ptr<const RowOrder>&, const Row&) {
    RaiseData(kErrNotSupported);
  }
  /// Moves to the first row of that range of the order (backward: to the last).
  virtual Moved Seek(PageRange, RowIdentity, Row&) { RaiseData(kErrNotSupported); }

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
/// A table's rows in an order, a page at a time.
std::unique_ptr<RowSource> MakePageSource(ProviderSession& session,
                                          std::shared_ptr<const RowOrigin> origin,
                                          std::shared_ptr<const RowOrder> order);

/// The trailing part of a row.
inline RowIdentity IdentityOf(const Row& row, const RowOrigin& origin) {
  return RowIdentity(row).last(origin.IdentityWidth());
}

}  // namespace qm
