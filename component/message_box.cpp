#include "component/message_box.h"

#include <array>
#include <string>
#include <string_view>

#include <qm/hooks.h>
#include <qm/qm_connection.h>

#include "dataaccess/providers/automation/platform.h"
#include "dataaccess/providers/automation/variant_conversion.h"

namespace qm::component {

namespace {

bool SwitchedOff() {
  std::array<wchar_t, 8> value{};
  const DWORD size = GetEnvironmentVariableW(L"QMDATAOBJECTS2_NO_MESSAGES", value.data(),
                                             static_cast<DWORD>(value.size()));
  return size != 0 && std::wstring_view(value.data()) != L"0";
}

std::string TitleOf(const Message& message) {
  if (!message.title.empty()) return message.title;
  const std::string application = QMConnection().ApplicationName();
  return application.empty() ? "QMDataObjects" : application;
}

// Icons, buttons and answers carry the platform's own numbers.
MessageAnswer ShowBox(const Message& message) {
  const auto style = static_cast<UINT>(message.icon) | static_cast<UINT>(message.buttons);
  return static_cast<MessageAnswer>(MessageBoxW(nullptr, Wide(message.text).c_str(),
                                                Wide(TitleOf(message)).c_str(),
                                                style | MB_SETFOREGROUND | MB_TASKMODAL));
}

}  // namespace

void ShowMessagesInBoxes() {
  SetMessagePresenter(SwitchedOff() ? MessagePresenter() : MessagePresenter(&ShowBox));
}

}  // namespace qm::component
