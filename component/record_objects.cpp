#include "component/record_objects.h"

#include <new>

namespace qm::component {

void HandOutRecordsets(const std::vector<std::shared_ptr<Recordset>>& recordsets,
                       SAFEARRAY** result) {
  RequireNotNull(result);
  SAFEARRAYBOUND bound{static_cast<ULONG>(recordsets.size()), 1};
  SAFEARRAY* const array = SafeArrayCreate(VT_VARIANT, 1, &bound);
  if (array == nullptr) throw std::bad_alloc();
  LONG table = 0;
  for (const auto& recordset : recordsets) {
    PlatformVariant element;
    element.get().pdispVal = ObjectFor(recordset);
    element.get().vt = VT_DISPATCH;
    ++table;
    SafeArrayPutElement(array, &table, &element.get());
  }
  *result = array;
}

}  // namespace qm::component
