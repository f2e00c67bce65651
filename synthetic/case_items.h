// What a record or a row says, as NAACCR item numbers with their values: the patient, the tumor,
// and what only the abstract of a hospital has.
//
// Every call for the same family gives the same items in the same order, empty ones included, so
// that rows of one table line up.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "synthetic/person.h"
#include "synthetic/slips.h"

namespace qm {

using ItemValues = std::vector<std::pair<int, std::string>>;

/// Items of the patient's level: who it is, where they live, whether they are alive.
ItemValues PatientItems(const Person& person, const Identity& identity, Random& random);
/// Items of one tumor, with the age from the true date of birth.
ItemValues TumorItems(const Person& person, Random& random);
/// Items of the record itself and of the hospital that reports it; `serial` counts its abstracts.
/// The texts go with the primary site given.
ItemValues HospitalItems(const Person& person, const std::string& primary_site, std::int64_t serial,
                         Random& random);
/// The value of an item, empty when it is not there.
std::string ValueOf(const ItemValues& items, int number);

}  // namespace qm
