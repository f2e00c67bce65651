// The interfaces as the interface compiler writes them.
#pragma once

#include "dataaccess/providers/automation/platform.h"
// What it writes builds on the platform's headers.
#include <qmdataobjects2_idl.h>
