// Files and folders that hold patients' data: for the user of this process alone. On Windows the
// system and the administrators, who can take any file, keep their access.
#pragma once

#include <filesystem>

namespace qm {

/// Makes a new file that nobody else could ever open; false when it cannot be made or is there.
bool CreateFileForOwner(const std::filesystem::path& file);

/// Takes everybody else's access to a file or folder that is there. What is made in the folder
/// later follows it on Windows only. Raises a file system error; a file system that keeps no such
/// rights is taken as it is.
void KeepForOwner(const std::filesystem::path& path);

}  // namespace qm
