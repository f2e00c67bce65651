// An early-bound client: calls the registered component through its vtables.
//
//   early_bound_client FOLDER [CYCLES]
//
// FOLDER holds a registry that `qm init` made and `qm import` filled. Prints every check that fails
// and, last, the result.

#include "client_support.h"

#include <cstdlib>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

namespace {

HRESULT CanUnload() {
  const auto module = GetModuleHandleW(L"QMDataObjects2.dll");
  // By way of a pointer to void, as the platform's loader gives it.
  const auto question = reinterpret_cast<HRESULT(WINAPI*)()>(reinterpret_cast<void*>(  // NOLINT
      GetProcAddress(module, "DllCanUnloadNow")));
  return question == nullptr ? E_FAIL : question();
}

/// A late-bound call of a method; what it raises is its result.
HRESULT Call(IDispatch* object, DISPID member, std::initializer_list<VARIANT> arguments,
             VARIANT* result = nullptr) {
  std::vector<VARIANT> reversed(std::rbegin(arguments), std::rend(arguments));
  DISPPARAMS parameters{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  return object->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, result,
                        nullptr, nullptr);
}

template <typename Place>
VARIANT ByReference(VARTYPE type, Place* place) {
  VARIANT value{};
  value.vt = static_cast<VARTYPE>(VT_BYREF | type);
  value.byref = place;
  return value;
}

Ref<IDispatch> Connect(_QMConnection* session, const std::wstring& file) {
  Text text(L"Provider=SQLite;Data Source=" + file);
  ShareMode mode = qmModeReadWrite;
  short timeout = 5;
  Ref<IDispatch> connection;
  session->Connect(text.place(), &mode, &timeout, &timeout, connection.place());
  return connection;
}

// --- Errors
// -----------------------------------------------------------------------------------------

void CheckErrors() {
  const auto session = Create<_QMConnection>(CLSID_QMConnection);
  Text text(L"Provider=SQLite;Data Source=none.db");
  ShareMode mode = qmModeReadWrite;
  short timeout = 5;
  Ref<IDispatch> connection;
  const HRESULT outcome =
      session->Connect(text.place(), &mode, &timeout, &timeout, connection.place());
  Check("the number is the result", outcome == static_cast<HRESULT>(-2147220504) && !connection);
  Ref<IErrorInfo> information;
  Check("error information is there", GetErrorInfo(0, information.place()) == S_OK);
  Text source;
  information->GetSource(source.place());
  Check("with its source", source.wide() == L"QMObjects.QMConnecion.Connect");
  Ref<ISupportErrorInfo> supports;
  session->QueryInterface(__uuidof(ISupportErrorInfo), reinterpret_cast<void**>(supports.place()));
  Check("and support for it",
        supports->InterfaceSupportsErrorInfo(__uuidof(_QMConnection)) == S_OK);

  const auto data = Create<_QMDataSets>(CLSID_QMDataSets);
  Check("a run-time error has the languages' facility",
        data->CloseGlobalRecordsets() == static_cast<HRESULT>(0x800A0009));
  Check("null instead of a place", session->get_User(nullptr) == static_cast<HRESULT>(0x800A005B));
  IUnknown* outer = session.get();
  void* object = nullptr;
  Check("no aggregation", CoCreateInstance(CLSID_Matcher, outer, CLSCTX_INPROC_SERVER,
                                           __uuidof(IUnknown), &object) == CLASS_E_NOAGGREGATION);
}

// --- Records
// ------------------------------------------------------------------------------------------

std::wstring LastName(_QMDataSets* data, LONG id) {
  LONG none = -1;
  Text where;
  Ref<_Abstract> abstract;
  if (FAILED(data->GetAbstract(&id, &none, &none, where.place(), abstract.place()))) return L"?";
  Text name(L"LastName");
  VARIANT value;
  VariantInit(&value);
  if (FAILED(abstract->get_FieldByName(name.get(), &value)) || value.vt != VT_BSTR) return L"??";
  std::wstring result = value.bstrVal;
  VariantClear(&value);
  return result;
}

SAFEARRAY* FixedArray(VARTYPE type, LONG count) {
  SAFEARRAY* const array = SafeArrayCreateVector(type, 0, static_cast<ULONG>(count));
  array->fFeatures |= FADF_FIXEDSIZE;
  return array;
}

// Late-bound, where arrays are converted before the call and after it.
void CheckArrays(_NAACCRLayout* layout) {
  constexpr DISPID kGetTextFields = 43;
  constexpr DISPID kCompressMemoText = 49;
  constexpr LONG kCount = 21;
  for (const LONG size : {kCount + 5, kCount - 1}) {
    SAFEARRAY* const fixed = FixedArray(VT_I2, size);
    SAFEARRAY* place = fixed;
    const HRESULT outcome = Call(layout, kGetTextFields, {ByReference(VT_ARRAY | VT_I2, &place)});
    auto* const elements = static_cast<short*>(fixed->pvData);
    const bool fits = size > kCount;
    Check(fits ? "a fixed array is filled in place" : "a fixed array without room stays as it is",
          place == fixed && outcome == (fits ? S_OK : static_cast<HRESULT>(0x800A000A)) &&
              (elements[1] != 0) == fits);
    fixed->fFeatures &= static_cast<USHORT>(~FADF_FIXEDSIZE);
    SafeArrayDestroy(fixed);
  }
  SAFEARRAY* const locked = SafeArrayCreateVector(VT_I2, 0, kCount - 1);
  SafeArrayLock(locked);
  SAFEARRAY* of_locked = locked;
  Check("a locked array without room stays as it is",
        Call(layout, kGetTextFields, {ByReference(VT_ARRAY | VT_I2, &of_locked)}) ==
                static_cast<HRESULT>(0x800A000A) &&
            of_locked == locked);
  SafeArrayUnlock(locked);
  SafeArrayDestroy(locked);
  SAFEARRAY* const texts = SafeArrayCreateVector(VT_BSTR, 0, kCount);
  SAFEARRAY* place = texts;
  Text memo;
  VARIANT result{};
  const HRESULT outcome =
      Call(layout, kCompressMemoText,
           {ByReference(VT_BSTR, memo.place()), ByReference(VT_ARRAY | VT_BSTR, &place)}, &result);
  Check("an array that the call left as it was is the same",
        outcome == S_OK && place == texts && !memo.wide().empty());
  SafeArrayDestroy(texts);
}

// The projects of a new abstract are read by nobody, so that it does not matter that they are
// locked.
void CheckLockedInput(_QMDataSets* data, _NAACCRLayout* layout) {
  constexpr DISPID kAddAbstract = 7;
  short length = 0;
  layout->get_LengthOfAbstract(&length);
  Text record(std::wstring(static_cast<std::size_t>(length), L' '));
  LONG key = 5900;
  VARIANT_BOOL use_default = VARIANT_FALSE;
  SAFEARRAY* const projects = SafeArrayCreateVector(VT_I2, 0, 3);
  SafeArrayLock(projects);
  SAFEARRAY* place = projects;
  VARIANT added{};
  Check("a locked array that is only read",
        Call(data, kAddAbstract,
             {ByReference(VT_BSTR, record.place()), ByReference(VT_BOOL, &use_default),
              ByReference(VT_ARRAY | VT_I2, &place), ByReference(VT_I4, &key)},
             &added) == S_OK &&
            place == projects);
  SafeArrayUnlock(projects);
  SafeArrayDestroy(projects);
}

// The count of rows in the client's variable, of any number's type.
void CheckCounts(IDispatch* registry) {
  constexpr DISPID kExecute = 8;
  Ref<_Connection> connection;
  registry->QueryInterface(__uuidof(_Connection), reinterpret_cast<void**>(connection.place()));
  Text sql(L"UPDATE Abstracts SET LastName = LastName WHERE AbsRefID = 1");
  VARIANT text{};
  text.vt = VT_BSTR;
  text.bstrVal = sql.get();
  for (const VARTYPE type : {VT_I2, VT_I4, VT_UI1, VT_R4, VT_R8, VT_CY, VT_I8, VT_DECIMAL}) {
    for (const bool late : {false, true}) {
      VARIANT variable{};
      void* const place = type == VT_DECIMAL ? static_cast<void*>(&variable) : &variable.llVal;
      VARIANT count = ByReference(type, place);
      Ref<IDispatch> rows;
      VARIANT result{};
      const HRESULT outcome = late ? Call(registry, kExecute, {text, count}, &result)
                                   : connection->Execute(sql.get(), &count, -1, rows.place());
      VariantClear(&result);
      variable.vt = type;
      VariantChangeType(&variable, &variable, 0, VT_I4);
      Check(("a count in a variable of type " + std::to_string(type)).c_str(),
            outcome == S_OK && variable.lVal == 1);
    }
  }
}

void CheckFailedResults(_QMDataSets* data) {
  LONG id = 1;
  LONG none = -1;
  Text where;
  Ref<_Abstract> abstract;
  data->GetAbstract(&id, &none, &none, where.place(), abstract.place());
  abstract->MoveLast();
  abstract->MoveNext();
  VARIANT mark{};
  mark.vt = VT_I4;
  Check("no bookmark on failure", FAILED(abstract->get_BookMark(&mark)) && mark.vt == VT_EMPTY);
  abstract->CloseRecordset();
  SAFEARRAY untouched{};
  SAFEARRAY* recordsets = &untouched;
  Check("no recordsets on failure",
        FAILED(abstract->Recordsets(&recordsets)) && recordsets == nullptr);
}

void CheckRecords(const std::wstring& folder) {
  const auto session = Create<_QMConnection>(CLSID_QMConnection);
  const auto registry = Connect(session.get(), folder + L"\\registry.db");
  const auto control = Connect(session.get(), folder + L"\\control.db");
  session->putref_Registry(registry.get());
  session->putref_Control(control.get());
  Ref<IDispatch> read;
  session->get_Registry(read.place());
  Check("a connection has one object", read.get() == registry.get());
  const auto data = Create<_QMDataSets>(CLSID_QMDataSets);
  Ref<_NAACCRLayout> layout;
  Text order(L"ColumnStart");
  Check("the layout loads", data->GetNAACCRLayout(-1, order.get(), layout.place()) == S_OK);
  SAFEARRAY* fields = nullptr;
  VARTYPE type = VT_EMPTY;
  layout->getTextFields(&fields);
  SafeArrayGetVartype(fields, &type);
  Check("arrays are of the published type", type == VT_I2);
  SafeArrayDestroy(fields);
  CheckArrays(layout.get());
  CheckLockedInput(data.get(), layout.get());
  CheckCounts(registry.get());
  CheckFailedResults(data.get());
  Check("an abstract by name",
        !LastName(data.get(), 1).empty() && LastName(data.get(), 1)[0] != L'?');
  session->Disconnect();
}

// --- A stranger: the component's own objects in the coat of another's
// ---------------------------------

class Stranger final : public IDispatch {
 public:
  explicit Stranger(IDispatch* inner) : inner_(inner) { inner_->AddRef(); }
  virtual ~Stranger() { inner_->Release(); }

