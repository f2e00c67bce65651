// Recordset: the rows of a query or of a table, in the shape and with the error numbers of ADO 2.5.
//
// Order of calls: take one from `Connection::CreateRecordset`, set source, connection, cursor and
// lock type (or give them to `Open`), walk and edit, `Close`. A member that needs an open
// recordset is 3704 on a closed one, a setting 3705 on an open one, a value without a current row
// 3021, an unknown column 3265. Column names are matched without regard to case.
//
// What a cursor type costs and shows:
//   forward-only  streams; only `MoveNext` (3219 otherwise), `RecordCount` -1
//   static        holds all rows as they were at opening; so does every client-side recordset
//   keyset        holds the row identities of opening; shows changed values of its rows
//   dynamic       as keyset, and re-reads the row it moves to
//   table-direct  (options 512) pages by key, one short statement a page: opening costs the same
//                 for ten rows and for ten million
// No statement stays open between two calls, except under a forward-only recordset; no lock is
// held while reading.
//
// Searches. `Find` works on every cursor type (forward on a forward-only one) and looks at one row
// after the other, a table-direct recordset page by page. `Index` and `Seek` need a table-direct
// recordset of a table with identity, bookmarks one that scrolls; else 3251. `Supports` says which.
// `Find`, `Seek` and going to a bookmark are moves: a pending edit is saved first.
//
// Edits. Optimistic: `Update` writes the columns assigned, only if they still hold what was
// fetched, else kErrRowChanged and the edit stays pending. Pessimistic: the first assignment locks
// the row and checks it. Assigning the value already there is no change. Moving off a row with a
// pending edit saves it as `Update` does; `Close` with one is 3219 and keeps it. A read-only
// recordset, or one whose statement gives no row identity (join, aggregate), refuses with 3251.
// An expression's column refuses likewise. A row that another user deleted is kErrRowDeleted when
// read, and can be moved over.
//
// Values. Integers are Long (LongLong beyond 32 bits), reals Double, texts and bytes String. What
// is assigned is kept by its type: True as -1, Currency as a real, a date as the text `YYYY-MM-DD`
// with ` HH:MM:SS` when it has a time, Empty as Null; an array or Nothing is 3421.
#pragma once

#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include <qm/api.h>
#include <qm/connection.h>
#include <qm/variant.h>

namespace qm {

enum CursorType : std::int32_t {
  kOpenForwardOnly = 0,
  kOpenKeyset = 1,
  kOpenDynamic = 2,
  kOpenStatic = 3
};
enum LockType : std::int32_t { kLockReadOnly = 1, kLockPessimistic = 2, kLockOptimistic = 3 };
enum CursorLocation : std::int32_t { kUseServer = 2, kUseClient = 3 };
enum CommandOption : std::int32_t {
  kCommandText = 1,
  kCommandTable = 2,
  kCommandTableDirect = 512
};
enum SearchDirection : std::int32_t { kSearchBackward = -1, kSearchForward = 1 };
/// Which row of an index `Seek` goes to, against the rows whose key equals the one sought.
enum SeekOption : std::int32_t {
  kSeekFirstEqual = 1,
  kSeekLastEqual = 2,
  kSeekAfterEqual = 4,    ///< the first of them, or the first row behind
  kSeekAfter = 8,         ///< the first row behind them
  kSeekBeforeEqual = 16,  ///< the last of them, or the last row before
  kSeekBefore = 32        ///< the last row before them
};
/// Rows from which a `Find` may start instead of a bookmark.
enum FindStart : std::int32_t { kBookmarkCurrent = 0, kBookmarkFirst = 1, kBookmarkLast = 2 };
/// What `Supports` is asked for.
enum CursorOption : std::int32_t {
  kSupportsMovePrevious = 512,
  kSupportsBookmark = 8192,
  kSupportsFind = 524288,
  kSupportsSeek = 4194304,
  kSupportsIndex = 8388608,
  kSupportsAddNew = 16778240,
  kSupportsUpdate = 16809984
};
enum EditMode : std::int32_t { kEditNone = 0, kEditInProgress = 1, kEditAdd = 2 };

class QM_API Recordset : public std::enable_shared_from_this<Recordset> {
 public:
  virtual ~Recordset() = default;
  Recordset(const Recordset&) = delete;
  Recordset& operator=(const Recordset&) = delete;

  virtual std::string Source() const = 0;
  virtual void SetSource(std::string_view text) = 0;
  virtual std::shared_ptr<Connection> ActiveConnection() const = 0;
  virtual void SetActiveConnection(std::shared_ptr<Connection> connection) = 0;
  virtual std::int32_t CursorType() const = 0;
  virtual void SetCursorType(std::int32_t type) = 0;
  virtual std::int32_t LockType() const = 0;
  virtual void SetLockType(std::int32_t type) = 0;
  virtual std::int32_t CursorLocation() const = 0;
  virtual void SetCursorLocation(std::int32_t location) = 0;
  /// At most so many rows; 0 for all.
  virtual std::int64_t MaxRecords() const = 0;
  virtual void SetMaxRecords(std::int64_t count) = 0;
  /// The provider's dynamic properties, by name: "Preserve on Commit", "Preserve on Abort"
  /// (booleans). An unknown name is 3265.
  virtual Variant Property(std::string_view name) const = 0;
  virtual void SetProperty(std::string_view name, const Variant& value) = 0;

