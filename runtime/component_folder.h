// The folder of the component's own file: where files that belong to it are looked for.
#pragma once

#include <filesystem>

namespace qm {

/// Folder of the file (shared library, or the program it is linked into) that holds this code.
std::filesystem::path ComponentFolder();

}  // namespace qm
