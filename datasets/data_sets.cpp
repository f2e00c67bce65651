#include <qm/data_sets.h>

#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "datasets/application_folder.h"
#include "datasets/base_id.h"
#include "datasets/data_sets_state.h"
#include "layout/layout_loader.h"
#include "runtime/component_folder.h"
#include "session/session_state.h"

namespace qm {

namespace {

constexpr std::int32_t kNoParameters = kObjectErrorBase + 1104;
constexpr std::int32_t kNoVersion = 1115;

std::shared_ptr<Recordset> OpenControl(const std::string& sql) {
  const auto& control = CurrentSession().gcnControl.Get();
  auto rows = control->CreateRecordset();
  rows->Open(sql, control, kOpenForwardOnly, kLockReadOnly, kOptionsUnspecified);
  return rows;
}

}  // namespace

QMDataSets::QMDataSets() : state_(std::make_unique<State>()) {}
QMDataSets::~QMDataSets() = default;
QMDataSets::QMDataSets(QMDataSets&&) noexcept = default;
QMDataSets& QMDataSets::operator=(QMDataSets&&) noexcept = default;

std::shared_ptr<NAACCRLayout> QMDataSets::GetNAACCRLayout(std::uint16_t iVersion,
                                                          std::string_view strOrderBy) {
  const auto parameters = OpenControl(
      iVersion < kNewestVersion
          ? "SELECT * FROM NAACCRParameters WHERE NAACCRVersion = " + std::to_string(iVersion)
          : "SELECT * FROM NAACCRParameters ORDER BY NAACCRVersion desc");
  if (parameters->Eof()) {
    throw Error(kNoParameters, "NAACCRLayout",
                "NAACCR Parameters not found in the control database.");
  }
  NAACCRLayout& layout = *state_->Layout();
  LayoutLoader::SetVersion(layout, ToText(parameters->Value("NAACCRVersion")));
  LayoutLoader::SetControlTable(layout, ToText(parameters->Value("ControlTableName")));
  layout.SetNAACCRExchgValue(ToText(parameters->Value("NAACCRDATAEXCHG")));
  layout.SetNAACCRGlobalValue(ToText(parameters->Value("NAACCRGLOBALVALUES")));
  layout.SetMetaFileName(ApplicationFolder() + "\\edits\\" +
                         ToTextOrEmpty(parameters->Value("NAACCRMetaFile")));
  parameters->Close();

  const auto version =
      OpenControl("SELECT * FROM [NAACCR Versions] WHERE VersionID = '" + layout.Version() + "'");
  if (version->Eof()) {
    throw Error(kNoVersion, "NAACCRLayout",
                "NAACCR Version " + layout.Version() + " not found in the control database.");
  }
  layout.SetLengthOfAbstract(ToInt16(version->Value("LenAbstract")));
  layout.SetLengthOfIncidence(ToInt16(version->Value("LenIncidence")));
  layout.SetLengthOfConfidential(ToInt16(version->Value("LenConfidential")));
  layout.SetColVersionID(ToInt16(version->Value("ColVersionID")));
  layout.SetColRecType(ToInt16(version->Value("ColRecType")));
  layout.SetColProjects(ToInt16(version->Value("ColProjects")));
  version->Close();

  LayoutLoader::LoadNCCRFields(layout, strOrderBy);
  return state_->layout;
}

void QMDataSets::SetNAACCRLayout(std::shared_ptr<NAACCRLayout> objNAACCRLayout) {
  state_->layout = std::move(objNAACCRLayout);
}

std::int32_t QMDataSets::BaseID(std::string_view strTable) { return GetNextBaseID(strTable); }

// The cursor location of this object is not applied: an ad-hoc query keeps the layer's default.
std::shared_ptr<Recordset> QMDataSets::GetRecordset(std::string_view strSQL,
                                                    std::int32_t iCursorType,
                                                    std::int32_t iLockType) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  auto recordset = registry->CreateRecordset();
  recordset->Open(strSQL, registry, iCursorType, iLockType, kOptionsUnspecified);
  return recordset;
}

std::string QMDataSets::AppPath() const {
  const auto folder = ComponentFolder().u8string();
  return {folder.begin(), folder.end()};
}

std::int16_t QMDataSets::CursorLocation() const { return state_->cursor_location; }
void QMDataSets::SetCursorLocation(std::int16_t location) { state_->cursor_location = location; }

}  // namespace qm
