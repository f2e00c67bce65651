#include "component/guard.h"

#include <exception>
#include <new>
#include <string>

#include <qm/error.h>

#include "dataaccess/providers/automation/com_pointer.h"
#include "dataaccess/providers/automation/variant_conversion.h"

namespace qm::component {

namespace {

constexpr const char* kLibrary = "QMDataObjects2";
constexpr std::int32_t kErrOutOfMemory = 7;
constexpr std::int32_t kErrInternal = 51;

void SetErrorInformation(REFIID interface_id, std::string_view source,
                         std::string_view description) {
  ComPointer<ICreateErrorInfo> made;
  if (FAILED(CreateErrorInfo(made.Receive()))) return;
  made->SetGUID(interface_id);
  made->SetSource(Wide(source).data());
  made->SetDescription(Wide(description).data());
  SetErrorInfo(0, ComPointer<IErrorInfo>::From(made.get()).get());
}

}  // namespace

HRESULT ResultOf(std::int32_t number) noexcept {
  if (number < 0) return number;
  // No failure has such a number.
  if (number == 0 || number > 0xFFFF) number = kErrInternal;
  return static_cast<HRESULT>(0x800A0000U | static_cast<std::uint32_t>(number));
}

HRESULT ReportCurrentException(REFIID interface_id) noexcept {
  std::int32_t number = kErrInternal;
  try {
    try {
      throw;
    } catch (const Error& error) {
      number = error.number();
      SetErrorInformation(interface_id, error.source(), error.description());
    } catch (const std::bad_alloc&) {
      number = kErrOutOfMemory;
      SetErrorInformation(interface_id, kLibrary, "Out of memory");
    } catch (const std::exception& failure) {
      SetErrorInformation(interface_id, kLibrary, failure.what());
    } catch (...) {
      SetErrorInformation(interface_id, kLibrary, "Internal error");
    }
  } catch (...) {
    SetErrorInfo(0, nullptr);  // no memory is left for the words
  }
  return ResultOf(number);
}

void RequireNotNull(const void* pointer) {
  if (pointer == nullptr) RaiseRunTime(kErrObjectNotSet);
}

}  // namespace qm::component
