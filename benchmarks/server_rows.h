// What rows cost on a database server: reading 100,000 of them and saving 1,000 edits, each beside
// the same work by hand through ODBC, with rows fetched in blocks and statements prepared once.
#pragma once

#include <string>

namespace qm::bench {

/// Registers the comparisons on the server of a connection string, in a table `qm_bench` of their
/// own, which is made anew and is left behind.
void CompareServerRows(const std::string& engine, const std::string& connection_string);

}  // namespace qm::bench
