#include <utility>
#include <vector>

#include "dataaccess/row_source.h"

namespace qm {

namespace {

constexpr int kFirstPage = 16;
constexpr int kPage = 128;

// Keeps one page and the key of the current row; the key alone is what positions, so that rows
// inserted or deleted by others between two pages neither repeat nor hide a row.
class PageSource : public RowSource {
 public:
  PageSource(ProviderSession& session, std::shared_ptr<const RowOrigin> origin)
      : session_(session), origin_(std::move(origin)) {}

  Moved First(Row& row) override {
    return Show(session_.ReadPage(*origin_, PageAnchor::kFirst, {}, kFirstPage), false, row);
  }
  Moved Last(Row& row) override {
    return Show(session_.ReadPage(*origin_, PageAnchor::kLast, {}, kFirstPage), true, row);
  }
  Moved Next(Row& row) override {
    if (at_ + 1 < page_.size()) return ShowPlace(at_ + 1, row);
    return Show(session_.ReadPage(*origin_, PageAnchor::kAfter, key_, kPage), false, row);
  }
  Moved Previous(Row& row) override {
    if (at_ > 0 && at_ < page_.size()) return ShowPlace(at_ - 1, row);
    return Show(session_.ReadPage(*origin_, PageAnchor::kBefore, key_, kPage), true, row);
  }
  std::int64_t Count() override { return session_.CountRows(*origin_); }

  void Replaced(const Row& row) override { StandOn(row); }
  void Added(const Row& row) override { StandOn(row); }
  void Distrust() override {
    page_.clear();
    at_ = 0;
  }

 private:
  Moved Show(std::vector<Row> page, bool last, Row& row) {
    if (page.empty()) return Moved::kEnd;
    page_ = std::move(page);
    return ShowPlace(last ? page_.size() - 1 : 0, row);
  }
  Moved ShowPlace(std::size_t place, Row& row) {
    at_ = place;
    row = page_[at_];
    SetKey(row);
    return Moved::kRow;
  }
  void SetKey(const Row& row) {
    const RowIdentity identity = IdentityOf(row, *origin_);
    key_.assign(identity.begin(), identity.end());
  }
  // A written key may have moved the row out of its page's order.
  void StandOn(const Row& row) {
    const RowIdentity identity = IdentityOf(row, *origin_);
    const bool in_place = at_ < page_.size() && Row(identity.begin(), identity.end()) == key_;
    if (in_place) {
      page_[at_] = row;
    } else {
      SetKey(row);
      Distrust();
    }
  }

  ProviderSession& session_;
  std::shared_ptr<const RowOrigin> origin_;
  std::vector<Row> page_;
  std::size_t at_ = 0;
  Row key_;
};

}  // namespace

std::unique_ptr<RowSource> MakePageSource(ProviderSession& session,
                                          std::shared_ptr<const RowOrigin> origin) {
  return std::make_unique<PageSource>(session, std::move(origin));
}

}  // namespace qm
