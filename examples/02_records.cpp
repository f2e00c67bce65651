// Adds an abstract, moves over all of them, finds the new one again, edits, saves, and gives an
// edit up; prints the record as XML. Works on the folder "registry" of 01_match.cpp.
#include <qm/conversions.h>
#include <qm/data_sets.h>
#include <qm/qm_connection.h>

#include <iostream>

int main() {
  qm::QMConnection session;
  session.SetApplicationName("Velmora");  // the registry's own fields, not those of abstracting
  session.SetRegistry(session.Connect("Provider=SQLite;Data Source=registry/registry.db",
                                      qm::qmModeReadWrite, 15, 30));
  session.SetControl(session.Connect("Provider=SQLite;Data Source=registry/control.db",
                                     qm::qmModeReadWrite, 15, 30));

  qm::QMDataSets data;
  data.GetNAACCRLayout();
  data.OpenGlobalRecordsets();
  qm::Abstract added = data.GetAbstract();  // without criteria: an empty view to add to
  added.AddNew(data.BaseID("AbsRefID"));
  added.SetFieldByName("LastName", "Lovelace");
  added.Update();

  qm::Abstract all = data.GetAbstract(qm::kNoId, qm::kNoId, qm::kNoId, "AbsRefID > 0");
  int count = 0;
  for (; !all.Eof(); all.MoveNext()) ++count;
  all.MoveFirst();
  all.Find("LastName = 'Lovelace'");
  const qm::Variant found = all.BookMark();
  all.MoveFirst();
  all.SetBookMark(found);

  all.SetFieldByName("FirstName", "Ada");
  all.Update();
  all.SetFieldByName("FirstName", "Augusta");
  all.CancelUpdate();
  std::cout << count << " abstracts; found " << qm::ToText(all.Fields("FirstName")) << ' '
            << qm::ToText(all.Fields("LastName")) << '\n'
            << qm::ToText(all.GetXML()) << '\n';
  data.CloseGlobalRecordsets();
}
