// What a project that uses the installed library needs: its headers, its classes, its error.
#include <qm/data_sets.h>
#include <qm/error.h>
#include <qm/matcher.h>
#include <qm/qm_connection.h>

#include <iostream>

int main() {
  qm::QMConnection session;
  try {
    session.Connect("Provider=SQLite;Data Source=no such file", qm::qmModeReadWrite, 5, 5);
  } catch (const qm::Error& error) {
    std::cout << error.number() << ' ' << error.source() << '\n';
    return error.number() == qm::kObjectErrorBase + 1000 && qm::Matcher().CutoffScore() == 0 ? 0
                                                                                             : 1;
  }
  return 1;
}
