// Module: the component's file, its type library, and what keeps it loaded: objects that clients
// hold, locks on class factories, and threads whose state holds anything.
//
// A thread comes into use with its first object and goes out of use either when its last object
// goes while its state (session, rules, …) is empty, or just before the thread leaves the component
// run-time, which ends the state. A thread that ends without leaving keeps its state, and the file
// loaded, until the process ends: connections cannot be closed under the loader's lock.
#pragma once

#include <string>

#include "dataaccess/providers/automation/com_pointer.h"

namespace qm::component {

void SetModule(HINSTANCE module);
HINSTANCE OwnModule();
/// The full path of the component's file.
std::wstring ModulePath();
HRESULT LoadOwnTypeLibrary(ITypeLib** library);

/// Counts one object of the calling thread.
class ModuleReference {
 public:
  ModuleReference();
  ~ModuleReference();
  ModuleReference(const ModuleReference&) = delete;
  ModuleReference& operator=(const ModuleReference&) = delete;
};

void LockModule(bool lock);
bool ModuleIsInUse();

}  // namespace qm::component
