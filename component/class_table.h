// The creatable classes: what their factories make and what is registered for them.
#pragma once

#include <array>

#include "component/creators.h"
#include "component/interfaces.h"

namespace qm::component {

struct CreatableClass {
  const CLSID* id;
  const wchar_t* name;
  const wchar_t* description;
  IDispatch* (*create)();
};

inline constexpr std::array<CreatableClass, 5> kCreatableClasses = {{
    {&CLSID_QMConnection, L"QMConnection", L"Connections, session and locks of a cancer registry",
     &CreateQMConnection},
    {&CLSID_QMDataSets, L"QMDataSets", L"Records of a cancer registry", &CreateQMDataSets},
    {&CLSID_Display, L"Display", L"A selection of items for a screen", &CreateDisplay},
    {&CLSID_DisplayField, L"DisplayField", L"One item of a display", &CreateDisplayField},
    {&CLSID_Matcher, L"Matcher", L"Patient matching of a cancer registry", &CreateMatcher},
}};

}  // namespace qm::component
