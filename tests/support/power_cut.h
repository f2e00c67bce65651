// A power cut: a process that kills itself at the n-th moment of its work on the registry. The
// moments are where the engine begins a statement and where it has ended one, those of commits
// included; the statements of the control database do not count.
#pragma once

#include <signal.h>
#include <sqlite3.h>
#include <unistd.h>

#include <string>

namespace qm::test {

inline int moments_left = 0;

inline int AtMoment(unsigned /*event*/, void* registry, void* /*p*/, void* /*x*/) {
  if (registry != nullptr && moments_left-- == 0) kill(getpid(), SIGKILL);
  return 0;
}

inline int WatchConnection(sqlite3* db, char** /*error*/, const void* /*api*/) {
  const std::string file = sqlite3_db_filename(db, "main");
  const bool is_registry = file.ends_with("registry.db");
  return sqlite3_trace_v2(db, SQLITE_TRACE_STMT | SQLITE_TRACE_PROFILE, &AtMoment,
                          is_registry ? db : nullptr);
}

/// From now on, for connections that are opened later. To be called in a process of its own.
inline void DieAtMoment(int moment) {
  moments_left = moment;
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(&WatchConnection));
}

}  // namespace qm::test
