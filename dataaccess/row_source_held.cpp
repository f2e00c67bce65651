#include <utility>

#include "dataaccess/packed_rows.h"
#include "dataaccess/row_source.h"

namespace qm {

namespace {

// Rows counted from 0, of which something is held for each.
class HeldSource : public RowSource {
 public:
  Moved First(Row& row) override { return MoveTo(0, row); }
  Moved Next(Row& row) override { return MoveTo(at_ + 1, row); }
  Moved Previous(Row& row) override { return at_ == 0 ? Moved::kEnd : MoveTo(at_ - 1, row); }
  Moved Last(Row& row) override {
    return held_.size() == 0 ? Moved::kEnd : MoveTo(held_.size() - 1, row);
  }
  std::int64_t Count() override { return static_cast<std::int64_t>(held_.size()); }

  void Mark(const Row&, Variant::Array& mark) const override {
    mark.emplace_back(static_cast<std::int64_t>(at_));
  }
  Moved GoTo(std::span<const Variant> mark, Row& row) override {
    const auto* place = mark.size() == 1 ? mark[0].GetIf<std::int64_t>() : nullptr;
    if (place == nullptr || *place < 0 || *place >= Count()) RaiseData(kErrBadArgument, "bookmark");
    const auto to = static_cast<std::size_t>(*place);
    const Moved moved = ReadAt(to, row);
    if (moved == Moved::kRow) at_ = to;
    return moved;
  }

 protected:
  virtual Moved ReadAt(std::size_t place, Row& row) = 0;

  Moved MoveTo(std::size_t place, Row& row) {
    if (place >= held_.size()) return Moved::kEnd;
    const Moved moved = ReadAt(place, row);
    at_ = place;
    return moved;
  }

  PackedRows held_;
  std::size_t at_ = 0;
};

class SnapshotSource : public HeldSource {
 public:
  SnapshotSource(ProviderStatement& statement, std::int64_t limit) {
    Row row;
    while ((limit == 0 || Count() < limit) && statement.Next(row)) held_.Append(row);
  }
  void Replaced(const Row& row) override { held_.Replace(at_, row); }
  void Added(const Row& row) override {
    held_.Append(row);
    at_ = held_.size() - 1;
  }

 protected:
  Moved ReadAt(std::size_t place, Row& row) override {
    held_.Read(place, row);
    return Moved::kRow;
  }
};

class KeysetSource : public HeldSource {
 public:
  KeysetSource(ProviderSession& session, ProviderStatement& statement, std::int64_t limit)
      : session_(session), origin_(statement.Shape()->origin) {
    Row row;
    while ((limit == 0 || Count() < limit) && statement.Next(row)) {
      held_.Append(IdentityOf(row, *origin_));
      if (held_.size() == 1) first_.swap(row);
    }
  }
  void Replaced(const Row& row) override { held_.Replace(at_, IdentityOf(row, *origin_)); }
  void Added(const Row& row) override {
    held_.Append(IdentityOf(row, *origin_));
    at_ = held_.size() - 1;
  }

 protected:
  Moved ReadAt(std::size_t place, Row& row) override {
    if (place == 0 && !first_.empty()) {
      row = std::exchange(first_, {});
      return Moved::kRow;
    }
    Row identity;
    held_.Read(place, identity);
    if (!session_.ReadRow(*origin_, identity, row, false)) return Moved::kDeleted;
    return Moved::kRow;
  }

 private:
  ProviderSession& session_;
  std::shared_ptr<const RowOrigin> origin_;
  Row first_;  // read at opening, and current right after it
};

}  // namespace

std::unique_ptr<RowSource> MakeSnapshotSource(ProviderStatement& statement, std::int64_t limit) {
  return std::make_unique<SnapshotSource>(statement, limit);
}

std::unique_ptr<RowSource> MakeKeysetSource(ProviderSession& session, ProviderStatement& statement,
                                            std::int64_t limit) {
  return std::make_unique<KeysetSource>(session, statement, limit);
}

}  // namespace qm
