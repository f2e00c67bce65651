// Lists the registered patients that may be the person in one incoming abstract.
//
// Works on the folder "registry" as the program leaves it:
//   qm init -d registry
//   qm generate -d registry --patients 1000 --incoming 20 --seed 1
//   qm import -d registry registry/incoming.txt
#include <qm/conversions.h>
#include <qm/data_sets.h>
#include <qm/matcher.h>
#include <qm/qm_connection.h>

#include <iostream>

int main() {
  qm::QMConnection session;
  session.SetRegistry(session.Connect("Provider=SQLite;Data Source=registry/registry.db",
                                      qm::qmModeReadWrite, 15, 30));
  session.SetControl(session.Connect("Provider=SQLite;Data Source=registry/control.db",
                                     qm::qmModeReadWrite, 15, 30));

  qm::QMDataSets data;
  data.GetNAACCRLayout();
  qm::Abstract abstract = data.GetAbstract(1);
  std::cout << qm::ToText(abstract.Fields("LastName")) << " may be\n";

  qm::Matcher matcher;
  matcher.ReadMatchingParams(session.Registry()->ConnectionString());
  matcher.GetMatchingPatientIDsLocal(session.Registry(), abstract);
  for (const qm::Match& match : matcher.Matches())
    std::cout << "patient " << match.patient_id << ", score " << match.score << '\n';
}
