#include "matching/row_builder.h"

#include <limits>
#include <utility>

namespace qm {

namespace {

constexpr std::size_t kRowsOfABlock = 1024;
constexpr std::uint32_t kNullSize = std::numeric_limits<std::uint32_t>::max();

}  // namespace

void RowBuilder::Block::Clear() {
  patient_ids.clear();
  sizes.clear();
  texts.clear();
}

RowBuilder::RowBuilder(PatientRows& rows) : rows_(rows), thread_([this] { Work(); }) {}

RowBuilder::~RowBuilder() {
  {
    const std::scoped_lock lock(mutex_);
    stops_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void RowBuilder::Add(std::int32_t patient_id,
                     std::span<const std::optional<std::string_view>> values) {
  filling_.patient_ids.push_back(patient_id);
  for (const auto& value : values) {
    filling_.sizes.push_back(value ? static_cast<std::uint32_t>(value->size()) : kNullSize);
    if (value) filling_.texts.append(*value);
  }
  if (filling_.patient_ids.size() == kRowsOfABlock) Submit();
}

void RowBuilder::Submit() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return !is_waiting_ || error_; });
  if (error_) std::rethrow_exception(error_);
  std::swap(filling_, waiting_);
  is_waiting_ = true;
  lock.unlock();
  changed_.notify_all();
  filling_.Clear();
}

void RowBuilder::Finish() {
  Submit();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return (!is_waiting_ && !is_building_) || error_; });
  if (error_) std::rethrow_exception(error_);
}

std::size_t RowBuilder::Bytes() {
  const std::scoped_lock lock(mutex_);
  return bytes_;
}

void RowBuilder::Work() {
  Block block;
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [&] { return is_waiting_ || stops_; });
    if (stops_) return;
    std::swap(block, waiting_);
    is_waiting_ = false;
    is_building_ = true;
    lock.unlock();
    changed_.notify_all();
    std::exception_ptr error;
    try {
      Build(block);
    } catch (...) {
      error = std::current_exception();
    }
    lock.lock();
    is_building_ = false;
    bytes_ = rows_.Bytes();
    error_ = error;
    changed_.notify_all();
    if (error_) return;
  }
}

void RowBuilder::Build(const Block& block) {
  if (block.patient_ids.empty()) return;
  std::vector<std::optional<std::string_view>> values(block.sizes.size() /
                                                      block.patient_ids.size());
  const std::uint32_t* size = block.sizes.data();
  std::string_view texts = block.texts;
  for (const std::int32_t patient_id : block.patient_ids) {
    for (auto& value : values) {
      value.reset();
      if (*size++ == kNullSize) continue;
      value = texts.substr(0, size[-1]);
      texts.remove_prefix(size[-1]);
    }
    rows_.Add(patient_id, values);
  }
}

}  // namespace qm
