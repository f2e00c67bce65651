#include "tool/link_lists.h"

#include <qm/connection.h>
#include <qm/conversions.h>
#include <qm/qm_connection.h>
#include <qm/recordset.h>

#include <iostream>

namespace qm::tool {

namespace {

std::vector<Column> OfferColumns(bool tells_linked) {
  std::vector<Column> columns = {{"AbsRefID", true},          {"Rank", true},
                                 {"PatientID", true},         {"Score", true},
                                 {"LastName", false},         {"FirstName", false},
                                 {"MiddleName", false},       {"PatientLastName", false},
                                 {"PatientFirstName", false}, {"PatientMiddleName", false}};
  if (tells_linked) columns.insert(columns.begin() + 1, {"Linked", false});
  return columns;
}

std::vector<std::string> NameOf(std::int32_t abstract_id) {
  const auto row = QMConnection().Registry()->Execute(
      "SELECT LastName, FirstName, MiddleName FROM Abstracts WHERE AbsRefID = " +
      std::to_string(abstract_id));
  if (row->Eof()) return {"", "", ""};
  return {ToTextOrEmpty(row->Value(0)), ToTextOrEmpty(row->Value(1)), ToTextOrEmpty(row->Value(2))};
}

}  // namespace

OfferList::OfferList(Format format, bool tells_linked)
    : tells_linked_(tells_linked), results_(std::cout, format, OfferColumns(tells_linked)) {}

void OfferList::Add(std::int32_t abstract_id, std::span<const OfferedMatch> offers, bool linked) {
  const std::vector<std::string> name = NameOf(abstract_id);
  const auto add = [&](std::vector<std::string> candidate, const OfferedMatch& offer) {
    std::vector<std::string> cells = {std::to_string(abstract_id)};
    if (tells_linked_) cells.emplace_back(linked ? "yes" : "no");
    cells.insert(cells.end(), candidate.begin(), candidate.end());
    cells.insert(cells.end(), name.begin(), name.end());
    cells.insert(cells.end(), {offer.lastname, offer.firstname, offer.middlename});
    results_.Row(std::move(cells));
  };
  if (offers.empty()) add({"", "", ""}, {});
  int rank = 0;
  for (const OfferedMatch& offer : offers) {
    add({std::to_string(++rank), std::to_string(offer.patient_id), std::to_string(offer.score)},
        offer);
  }
}

}  // namespace qm::tool
