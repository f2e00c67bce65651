#include "datasets/import_layouts.h"

#include <qm/connection.h>
#include <qm/conversions.h>
#include <qm/error.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

#include "runtime/text.h"
#include "session/session_state.h"

namespace qm {

namespace {

constexpr std::int32_t kNoVersion = 1115;

std::shared_ptr<Recordset> OpenControl(const std::string& text) {
  const auto& control = CurrentSession().gcnControl.Get();
  auto rows = control->CreateRecordset();
  rows->Open(text, control, kOpenForwardOnly, kLockReadOnly);
  return rows;
}

void AddCodes(std::vector<std::string>& codes, std::string_view list) {
  while (!list.empty()) {
    const auto comma = std::min(list.find(','), list.size());
    const std::string code(Trim(list.substr(0, comma)));
    if (!code.empty() && std::find(codes.begin(), codes.end(), code) == codes.end()) {
      codes.push_back(code);
    }
    list.remove_prefix(std::min(comma + 1, list.size()));
  }
}

// "11.3" is kept as version 11.
std::int32_t VersionNumber(std::string_view name) {
  std::int32_t version = -1;
  const auto [end, failure] = std::from_chars(name.data(), name.data() + name.size(), version);
  const bool whole = end == name.data() + name.size() || *end == '.';
  return failure == std::errc() && whole ? version : -1;
}

std::uint16_t Number(std::int32_t version) { return static_cast<std::uint16_t>(version); }

}  // namespace

std::int32_t ImportLayout::RecordLength(std::string_view type) const {
  if (type == "I") return incidence_length_;
  if (type == "C") return confidential_length_;
  return type == "A" || type == "M" ? abstract_length_ : 0;
}

// False when the control database describes no records of this version.
bool ImportLayout::ReadVersion() {
  const auto row = OpenControl("SELECT * FROM [NAACCR Versions] WHERE VersionID = '" +
                               std::to_string(version) + "'");
  if (row->Eof()) return false;
  abstract_length_ = ToInt16(row->Value("LenAbstract"));
  confidential_length_ = ToInt16(row->Value("LenConfidential"));
  incidence_length_ = ToInt16(row->Value("LenIncidence"));
  version_column = ToInt16(row->Value("ColVersionID"));
  record_type_column = ToInt16(row->Value("ColRecType"));
  row->Close();
  return true;
}

QMDataSets& ImportLayout::DataSets() {
  if (!layout_) {
    data_sets_ = std::make_unique<QMDataSets>();
    layout_ = data_sets_->GetNAACCRLayout(Number(version));
  }
  return *data_sets_;
}

const NAACCRLayout& ImportLayout::Layout() {
  DataSets();
  return *layout_;
}

ImportLayouts::ImportLayouts(std::string_view version) {
  const std::int32_t wanted = version.empty() ? kNewestVersion : VersionNumber(version);
  const auto parameters = OpenControl("SELECT * FROM NAACCRParameters ORDER BY NAACCRVersion desc");
  if (parameters->Eof()) QMDataSets().GetNAACCRLayout();  // raises what it raises without layouts
  for (const Recordset& row : parameters->Rows()) {
    ImportLayout layout;
    layout.version = ToInt32(row.Value("NAACCRVersion"));
    if (!version.empty() && layout.version != wanted) continue;
    AddCodes(layout.codes, ToTextOrEmpty(row.Value("NAACCRGLOBALVALUES")));
    AddCodes(layout.codes, ToTextOrEmpty(row.Value("NAACCRDATAEXCHG")));
    layouts_.push_back(std::move(layout));
  }
  parameters->Close();
  if (layouts_.empty()) {
    throw Error(kNoVersion, "NAACCRLayout",
                "NAACCR Version " + std::string(version) + " not found in the control database.");
  }
  std::erase_if(layouts_, [](ImportLayout& layout) { return !layout.ReadVersion(); });
  if (layouts_.empty()) QMDataSets().GetNAACCRLayout(Number(wanted));  // a missing version row
  if (!version.empty()) forced_ = &layouts_.front();
}

ImportLayout* ImportLayouts::Find(std::string_view record) {
  for (ImportLayout& layout : layouts_) {
    if (layout.version_column < 1) continue;
    const auto first = static_cast<std::size_t>(layout.version_column - 1);
    for (const std::string& code : layout.codes) {
      if (CharacterSlice(record, first, CharacterCount(code)) == code) return &layout;
    }
  }
  return nullptr;
}

std::string ImportLayouts::KnownCodes() const {
  std::map<std::pair<std::int32_t, std::size_t>, std::set<std::string>> by_columns;
  for (const ImportLayout& layout : layouts_) {
    for (const std::string& code : layout.codes) {
      by_columns[{layout.version_column, code.size()}].insert(code);
    }
  }
  std::string text;
  for (const auto& [columns, codes] : by_columns) {
    const auto last = columns.first + static_cast<std::int32_t>(columns.second) - 1;
    if (!text.empty()) text += "; ";
    text += last > columns.first
                ? "columns " + std::to_string(columns.first) + " to " + std::to_string(last)
                : "column " + std::to_string(columns.first);
    for (const std::string& code : codes) {
      text.append(&code == &*codes.begin() ? ": " : ", ").append(code);
    }
  }
  return text;
}

}  // namespace qm
