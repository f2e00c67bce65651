#include <utility>

#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "dataaccess/packed_rows.h"
#include "dataaccess/row_source.h"

namespace qm {

namespace {

class StreamSource : public RowSource {
 public:
  StreamSource(std::unique_ptr<ProviderStatement> statement, std::int64_t limit)
      : statement_(std::move(statement)), left_(limit == 0 ? -1 : limit) {}

  bool Scrolls() const override { return false; }
  Moved First(Row& row) override { return Next(row); }
  Moved Next(Row& row) override {
    if (!statement_) {
      if (next_kept_ == kept_.size()) return Moved::kEnd;
      kept_.Read(next_kept_++, row);
      return Moved::kRow;
    }
    if (NextOfStatement(row)) return Moved::kRow;
    statement_.reset();
    return Moved::kEnd;
  }
  Moved Previous(Row&) override { RaiseData(kErrNotAllowedHere); }
  Moved Last(Row&) override { RaiseData(kErrNotAllowedHere); }
  std::int64_t Count() override { return -1; }
  void Replaced(const Row&) override {}
  void Added(const Row&) override {}
  void Detach() override {
    if (!statement_) return;
    Row row;
    while (NextOfStatement(row)) kept_.Append(row);
    statement_.reset();
  }

 private:
  bool NextOfStatement(Row& row) {
    if (left_ == 0 || !statement_->Next(row)) return false;
    if (left_ > 0) --left_;
    return true;
  }

  std::unique_ptr<ProviderStatement> statement_;
  std::int64_t left_;
  PackedRows kept_;
  std::size_t next_kept_ = 0;
};

}  // namespace

std::unique_ptr<RowSource> MakeStreamSource(std::unique_ptr<ProviderStatement> statement,
                                            std::int64_t limit) {
  return std::make_unique<StreamSource>(std::move(statement), limit);
}

}  // namespace qm