  STDMETHODIMP QueryInterface(REFIID id, void** object) override {
    *object = id == __uuidof(IUnknown) || id == __uuidof(IDispatch) ? this : nullptr;
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID id, LPOLESTR* names, UINT count, LCID locale,
                             DISPID* ids) override {
    return inner_->GetIDsOfNames(id, names, count, locale, ids);
  }
  // Arguments lose the coat, results get one.
  STDMETHODIMP Invoke(DISPID member, REFIID id, LCID locale, WORD kinds, DISPPARAMS* call,
                      VARIANT* result, EXCEPINFO* exception, UINT* wrong) override {
    ++calls;
    DISPPARAMS inner = *call;
    VARIANT uncoated[8] = {};
    for (UINT i = 0; i < call->cArgs && i < 8; ++i) {
      uncoated[i] = call->rgvarg[i];
      const bool object = uncoated[i].vt == VT_DISPATCH && uncoated[i].pdispVal != nullptr;
      if (auto* coat = object ? dynamic_cast<Stranger*>(uncoated[i].pdispVal) : nullptr) {
        uncoated[i].pdispVal = coat->inner_;
      }
    }
    inner.rgvarg = uncoated;
    if (failure.outcome != S_OK) return Fail(exception);
    const HRESULT outcome =
        inner_->Invoke(member, id, locale, kinds, &inner, result, exception, wrong);
    if (SUCCEEDED(outcome) && result != nullptr && result->vt == VT_DISPATCH &&
        result->pdispVal != nullptr) {
      auto* const coat = new Stranger(result->pdispVal);
      result->pdispVal->Release();
      result->pdispVal = coat;
    }
    return outcome;
  }