  /// Opens with the settings and the options it was last opened with (unspecified at first).
  virtual void Open() = 0;
  /// Sets source, connection, cursor and lock type, then opens.
  void Open(std::string_view source, std::shared_ptr<Connection> connection,
            std::int32_t cursor_type = kOpenForwardOnly, std::int32_t lock_type = kLockReadOnly,
            std::int32_t options = kOptionsUnspecified);
  /// Opens with the settings and the options given.
  virtual void OpenWithOptions(std::int32_t options) = 0;
  /// Runs the same source again. 3219 with a pending edit, which stays.
  virtual void Requery() = 0;
  virtual void Close() = 0;
  virtual std::int32_t State() const = 0;

  /// Named `Eof` and `Bof`, since the C library's macro EOF bars the published name.
  virtual bool Eof() const = 0;
  virtual bool Bof() const = 0;
  virtual void MoveFirst() = 0;
  virtual void MoveLast() = 0;
  virtual void MoveNext() = 0;
  virtual void MovePrevious() = 0;
  virtual std::int64_t RecordCount() const = 0;
  /// Whether this recordset, as it was opened, has a `CursorOption`; false for any other number.
  virtual bool Supports(std::int32_t option) const = 0;

  /// Moves to the next row that meets the criteria, the current one included; to the end (backward:
  /// before the first row) when there is none. The criteria are one condition, `column operator
  /// value`: a column's name, bare or in brackets; `=`, `<>`, `<`, `<=`, `>`, `>=` or `LIKE` (`*`
  /// and `%` for any text, `_` for one character); 'text' with doubled quotes, a number, `#date#`
  /// or, with `=` and `<>`, Null. Letters match without regard to case; a number or a date is
  /// compared with what the column's text reads as; a Null in the column meets only `= Null`.
  /// Skips `skip` rows first; starts from `start`, a bookmark or a `FindStart`. Other criteria or
  /// arguments are 3001, an unknown column 3265, no row to start from 3021, a backward search in a
  /// forward-only recordset 3219.
  virtual void Find(std::string_view criteria, std::int64_t skip = 0,
                    std::int32_t direction = kSearchForward, const Variant& start = {}) = 0;

  /// The current row's place: an opaque value that holds while the recordset stays open and is not
  /// queried again. 3021 without a row, also while a new one is pending. In a table-direct
  /// recordset it is the row's key: writing another key gives the row another bookmark.
  virtual Variant Bookmark() const = 0;
  /// Moves to that row. Another recordset's bookmark, or one from before `Requery`, is 3001; when
  /// the row is gone, kErrRowDeleted, and nothing moves.
  virtual void SetBookmark(const Variant& bookmark) = 0;

  /// The index in whose order the rows of a table-direct recordset come, and which `Seek` uses;
  /// empty at first, for the order of the rows' identity. The current row stays the current one. An
  /// index is one of the table's own, by name, or "PrimaryKey" for its key; an unknown, partial or
  /// computed one is 3265. May be set while closed; a recordset opened otherwise does not use it.
  virtual std::string Index() const = 0;
  virtual void SetIndex(std::string_view name) = 0;
  /// Moves to a row by the index's leading columns: one value, or an array of them; compared as the
  /// index orders them. To the end when there is none. 3219 without an index, 3001 for more values
  /// than the index has columns.
  virtual void Seek(const Variant& key, std::int32_t option = kSeekFirstEqual) = 0;

  virtual int FieldCount() const = 0;
  /// Column name by position, counted from 0; 3265 outside.
  virtual const std::string& FieldName(int ordinal) const = 0;
  /// Position of a column, or -1; a hash look-up.
  virtual int FieldOrdinal(std::string_view name) const = 0;
  /// The current row's value, the pending one while it is edited.
  virtual Variant Value(int ordinal) const = 0;
  Variant Value(std::string_view name) const { return Value(RequiredOrdinal(name)); }
  virtual void SetValue(int ordinal, const Variant& value) = 0;
  void SetValue(std::string_view name, const Variant& value) {
    SetValue(RequiredOrdinal(name), value);
  }

  virtual std::int32_t EditMode() const = 0;
  /// Starts a new row; `Update` inserts it.
  virtual void AddNew() = 0;
  virtual void Update() = 0;
  /// Does nothing without a pending edit.
  virtual void CancelUpdate() = 0;

  class RowRange;
  /// The rows from the current one to the end, for a range-for. The range moves the recordset
  /// itself: each element is the recordset, standing on that row.
  RowRange Rows();

 protected:
  Recordset() = default;
  int RequiredOrdinal(std::string_view name) const;  ///< 3265 when there is no such column
};

/// Input range over a recordset's remaining rows.
class Recordset::RowRange {
 public:
  class Iterator {
   public:
    using value_type = Recordset;
    using difference_type = std::ptrdiff_t;
    Iterator() = default;
    explicit Iterator(Recordset* recordset) : recordset_(recordset) {}
    Recordset& operator*() const { return *recordset_; }
    Iterator& operator++() {
      recordset_->MoveNext();
      return *this;
    }
    void operator++(int) { ++*this; }
    friend bool operator==(const Iterator& it, std::default_sentinel_t) {
      return it.recordset_->Eof();
    }

   private:
    Recordset* recordset_ = nullptr;
  };

  explicit RowRange(Recordset& recordset) : recordset_(&recordset) {}
  Iterator begin() const { return Iterator(recordset_); }
  std::default_sentinel_t end() const { return {}; }

 private:
  Recordset* recordset_;
};

inline Recordset::RowRange Recordset::Rows() { return RowRange(*this); }

}  // namespace qm
