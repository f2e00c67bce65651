// Which object stands for which connection, recordset or layout on this thread.

#include "component/references.h"

#include "component/connection_object.h"
#include "component/recordset_object.h"
#include "dataaccess/providers/automation/automation_connection.h"
#include "dataaccess/providers/automation/automation_recordset.h"
#include "runtime/thread_state.h"

namespace qm::component {

namespace {

// An object that stands for something of the library's, by that; not counted.
struct StandingObjects {
  std::map<const void*, IDispatch*> objects;
  bool HoldsAnything() const { return false; }  // every one of them is counted by itself
};

IDispatch* Counted(IDispatch* object) {
  object->AddRef();
  return object;
}

}  // namespace

IDispatch* StandingObject(const void* represented) {
  const auto& objects = ThreadState<StandingObjects>().objects;
  const auto found = objects.find(represented);
  return found == objects.end() ? nullptr : Counted(found->second);
}

void Stand(const void* represented, IDispatch* object) {
  ThreadState<StandingObjects>().objects[represented] = object;
}

void NoLongerStand(const void* represented) {
  ThreadState<StandingObjects>().objects.erase(represented);
}

namespace {

// What is no stranger's and not of the class wanted is of no use.
void RefuseOwn(IDispatch* object) {
  if (NativeOf<NativeObject>(object) != nullptr) RaiseRunTime(kErrTypeMismatch);
}

}  // namespace

std::shared_ptr<Connection> ConnectionIn(IDispatch* object) {
  if (object == nullptr) return nullptr;
  if (const auto* own = NativeOf<ConnectionObject>(object)) return own->connection();
  RefuseOwn(object);
  return AutomationConnection::Of(ComPointer<IDispatch>(object));
}

std::shared_ptr<Recordset> RecordsetIn(IDispatch* object) {
  RequireNotNull(object);
  if (const auto* own = NativeOf<RecordsetObject>(object)) return own->recordset();
  RefuseOwn(object);
  return AutomationRecordset::Of(LateBound(ComPointer<IDispatch>(object)));
}

IDispatch* ObjectFor(const std::shared_ptr<Connection>& connection) {
  if (connection == nullptr) return nullptr;
  if (const auto* stranger = dynamic_cast<const AutomationConnection*>(connection.get())) {
    return Counted(stranger->object());
  }
  return StandIn<ConnectionObject>(connection);
}

IDispatch* ObjectFor(const std::shared_ptr<Recordset>& recordset) {
  if (recordset == nullptr) return nullptr;
  if (const auto* stranger = dynamic_cast<const AutomationRecordset*>(recordset.get())) {
    return Counted(stranger->object());
  }
  return StandIn<RecordsetObject>(recordset);
}

}  // namespace qm::component
