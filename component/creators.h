// The creatable classes, each by a function that makes an object of it for the caller.
#pragma once

#include "dataaccess/providers/automation/platform.h"

namespace qm::component {

IDispatch* CreateQMConnection();
IDispatch* CreateQMDataSets();
IDispatch* CreateDisplay();
IDispatch* CreateDisplayField();
IDispatch* CreateMatcher();

}  // namespace qm::component