  struct Failure {
    HRESULT outcome;
    SCODE code;
    bool by_thread;  ///< it leaves its words as the thread's error information
    HRESULT wanted;  ///< what our client sees
  };
  static int calls;
  static Failure failure;  ///< what calls fail with, where it is one

 private:
  static HRESULT Fail(EXCEPINFO* exception) {
    Text source(L"A stranger");
    Text description(L"not today");
    if (failure.by_thread) {
      Ref<ICreateErrorInfo> made;
      CreateErrorInfo(made.place());
      made->SetSource(source.get());
      made->SetDescription(description.get());
      Ref<IErrorInfo> information;
      made->QueryInterface(__uuidof(IErrorInfo), reinterpret_cast<void**>(information.place()));
      SetErrorInfo(0, information.get());
    } else {
      *exception = EXCEPINFO{};
      exception->scode = failure.code;
      std::swap(exception->bstrSource, *source.place());
      std::swap(exception->bstrDescription, *description.place());
    }
    return failure.outcome;
  }

  ULONG references_ = 1;
  IDispatch* inner_;
};
int Stranger::calls = 0;
Stranger::Failure Stranger::failure{};

void CheckStranger(const std::wstring& folder) {
  const auto session = Create<_QMConnection>(CLSID_QMConnection);
  const auto registry = Connect(session.get(), folder + L"\\registry.db");
  const auto control = Connect(session.get(), folder + L"\\control.db");
  Ref<IDispatch> coated;
  *coated.place() = new Stranger(registry.get());
  session->putref_Registry(coated.get());
  session->putref_Control(control.get());
  Ref<IDispatch> read;
  session->get_Registry(read.place());
  Check("a stranger comes back as it is", read.get() == coated.get());
  const auto data = Create<_QMDataSets>(CLSID_QMDataSets);
  Ref<_NAACCRLayout> layout;
  Text order(L"ColumnStart");
  data->GetNAACCRLayout(-1, order.get(), layout.place());
  const std::wstring name = LastName(data.get(), 2);
  Check("an abstract over a stranger", !name.empty() && name[0] != L'?' && Stranger::calls > 5);
  LONG id = 2;
  LONG none = -1;
  Text where;
  Ref<_Abstract> abstract;
  data->GetAbstract(&id, &none, &none, where.place(), abstract.place());
  Ref<IDispatch> recordset;
  abstract->Recordset(1, recordset.place());
  Check("its recordset is the stranger's", dynamic_cast<Stranger*>(recordset.get()) != nullptr);
  VARIANT mark;
  VariantInit(&mark);
  abstract->MoveFirst();
  Check("a stranger's bookmark goes and comes",
        abstract->get_BookMark(&mark) == S_OK && abstract->put_BookMark(mark) == S_OK);
  VariantClear(&mark);
  session->BeginTrans();
  Check("a stranger's errors come through",
        session->BeginTrans() == static_cast<HRESULT>(-2147168237));
  session->RollBackTrans();
  constexpr auto kNotToday = static_cast<HRESULT>(0x800A1267);
  const Stranger::Failure failures_of_others[] = {
      {DISP_E_EXCEPTION, kNotToday, false, kNotToday},
      {kNotToday, 0, false, kNotToday},
      {kNotToday, 0, true, kNotToday},
      {DISP_E_EXCEPTION, 70000, false, static_cast<HRESULT>(0x800A0033)},
  };
  for (const Stranger::Failure& failure : failures_of_others) {
    Stranger::failure = failure;
    const HRESULT outcome = session->CommitTrans();
    Stranger::failure = {};
    Ref<IErrorInfo> information;
    GetErrorInfo(0, information.place());
    Text source;
    Text description;
    if (information) information->GetSource(source.place());
    if (information) information->GetDescription(description.place());
    Check("with their numbers and words", outcome == failure.wanted &&
                                              source.wide() == L"A stranger" &&
                                              description.wide() == L"not today");
  }
  abstract = {};
  recordset = {};
  session->Disconnect();
  session->putref_Control(nullptr);
}

// --- Another copy of the component in this process
// --------------------------------------------------------------------

void CheckAnotherCopy(const std::wstring& folder) {
  wchar_t path[MAX_PATH];
  GetFullPathNameW(L"QMDataObjects2.dll", MAX_PATH, path, nullptr);
  const auto original = GetModuleHandleW(L"QMDataObjects2.dll");
  const auto copy = LoadLibraryW(path);
  const auto get_class = reinterpret_cast<decltype(&DllGetClassObject)>(
      reinterpret_cast<void*>(GetProcAddress(copy, "DllGetClassObject")));  // NOLINT
  Check("another copy is loaded", get_class != nullptr && copy != original);
  if (get_class == nullptr) return;
  const auto create = [&](const CLSID& id, const IID& interface_id, void* place) {
    Ref<IClassFactory> factory;
    get_class(id, __uuidof(IClassFactory), reinterpret_cast<void**>(factory.place()));
    factory->CreateInstance(nullptr, interface_id, static_cast<void**>(place));
  };
  Ref<_QMConnection> others;
  create(CLSID_QMConnection, __uuidof(_QMConnection), others.place());
  Ref<_DisplayField> others_field;
  create(CLSID_DisplayField, __uuidof(_DisplayField), others_field.place());

  const auto display = Create<_Display>(CLSID_Display);
  Text key(L"key");
  Check("its objects are not ours",
        display->Add(others_field.get(), key.get()) == static_cast<HRESULT>(0x800A000D));
  const auto session = Create<_QMConnection>(CLSID_QMConnection);
  const auto registry = Connect(others.get(), folder + L"\\registry.db");
  const auto control = Connect(session.get(), folder + L"\\control.db");
  session->putref_Registry(registry.get());
  session->putref_Control(control.get());
  Ref<IDispatch> read;
  session->get_Registry(read.place());
  const auto data = Create<_QMDataSets>(CLSID_QMDataSets);
  Ref<_NAACCRLayout> layout;
  Text order(L"ColumnStart");
  data->GetNAACCRLayout(-1, order.get(), layout.place());
  const std::wstring name = LastName(data.get(), 3);
  Check("its connections are driven as a stranger's",
        read.get() == registry.get() && !name.empty() && name[0] != L'?');
  session->Disconnect();
  session->putref_Control(nullptr);
}

// --- Cycles and threads
// -----------------------------------------------------------------------------

// What is allocated in all heaps of the process.
SIZE_T MemoryInUse() {
  std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr));
  GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
  SIZE_T bytes = 0;
  for (const HANDLE heap : heaps) {
    HeapLock(heap);
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heap, &entry) != FALSE) {
      if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
    }
    HeapUnlock(heap);
  }
  return bytes;
}

