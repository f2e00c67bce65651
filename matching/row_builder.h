// RowBuilder: adds rows to `PatientRows` on a thread of its own, so that the database is read
// meanwhile.
//
// Order of calls: `Add` for each patient, then `Finish`; the rows belong to the builder from the
// first to the last. Values are copied, some thousands of rows at a time. What its thread raises
// comes out of the next `Add` or of `Finish`.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "matching/patient_rows.h"

namespace qm {

class RowBuilder {
 public:
  explicit RowBuilder(PatientRows& rows);
  /// What was not finished is left out.
  ~RowBuilder();
  RowBuilder(const RowBuilder&) = delete;
  RowBuilder& operator=(const RowBuilder&) = delete;

  /// As `PatientRows::Add`.
  void Add(std::int32_t patient_id, std::span<const std::optional<std::string_view>> values);
  void Finish();
  /// What the rows hold in memory, as of some thousands of rows ago.
  std::size_t Bytes();

 private:
  // Rows one after the other, each its values.
  struct Block {
    std::vector<std::int32_t> patient_ids;
    std::vector<std::uint32_t> sizes;
    std::string texts;
    void Clear();
  };

  void Submit();
  void Work();
  void Build(const Block& block);

  PatientRows& rows_;
  Block filling_;
  std::mutex mutex_;
  std::condition_variable changed_;
  Block waiting_;
  bool is_waiting_ = false;
  bool is_building_ = false;
  bool stops_ = false;
  std::size_t bytes_ = 0;
  std::exception_ptr error_;
  std::thread thread_;
};

}  // namespace qm
