#include <utility>
#include <vector>

#include "dataaccess/row_source.h"

namespace qm {

namespace {

constexpr int kFirstPage = 16;
constexpr int kPage = 128;

constexpr PageRange kFromStart{.equal = true};
constexpr PageRange kFromEnd{.backward = true, .equal = true};
constexpr PageRange kBehind{.beyond = true};
constexpr PageRange kBefore{.backward = true, .beyond = true};

// Keeps one page and the key of the current row in the order; the key alone is what positions, so
// that rows inserted or deleted by others between two pages neither repeat nor hide a row.
class PageSource : public RowSource {
 public:
  PageSource(ProviderSession& session, std::shared_ptr<const RowOrigin> origin,
             std::shared_ptr<const RowOrder> order)
      : session_(session), origin_(std::move(origin)), order_(std::move(order)) {}

  Moved First(Row& row) override { return Show(kFromStart, {}, kFirstPage, row); }
  Moved Last(Row& row) override { return Show(kFromEnd, {}, kFirstPage, row); }
  Moved Next(Row& row) override {
    if (at_ + 1 < page_.size()) return ShowPlace(at_ + 1, row);
    return Show(kBehind, key_, kPage, row);
  }
  Moved Previous(Row& row) override {
    if (at_ > 0 && at_ < page_.size()) return ShowPlace(at_ - 1, row);
    return Show(kBefore, key_, kPage, row);
  }
  std::int64_t Count() override { return session_.CountRows(*origin_); }

  void Mark(const Row& row, Variant::Array& mark) const override {
    const RowIdentity identity = IdentityOf(row, *origin_);
    mark.insert(mark.end(), identity.begin(), identity.end());
  }
  Moved GoTo(std::span<const Variant> mark, Row& row) override {
    if (mark.size() != origin_->IdentityWidth()) RaiseData(kErrBadArgument, "bookmark");
    if (!session_.ReadRow(*origin_, mark, row, false)) return Moved::kDeleted;
    SetKey(row);
    Distrust();
    return Moved::kRow;
  }

  bool HasOrder() const override { return true; }
  std::size_t IndexWidth() const override { return order_->IndexWidth(); }
  void SetOrder(const std::shared_ptr<const RowOrder>& order, const Row& row) override {
    order_ = order;
    SetKey(row);
    Distrust();
  }
  Moved Seek(PageRange range, RowIdentity key, Row& row) override {
    return Show(range, key, kFirstPage, row);
  }

  void Replaced(const Row& row) override { StandOn(row); }
  void Added(const Row& row) override { StandOn(row); }
  void Distrust() override {
    page_.clear();
    at_ = 0;
  }

 private:
  Moved Show(PageRange range, RowIdentity key, int count, Row& row) {
    std::vector<Row> page = session_.ReadPage(*origin_, *order_, range, key, count);
    if (page.empty()) return Moved::kEnd;
    page_ = std::move(page);
    return ShowPlace(range.backward ? page_.size() - 1 : 0, row);
  }
  Moved ShowPlace(std::size_t place, Row& row) {
    at_ = place;
    row = page_[at_];
    SetKey(row);
    return Moved::kRow;
  }
  void SetKey(const Row& row) {
    const std::vector<std::size_t>& places = order_->Places();
    key_.resize(places.size());
    for (std::size_t i = 0; i < places.size(); ++i) {
      if (places[i] < row.size()) key_[i] = row[places[i]];  // the recordset refuses other widths
    }
  }
  // A written key may have moved the row out of its page's order.
  void StandOn(const Row& row) {
    const Row before = key_;
    SetKey(row);
    if (at_ < page_.size() && key_ == before) {
      page_[at_] = row;
    } else {
      Distrust();
    }
  }

  ProviderSession& session_;
  std::shared_ptr<const RowOrigin> origin_;
  std::shared_ptr<const RowOrder> order_;
  std::vector<Row> page_;
  std::size_t at_ = 0;
  Row key_;
};

}  // namespace

std::unique_ptr<RowSource> MakePageSource(ProviderSession& session,
                                          std::shared_ptr<const RowOrigin> origin,
                                          std::shared_ptr<const RowOrder> order) {
  return std::make_unique<PageSource>(session, std::move(origin), std::move(order));
}

}  // namespace qm