void CheckThatLeaksAreSeen() {
  constexpr std::size_t kLeaks = 1000;
  std::vector<BSTR> leaks(kLeaks);
  const SIZE_T before = MemoryInUse();
  for (BSTR& leak : leaks) leak = SysAllocString(L"leak");
  Check("leaks are seen", MemoryInUse() >= before + kLeaks * sizeof(L"leak"));
  for (const BSTR leak : leaks) SysFreeString(leak);
}

void Cycle() {
  const auto session = Create<_QMConnection>(CLSID_QMConnection);
  const auto data = Create<_QMDataSets>(CLSID_QMDataSets);
  const auto display = Create<_Display>(CLSID_Display);
  const auto field = Create<_DisplayField>(CLSID_DisplayField);
  const auto matcher = Create<_Matcher>(CLSID_Matcher);
  Text key(L"key");
  display->Add(field.get(), key.get());
  Ref<IUnknown> fields;
  display->get_NewEnum(fields.place());
  Ref<_Display> none;
  display->get_Item(1, none.place());  // fails, with error information
  DISPPARAMS nothing{};
  VARIANT result;
  VariantInit(&result);
  matcher->Invoke(5, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &nothing, &result,
                  nullptr, nullptr);
  VariantClear(&result);
}

void CheckCycles(int cycles) {
  CheckThatLeaksAreSeen();
  for (int i = 0; i < 500; ++i) Cycle();
  SetErrorInfo(0, nullptr);
  const SIZE_T before = MemoryInUse();
  for (int i = 0; i < cycles; ++i) Cycle();
  SetErrorInfo(0, nullptr);
  const SIZE_T after = MemoryInUse();
  const auto grown = after > before ? after - before : 0;
  std::cout << cycles << " cycles: " << grown << " bytes more\n";
  Check("cycles of create and release leak nothing", grown < static_cast<SIZE_T>(cycles) * 8);
  Check("the component could be unloaded", CanUnload() == S_OK);
  Ref<IClassFactory> factory;
  CoGetClassObject(CLSID_Matcher, CLSCTX_INPROC_SERVER, nullptr, __uuidof(IClassFactory),
                   reinterpret_cast<void**>(factory.place()));
  Check("a class factory keeps it loaded", factory && CanUnload() == S_FALSE);
}

