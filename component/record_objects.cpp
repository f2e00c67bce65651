#include "component/record_objects.h"

#include <new>

namespace qm::component {

SAFEARRAY* ArrayOf(const std::vector<std::shared_ptr<Recordset>>& recordsets) {
  SAFEARRAYBOUND bound{static_cast<ULONG>(recordsets.size()), 1};
  PlatformVariant array;
  array.get().parray = SafeArrayCreate(VT_VARIANT, 1, &bound);
  if (array.get().parray == nullptr) throw std::bad_alloc();
  array.get().vt = VT_ARRAY | VT_VARIANT;
  LONG table = 0;
  for (const auto& recordset : recordsets) {
    PlatformVariant element;
    element.get().pdispVal = ObjectFor(recordset);
    element.get().vt = VT_DISPATCH;
    ++table;
    if (FAILED(SafeArrayPutElement(array.get().parray, &table, &element.get()))) {
      throw std::bad_alloc();
    }
  }
  return array.Detach().parray;
}

}  // namespace qm::component
