// A client that answers the component's message boxes: each appears with the published text, title,
// buttons and icon, and its answer counts.
//
//   message_box_client FOLDER
//
// FOLDER holds a registry that `qm init` made. Prints every check that fails and, last, the result.
// The boxes are looked for as the platform makes them: windows of its class for dialogs.

#include "client_support.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Box {
  std::wstring text;
  std::wstring title;
  std::vector<int> buttons;
  HICON icon = nullptr;
};

std::wstring TextOf(HWND window) {
  wchar_t text[500] = {};
  GetWindowTextW(window, text, 500);
  return text;
}

Box Read(HWND dialog) {
  Box box;
  box.title = TextOf(dialog);
  for (HWND child = GetWindow(dialog, GW_CHILD); child != nullptr;
       child = GetWindow(child, GW_HWNDNEXT)) {
    wchar_t name[50] = {};
    GetClassNameW(child, name, 50);
    if ((GetWindowLongW(child, GWL_STYLE) & static_cast<LONG>(WS_VISIBLE)) == 0) continue;
    if (name == std::wstring(L"Button")) {
      box.buttons.push_back(GetDlgCtrlID(child));
    } else if (auto const icon = SendMessageW(child, STM_GETICON, 0, 0); icon != 0) {
      box.icon = reinterpret_cast<HICON>(icon);  // NOLINT(performance-no-int-to-ptr)
    } else if (!TextOf(child).empty()) {
      box.text = TextOf(child);
    }
  }
  return box;
}

/// Reads the boxes of the thread that made it and gives them its answers, from a thread of its own.
class Reader {
 public:
  explicit Reader(std::vector<int> answers)
      : answers_(std::move(answers)), thread_([this, owner = GetCurrentThreadId()] {
          while (!over_) {
            EnumThreadWindows(owner, &Reader::See, reinterpret_cast<LPARAM>(this));
            Sleep(10);
          }
        }) {}
  ~Reader() { End(); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  const std::vector<Box>& End() {
    over_ = true;
    if (thread_.joinable()) thread_.join();
    return boxes_;
  }

 private:
  static BOOL CALLBACK See(HWND window, LPARAM parameter) {
    auto& self = *reinterpret_cast<Reader*>(parameter);  // NOLINT(performance-no-int-to-ptr)
    wchar_t name[50] = {};
    GetClassNameW(window, name, 50);
    // Shown when it is complete.
    if (name != std::wstring(L"#32770") || IsWindowVisible(window) == FALSE) return TRUE;
    if (window == self.answered_) return TRUE;
    self.answered_ = window;
    const std::size_t position = self.boxes_.size();
    self.boxes_.push_back(Read(window));
    const int answer = position < self.answers_.size() ? self.answers_[position] : IDNO;
    PostMessageW(window, WM_COMMAND, static_cast<WPARAM>(answer), 0);
    return TRUE;
  }

  std::vector<int> answers_;
  std::vector<Box> boxes_;
  HWND answered_ = nullptr;
  std::atomic<bool> over_ = false;
  std::thread thread_;
};

void CheckBox(const char* what, const Box& box, const Box& wanted) {
  Check((std::string(what) + ": text").c_str(), box.text.rfind(wanted.text, 0) == 0);
  Check((std::string(what) + ": title").c_str(), box.title == wanted.title);
  Check((std::string(what) + ": buttons").c_str(), box.buttons == wanted.buttons);
  Check((std::string(what) + ": icon").c_str(), box.icon == wanted.icon);
}

Ref<IDispatch> Connect(_QMConnection* session, const std::wstring& file) {
  Text text(L"Provider=SQLite;Data Source=" + file);
  ShareMode mode = qmModeReadWrite;
  short timeout = 5;
  Ref<IDispatch> connection;
  session->Connect(text.place(), &mode, &timeout, &timeout, connection.place());
  return connection;
}

void Execute(IDispatch* connection, const wchar_t* text) {
  Ref<_Connection> executes;
  connection->QueryInterface(__uuidof(_Connection), reinterpret_cast<void**>(executes.place()));
  Text sql(text);
  Ref<IDispatch> none;
  Check("a statement", executes->Execute(sql.get(), nullptr, -1, none.place()) == S_OK);
}

void CheckNotices(_QMConnection* session) {
  const HICON critical = LoadIconW(nullptr, IDI_HAND);
  const std::vector<int> ok = {IDOK};
  VARIANT missing{};
  missing.vt = VT_ERROR;
  missing.scode = DISP_E_PARAMNOTFOUND;
  VARIANT_BOOL locked = VARIANT_TRUE;
  Reader reader({IDOK, IDOK, IDOK});
  session->LockAbstract(99999, &locked);
  Text application(L"VELMORA");
  session->put_ApplicationName(application.get());
  session->LockAbstract(99999, &locked);
  session->UnLockAbstract(99999, missing, &locked);
  const std::vector<Box> boxes = reader.End();
  Check("a box each", boxes.size() == 3);
  if (boxes.size() != 3) return;
  const std::wstring text = L"Unable to find Abstract ID 99999.";
  CheckBox("without a title of its own or the application's", boxes[0],
           {text, L"QMDataObjects", ok, nullptr});
  CheckBox("with the application's", boxes[1], {text, L"VELMORA", ok, nullptr});
  CheckBox("with its own", boxes[2], {text, L"UnLock Abstract", ok, critical});
}

// A counter that cannot be had: whether to try again.
void CheckQuestion(_QMDataSets* data, IDispatch* registry) {
  Execute(registry, L"ALTER TABLE BaseIDs RENAME TO Elsewhere");
  Text counter(L"PatientID");
  LONG id = 0;
  Reader reader({IDYES, IDNO});
  const HRESULT outcome = data->BaseID(counter.get(), &id);
  const std::vector<Box> boxes = reader.End();
  Execute(registry, L"ALTER TABLE Elsewhere RENAME TO BaseIDs");
  Check("asked again after Yes, and no more after No", boxes.size() == 2);
  Check("and given up", FAILED(outcome) || id == -1);
  for (const Box& box : boxes) {
    CheckBox("a question", box,
             {L"Cannot lock BASEIDs table to update PatientID.\r\nDo you want to retry?Error: ",
              L"Velmora",
              {IDYES, IDNO},
              nullptr});
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::string given = argv[1];
  const std::wstring folder(given.begin(), given.end());
  // The component looks at it when a thread makes its first object.
  SetEnvironmentVariableW(L"QMDATAOBJECTS2_NO_MESSAGES", nullptr);
  CoInitialize(nullptr);
  {
    const auto session = Create<_QMConnection>(CLSID_QMConnection);
    const auto data = Create<_QMDataSets>(CLSID_QMDataSets);
    const auto registry = Connect(session.get(), folder + L"\\registry.db");
    const auto control = Connect(session.get(), folder + L"\\control.db");
    session->putref_Registry(registry.get());
    session->putref_Control(control.get());
    CheckNotices(session.get());
    CheckQuestion(data.get(), registry.get());
    session->Disconnect();
    session->putref_Control(nullptr);
  }
  CoUninitialize();
  return Result();
}