// Threads one after the other, each an apartment of its own.
void CheckThreads() {
  const auto session = Create<_QMConnection>(CLSID_QMConnection);
  Text mine(L"MINE");
  session->put_User(mine.get());
  bool empty_at_first = true;
  bool kept = true;
  for (int i = 0; i < 20; ++i) {
    std::thread other([&] {
      CoInitialize(nullptr);
      {
        const auto its_session = Create<_QMConnection>(CLSID_QMConnection);
        Text there_at_first;
        its_session->get_User(there_at_first.place());
        empty_at_first = empty_at_first && there_at_first.wide().empty();
        Text its(L"ITS");
        its_session->put_User(its.get());
      }
      kept = kept && CanUnload() == S_FALSE;
      CoUninitialize();
    });
    other.join();
  }
  Text user;
  session->get_User(user.place());
  Check("a thread's session starts empty", empty_at_first);
  Check("and is its own", user.wide() == L"MINE");
  Check("its state keeps the component loaded", kept);
  Text empty(L"");
  session->put_User(empty.get());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::string given = argv[1];
  const std::wstring folder(given.begin(), given.end());
  CoInitialize(nullptr);
  Check("the component is registered",
        static_cast<bool>(Create<_QMConnection>(CLSID_QMConnection)));
  if (failures == 0) {
    CheckCycles(argc > 2 ? std::atoi(argv[2]) : 10000);
    CheckThreads();
    Check("after a thread's end the component could be unloaded", CanUnload() == S_OK);
    CheckErrors();
    CheckRecords(folder);
    CheckStranger(folder);
    CheckAnotherCopy(folder);
  }
  CoUninitialize();
  return Result();
}
