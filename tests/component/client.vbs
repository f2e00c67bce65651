' A script client walks the whole way with nothing but CreateObject: session, layout, records, locks,
' displays, buffers, XML, matching, and the failures that clients know by number.
'
'   cscript //nologo client.vbs FOLDER
'
' FOLDER is relative and holds the registry that `qm init` and `qm generate --patients 200 --incoming
' 20 --seed 1` made and `qm import` filled. The last line is the result; without it the run failed.
Option Explicit

Dim checks, failures
checks = 0
failures = 0

Sub Check(what, fulfilled)
  checks = checks + 1
  If Not fulfilled Then
    failures = failures + 1
    WScript.Echo "FAILED: " & what
  End If
End Sub

Sub Same(what, got, wanted)
  If IsNull(got) Then got = "(Null)"
  Check what & ": got " & TypeName(got) & " '" & got & "', wanted '" & wanted & "'", CStr(got) = CStr(wanted)
End Sub

' What the statement before it, under On Error Resume Next, raised.
Sub Raised(what, number, source, description)
  Dim got
  got = Err.Number & " | " & Err.Source & " | " & Err.Description
  Check what & ": raised " & got, Err.Number = number And _
      (source = "*" Or Err.Source = source) And (description = "*" Or Err.Description = description)
  Err.Clear
End Sub

Const kBase = -2147221504
Dim folder
folder = WScript.Arguments(0)

' --- Session and connections ---------------------------------------------------------------------
Dim session, other, registry, control, text, number
Set session = CreateObject("QMDataObjects2.QMConnection")
Set other = CreateObject("QMDataObjects2.QMConnection")
Same "a slot is never empty", session.Registry.State, 0
Check "an empty slot is the same object each time", session.Registry Is session.Registry

On Error Resume Next
session.Connect "Provider=SQLite;Data Source=" & folder & "\none.db", 3, 5, 5
Raised "connecting to nothing", kBase + 1000, "QMObjects.QMConnecion.Connect", "*"
session.CommitTrans
Raised "a transaction on a closed connection", 3704, "*", "*"
On Error GoTo 0

Dim connect_text, timeout
connect_text = "Provider=SQLite;Data Source=" & folder & "\registry.db"
timeout = 5
Set registry = session.Connect(connect_text, 3, timeout, timeout)
Set control = session.Connect("Provider=SQLite;Data Source=" & folder & "\control.db", 3, 5, 5)
Same "connected", registry.State, 1
Same "its time-out", registry.CommandTimeout, 5
Same "its default member", registry, connect_text
Check "Connect stores nothing", session.Registry.State = 0
Set session.Registry = registry
Set session.Control = control
Check "Registry is the object that was set", session.Registry Is registry
Check "all sessions of a thread are one", other.Registry Is registry And other.Control Is control
Set other = Nothing
Check "releasing one changes nothing", session.Control Is control

session.Track = registry
Check "Track takes a plain assignment", session.Track Is registry
On Error Resume Next
Set session.Track = registry
Raised "Track takes no reference assignment", 438, "*", "*"
session.Registry = registry
Raised "Registry takes no plain assignment", 438, "*", "*"
Set session.Registry = session
Raised "an object of another class is no connection", 13, "*", "*"
text = session.PreserveRecordsets
Raised "PreserveRecordsets cannot be read", 438, "*", "*"
text = session.NoSuchMember
Raised "a member that is not there", 438, "*", "*"
Set text = CreateObject("QMDataObjects2.Abstract")
Raised "an abstract cannot be created", 429, "*", "*"
session.LockAbstract "no number"
Raised "text for a number", 13, "*", "*"
session.LockAbstract Nothing
Raised "nothing for a number", 91, "*", "*"
session.CaseLockStatus Nothing
Raised "nothing for a text", 91, "*", "*"
session.Connect connect_text, 3, 100000, 5
Raised "a number that is too large", 6, "*", "*"
session.BeginTrans
session.BeginTrans
Raised "a second BeginTrans", -2147168237, "*", "*"
session.RollBackTrans
session.RollBackTrans
Raised "a rollback without a transaction", -2147168242, "*", "*"
On Error GoTo 0
session.PreserveRecordsets = False
session.DataAccessType "SQL"
session.User = "J" & Chr(252) & "rgen"
Same "text outside ASCII", session.User, "J" & Chr(252) & "rgen"
session.User = True
Same "a truth as text", session.User, "True"
session.User = "ADMIN"
session.ApplicationName = "VELMORA"
Same "the application's name", session.ApplicationName, "VELMORA"

' --- Layout --------------------------------------------------------------------------------------
Dim data, layout, index, fields, names, numbers, unused(15)
Set data = CreateObject("QMDataObjects2.QMDataSets")
On Error Resume Next
data.CloseGlobalRecordsets
Raised "closing what was never opened", 9, "*", "Subscript out of range"
data.GetNAACCRLayout 99
Raised "a version that is not there", kBase + 1104, "NAACCRLayout", _
    "NAACCR Parameters not found in the control database."
On Error GoTo 0
Set layout = data.GetNAACCRLayout()
Check "the same layout object each time", layout Is data.GetNAACCRLayout(18, "NAACCR_Item_No")
Set layout = Nothing
Set data = CreateObject("QMDataObjects2.QMDataSets")
Set layout = data.GetNAACCRLayout(, "ColumnStart")
Same "version", layout.Version, "18"
Same "length", layout.RecordLength(1), layout.LengthOfAbstract
index = layout.IndexByFieldName("LASTNAME")
Same "an item by its number", layout.IndexByNAACCRItemNo(2230), index
Same "a name by index", layout.FieldName(index), "LastName"
Same "a number by index", layout.FieldNumber(index), 2230
Same "by index from a variable stays what it was", TypeName(index), "Integer"
layout.fieldvalue(index) = "scratch"
Same "a value put by index", layout.fieldvalue(index), "scratch"
layout.getTextFields fields
Same "an array handed to a variable", UBound(fields), 20
Dim held, before
For Each before In Array(Array("a", "b"), Array(Null), Array(70000), Array(1, session))
  held = before
  layout.getTextFields held
  Same "whatever the array held", UBound(held), 20
Next
layout.GetControlArrays names, numbers, unused(0), unused(1), unused(2), unused(3), unused(4), _
    unused(5), unused(6), unused(7), unused(8), unused(9), unused(10), unused(11), unused(12), _
    unused(13), unused(14), unused(15)
Same "eighteen arrays", names(index) & numbers(index), "LastName2230"
On Error Resume Next
text = layout.FieldName(layout.FieldsCount + 1)
Raised "an index outside", kBase + 1302, "QMData.NAACCRLayout.FieldName", "Invalid index"
number = layout.RecordLength(9)
Raised "no record type", kBase + 1300, "QMData.NAACCRLayout.RecordLength", "Invalid record type"
number = layout.FieldIndex("NoSuchField")
Raised "no field", kBase + 1318, "NAACCRLayout", "Invalid Field Name: NoSuchField"
text = layout.ValidateKey(1)
Raised "keys that nothing fills", 9, "*", "*"
On Error GoTo 0

Dim memo, texts
texts = Split(String(layout.TextFieldsCount, ","), ",")
texts(1) = " one "
Same "packing texts", layout.CompressMemoText(memo, texts), 0
Check "the memo came back", InStr(memo, "one" & Chr(2)) > 0 And Len(memo) = 3 + layout.TextFieldsCount
memo = "lone"
Same "unpacking a short memo", layout.GetMemoTextArray(memo, texts), -1
Check "the memo was extended", Right(memo, 1) = Chr(2)
memo = "lone"
texts = Array()
On Error Resume Next
layout.GetMemoTextArray memo, texts
Raised "no room for the texts", kBase + 1315, "QMObjects.NAACCRLayOut.GetMemoTextArray", "*"
texts = Array(session)
layout.CompressMemoText text, texts
Raised "texts that are none", 13, "*", "*"
On Error GoTo 0
Same "what the failed call had changed is kept", memo, "lone" & Chr(2)

' --- Abstracts: add, read, move, edit, save --------------------------------------------------------
Dim record, abs_record, key, added
Function Placed(buffer, name, value)
  Dim at
  at = layout.FieldStart(layout.IndexByFieldName(name))
  Placed = Left(buffer, at - 1) & value & Mid(buffer, at + Len(value))
End Function
record = Space(layout.RecordLength(1))
record = Placed(record, "LastName", "ZZTEST")
record = Placed(record, "FirstName", "ANNA")
record = Placed(record, "BirthDate", "19500102")
record = Placed(record, "SocSec", "123121234")
record = Placed(record, "Sex", "2")
key = 5001
Set added = data.AddAbstract(record, False, Array(), key)
Check "AddAbstract gives nothing", added Is Nothing
Set abs_record = data.GetAbstract(key)
Same "one row", abs_record.RecordCount, 1
Same "by name", abs_record.FieldByName("LastName"), "ZZTEST"
Same "by index", abs_record.FieldByIndex(index), "ZZTEST"
Same "by either", abs_record.Fields("FirstName") & abs_record.Fields(index), "ANNAZZTEST"
Same "by the default member", abs_record("FirstName"), "ANNA"
Same "by item number", abs_record.FieldByIndex(layout.IndexByNAACCRItemNo(240)), "19500102"
Same "the placeholder", abs_record.FieldByNAACCRNum(240), ""
text = "O'HARA"
abs_record("FirstName") = text
abs_record.Fields("MiddleName") = "Q"
abs_record.FieldByName("Remarks") = "a remark" & Chr(2)
abs_record.Update
Set abs_record = data.GetAbstract(key)
Same "saved", abs_record("FirstName") & abs_record("MiddleName"), "O'HARAQ"
abs_record("FirstName") = "GONE"
abs_record.CancelUpdate
Same "given up", abs_record("FirstName"), "O'HARA"
Same "by item number, what identifies the row", abs_record("AbsRefID"), key

Set abs_record = data.GetAbstract(, , , "1 = 1 ORDER BY AbsRefID")
Same "omitted identifiers and a where-clause", abs_record.RecordCount, 21
Dim mark, first_name
abs_record.MoveNext
first_name = abs_record("LastName")
mark = abs_record.BookMark
Same "one bookmark a table, from 1", LBound(mark), 1
abs_record.MoveLast
Check "moved", abs_record("AbsRefID") = key And Not abs_record.EOF
abs_record.BookMark = mark
Same "back at the bookmark", abs_record("LastName") & abs_record("AbsRefID"), first_name & 2
abs_record.MoveFirst
abs_record.Find "LastName = 'ZZTEST'"
Same "found", abs_record("AbsRefID"), key
Dim tables, table
tables = abs_record.Recordsets()
Check "all recordsets", UBound(tables) = layout.AbsTableCnt And tables(1).State = 1
abs_record.MoveNext
Check "at the end", abs_record.EOF
On Error Resume Next
Set table = abs_record.Recordset(99)
Raised "a table beyond the record's", kBase + 1206, "QMData.Abstract.Recordset", " Array out-of-bounds."
text = abs_record.Fields("NoSuchField")
Raised "an unknown field", 9, "*", "*"
Set table = data.GetAbstract(0)
Raised "an abstract without a selection", kBase + 1100, "QMObjects.QMDatasets.GetAbstract", "*"
abs_record.CloseRecordset
Set tables = abs_record.Recordsets()
Raised "recordsets of a closed abstract", kBase + 1205, "QMData.Abstract.GetRecordsets", _
    "Abstract recordsets have not been opened yet"
On Error GoTo 0

' --- Locks ---------------------------------------------------------------------------------------
Dim list
Check "an abstract is locked once", session.LockAbstract(key) And Not session.LockAbstract(key)
Check "and unlocked", session.UnLockAbstract(key, True)
Check "a case is locked", session.LockCase("1") And session.CaseLockStatus("1")
Check "and unlocked, the message left out", session.UnlockCase("1") And Not session.CaseLockStatus(1)
list = "  ABSPAT "
Check "tables are locked", session.TablesLocked(list)
Same "and the client's text is trimmed", list, "ABSPAT"
Check "once", Not session.TablesLocked(list, "in use")
Check "and unlocked", session.TablesUnlocked("ABSPAT")
Check "a message is anything that is passed", session.UnLockAbstract(key, Array(1, Nothing)) And _
    session.UnlockCase("1", Nothing, data)
On Error Resume Next
session.TablesUnlocked "XXX"
Raised "an unknown table", 3021, "*", "*"
session.LockCase "1 OR"
Raised "a case that is none", kBase + 1003, "QMObjects.QMConnection.LockCase", "*"
On Error GoTo 0

' --- Displays ------------------------------------------------------------------------------------
Dim display, item, item_numbers, fresh, field
Set display = data.LoadDisplay(1)
item_numbers = ""
For Each item In display
  item_numbers = item_numbers & item.FieldNumber & " "
Next
Check "a display walked with For Each: " & item_numbers, Left(item_numbers, 10) = "2230 2240 " And _
    UBound(Split(item_numbers)) = display.Count
Same "its name", display.Name, "Patient and tumor"
Set fresh = CreateObject("QMDataObjects2.Display")
Set item = CreateObject("QMDataObjects2.DisplayField")
item.FieldNumber = "400"
item.Invisible = True
fresh.Add item, "site"
item.Default = "C509"
For Each field In fresh
  Same "a field is held by reference", field.FieldNumber & field.Default & field.Invisible, "400C509True"
Next
Same "saving stores nothing", data.SaveDisplay(fresh) + data.SaveDisplay(Nothing), 0
fresh.Add item, ""
fresh.Add item, ""
Same "an empty key is none", fresh.Count, 3
fresh.Remove 3
fresh.Remove 2
On Error Resume Next
fresh.Add item, "SITE"
Raised "a key used twice", 457, "*", "*"
Set item = fresh.Item(1)
Raised "an element is no display", 13, "*", "*"
fresh.Remove 2
Raised "an element that is not there", 9, "*", "*"
On Error GoTo 0
fresh.Remove 1
Same "removed", fresh.Count, 0

' --- Buffer and XML ------------------------------------------------------------------------------
Dim buffer, xml, read_back
Set abs_record = data.GetAbstract(key)
buffer = data.CreateFacilityNAACCRBuffer(abs_record)
Same "a buffer's length", Len(buffer), layout.LengthOfAbstract
Same "a value in it", Mid(buffer, layout.FieldStart(index), 6), "ZZTEST"
abs_record("FirstName") = "ANNA"
abs_record.Update
xml = abs_record.GetXML()
Check "the XML", InStr(xml, "<Field Name = ""LastName"" Index = """ & index & """ Value= ""ZZTEST""/>") > 0
Set read_back = data.GetAbstractXML(xml)
Check "read back into the same layout", read_back Is layout And layout.fieldvalue(index) = "ZZTEST"
On Error Resume Next
Set read_back = data.GetAbstractXML("no xml")
Raised "no XML", 91, "*", "*"
On Error GoTo 0

' --- A case: patient and tumor -------------------------------------------------------------------
Dim patient, tumor, patient_id
Set abs_record = data.GetAbstract(key)
session.BeginTrans
Set patient = data.AddPatient(abs_record)
Set tumor = data.AddTumor(abs_record)
session.CommitTrans
Same "a patient made", patient("LastName"), "ZZTEST"
patient_id = patient.Recordset(1).Fields("PatientID").Value
Same "a tumor of it", tumor.Recordset(1).Fields("PatientID"), patient_id
Set patient = data.GetPatient(patient_id)
Set tumor = data.GetTumor(, patient_id)
buffer = data.CreateConsolidatedNAACCRBuffer(patient, tumor)
Same "the consolidated buffer", Mid(buffer, layout.FieldStart(index), 6), "ZZTEST"
Check "an identifier", data.BaseID("PatientID") > patient_id
On Error Resume Next
registry.Execute "UPDATE Patients SET LastName = 'ZZOTHER' WHERE PatientID = " & patient_id
patient("LastName") = "ZZMINE"
patient.Update
Raised "a patient that somebody else changed", kBase + 1402, "QMObjects.Patient.Update", "*"
patient.CancelUpdate
registry.Execute "UPDATE Patients SET LastName = 'ZZTEST' WHERE PatientID = " & patient_id
registry.Execute "UPDATE MedicalSum SET PrimarySite = 'C001' WHERE PatientID = " & patient_id
tumor("PrimarySite") = "C002"
tumor.Update
Raised "a tumor that somebody else changed", kBase + 1502, "QMData.Tumor.Update", "*"
tumor.CancelUpdate
On Error GoTo 0
Set patient = data.GetPatient(patient_id)
Set tumor = data.GetTumor(, patient_id)
On Error Resume Next
Set table = patient.Recordset(99)
Raised "a patient's table", kBase + 1206, "QMData.Patient.Recordset", " Array out-of-bounds."
Set table = tumor.Recordset(99)
Raised "a tumor's table", kBase + 1206, "QMData.Tumor.Recordset", " Array out-of-bounds."
buffer = data.CreateConsolidatedNAACCRBuffer(tumor, patient)
Raised "records of the wrong kinds", 13, "*", "*"
buffer = data.CreateFacilityNAACCRBuffer(Nothing)
Raised "no record", kBase + 1107, "QMObjects.QMDatasets.CreateFacilityNAACCRBuffer", "*"
On Error GoTo 0

' --- Matching ------------------------------------------------------------------------------------
Dim matcher, matches, name_rows
Set matcher = CreateObject("QMDataObjects2.Matcher")
text = registry.ConnectionString
Check "the rules are read", matcher.ReadMatchingParams(text)
matches = matcher.GetMatchingPatientIDsLocal(registry, abs_record)
Check "the patient is found: " & matches, InStr(matches, ", " & patient_id & ":") = 1
Check "over a connection of its own", _
    InStr(matcher.GetMatchingPatientIDsRemote(text, abs_record), ", " & patient_id & ":") = 1
Same "a code", matcher.Get_Soundex("Robert"), "R163"
Same "the placeholder score", matcher.Get_StringMatch_Score("a", "a"), 0
Check "the score of two rows", matcher.GetMatchScore(abs_record.Recordset(1), patient.Recordset(1)) >= matcher.CutoffScore
matcher.CutoffScore = 30000
Same "nothing above the cut-off", matcher.GetMatchingPatientIDsLocal(registry, abs_record), ""
On Error Resume Next
matcher.ReadMatchingParams "Provider=SQLite;Data Source=none.db"
Raised "no rules", kBase + 5000, "qmDataObjects.Matcher.ReadMatchingParams", "*"
matches = matcher.GetMatchingPatientIDsLocal(registry, Nothing)
Raised "no abstract to match", kBase + 5000, "qmDataObjects.Matcher.GetMatchingPatientIDs", "*"
number = matcher.GetMatchScore(Nothing, Nothing)
Raised "no rows to score", 91, "QMDataObjects2, GetMatchScore", "*"
On Error GoTo 0

' --- Recordsets as clients know them ---------------------------------------------------------------
Dim rows, affected
Set rows = data.GetRecordset("SELECT AbsRefID, LastName, MedRefID FROM Abstracts ORDER BY AbsRefID", 3, 3)
Same "rows", rows.RecordCount, 21
names = ""
For Each field In rows.Fields
  names = names & field.Name & " "
Next
Same "its columns with For Each", names, "AbsRefID LastName MedRefID "
rows.Find "AbsRefID = 5001"
mark = rows.Bookmark
rows("LastName") = "ZZOTHER"
Same "an edit is pending", rows.EditMode, 1
rows.Update
rows.MoveFirst
rows.Bookmark = mark
Same "an edit through the default members", rows.Fields("LastName").Value, "ZZOTHER"
Check "one object a collection and an element", rows.Fields Is rows.Fields And _
    rows.Fields("LastName") Is rows.Fields(1) And rows.Properties Is rows.Properties And _
    rows.Properties(0) Is rows.Properties("preserve on commit")
On Error Resume Next
rows.Fields = 1
Raised "the fields take no value", 438, "*", "*"
On Error GoTo 0
rows.Close
Set rows = registry.Execute("UPDATE Abstracts SET LastName = 'ZZTEST' WHERE AbsRefID = 5001", affected)
Same "rows changed", affected & rows.State, "10"
Set rows = registry.CreateRecordset()
rows.Properties("Preserve on Commit") = True
Same "a dynamic property", rows.Properties("Preserve on Commit"), True
rows.Open "SELECT LastName FROM Abstracts WHERE AbsRefID = 5001", registry, 3
Same "opened by hand", rows(0), "ZZTEST"
Same "a table by its name", registry.Execute("Abstracts", , 2).Fields(0).Name, registry.Execute("SELECT * FROM Abstracts").Fields(0).Name
Set table = registry.CreateRecordset()
table.Open "SELECT LastName FROM Abstracts WHERE AbsRefID = 5001", connect_text
Check "over a connection of its own", table(0) = "ZZTEST" And Not table.ActiveConnection Is registry
table.Close
table.Open "Abstracts", registry, , , 2
table.Close
table.Open "Abstracts", registry, , , 8
Same "an unknown kind is as it was", table.State, 1
table.Close
Set table = Nothing
On Error Resume Next
text = rows.Fields("NoSuchColumn")
Raised "a column that is not there", 3265, "*", "*"
rows.Open
Raised "opening what is open", 3705, "*", "*"
registry.Execute "Abstracts", , 4
Raised "a procedure", 3001, "*", "*"
rows.MoveNext
text = rows.Fields(0)
Raised "no row", 3021, "*", "*"
Set rows = registry.Execute("SELECT * FROM NoSuchTable")
Raised "a table that is not there", -2147217865, "*", "*"
On Error GoTo 0

' --- Several rows and values in one call -----------------------------------------------------------
Dim grid
Same "the version of ADO whose shape it is", registry.Version, "2.5"
registry.Execute "CREATE TABLE Notes (ID INTEGER PRIMARY KEY, Words TEXT, Size INTEGER)"
Set rows = registry.CreateRecordset()
rows.Open "SELECT ID, Words, Size FROM Notes ORDER BY ID", registry, 1, 3
rows.AddNew Array("ID", "Words"), Array(1, "one")
Same "a row added with its values is written", rows.EditMode, 0
rows.AddNew Array(0, 1, 2), Array(2, "two", 22)
rows.AddNew "ID", 3
rows.Update "Words", "three"
rows.Update Array("Words", "Size"), Array("drei", 33)
rows.AddNew
rows("ID") = 4
rows.Update
On Error Resume Next
rows.AddNew Array("ID", "Words"), Array(5)
Raised "lists of two lengths", 3001, "*", "*"
rows.Update Array("ID", "NoSuchColumn"), Array(9, 9)
Raised "a column that is not there, before anything is changed", 3265, "*", "*"
Same "and no edit began", rows.EditMode, 0
On Error GoTo 0
rows.Requery
Same "the rows as text", rows.GetString(2, 2, ",", ";", "-"), "1,one,-;2,two,22;"
Same "and those that are left", rows.GetString, "3" & vbTab & "drei" & vbTab & "33" & vbCr & "4" & vbTab & vbTab & vbCr
Check "moved behind them", rows.EOF
On Error Resume Next
grid = rows.GetRows()
Raised "no rows are left", 3021, "*", "*"
rows.Move 1
Raised "a move beyond the end", 3021, "*", "*"
On Error GoTo 0
grid = rows.GetRows(3, 1)
Same "fields by rows", UBound(grid, 1) & UBound(grid, 2) & grid(1, 0) & grid(2, 1) & IsNull(grid(2, 0)), "22one22True"
Same "behind those read", rows(0), 4
grid = rows.GetRows(, 1, Array("Size", 0))
Same "of some fields", UBound(grid, 1) & UBound(grid, 2) & grid(0, 2) & grid(1, 3), "13334"
rows.Move -2
mark = rows.Bookmark
Same "two rows back", rows(0), 3
rows.Move -9
Check "before the first", rows.BOF And Not rows.EOF
rows.Move 1, mark
Same "one row behind a bookmark", rows(0), 4
rows.Close
registry.Execute "DROP TABLE Notes"

' --- Connections of another's ----------------------------------------------------------------------
' The shape of a connection and a recordset, as an application's own classes: with functions and
' variables, the members of a class that every script host shows to others.
Class StrangeRecordset
  Public Inner
  Public Source
  Public ActiveConnection
  Public CursorType
  Public LockType
  Public CursorLocation
  Public MaxRecords
  Public Sub Open(source_text, connection, cursor_type, lock_type, options)
    Inner.Source = Source
    Inner.CursorType = CursorType
    Inner.LockType = LockType
    Inner.CursorLocation = CursorLocation
    Inner.MaxRecords = MaxRecords
    Set Inner.ActiveConnection = ActiveConnection.Inner
    Inner.Open
  End Sub
  Public Function Fields
    Set Fields = Inner.Fields
  End Function
  Public Function State
    State = Inner.State
  End Function
  Public Function EOF
    EOF = Inner.EOF
  End Function
  Public Function RecordCount
    RecordCount = Inner.RecordCount
  End Function
  Public Sub MoveNext
    Inner.MoveNext
  End Sub
  Public Sub Update
    Inner.Update
  End Sub
  Public Sub Close
    Inner.Close
  End Sub
End Class

Class StrangeConnection
  Public Inner
  Public Made
  Public Executed
  Public Function State
    State = Inner.State
  End Function
  Public Function ConnectionString
    ConnectionString = Inner.ConnectionString
  End Function
  Public Function CreateRecordset
    Dim recordset
    Set recordset = New StrangeRecordset
    Set recordset.Inner = Inner.CreateRecordset
    recordset.CursorLocation = 2
    recordset.MaxRecords = 0
    Made = Made + 1
    Set CreateRecordset = recordset
  End Function
  Public Function Execute(text, affected, options)
    Inner.Execute text, affected
    Executed = Executed + 1
  End Function
  Public Function BeginTrans
    BeginTrans = Inner.BeginTrans
  End Function
  Public Sub CommitTrans
    Err.Raise 4711, "Stranger.CommitTrans", "not today"
  End Sub
  Public Sub RollbackTrans
    Inner.RollbackTrans
  End Sub
End Class

Dim stranger
Set stranger = New StrangeConnection
Set stranger.Inner = registry
stranger.Made = 0
Set session.Registry = stranger
Check "a stranger comes back as it is", session.Registry Is stranger
Set rows = data.GetRecordset("SELECT LastName FROM Abstracts WHERE AbsRefID = 5001")
Same "its recordset is its own, with its row", rows.Inner.Fields("LastName").Value, "ZZTEST"
rows.Close
Set abs_record = data.GetAbstract(key)
Same "an abstract over it", abs_record("LastName") & abs_record("BirthDate"), "ZZTEST19500102"
abs_record("LastName") = "ZZLAST"
abs_record.Update
Same "its recordset as the record has it", abs_record.Recordset(1).Inner.Fields("LastName"), "ZZLAST"
session.BeginTrans
On Error Resume Next
session.BeginTrans
Raised "its errors come through", -2147168237, "*", "*"
session.CommitTrans
Raised "with the numbers of the other's", 4711, "*", "*"
On Error GoTo 0
session.RollBackTrans
Check "the recordsets came from it", stranger.Made > 1
key = 5002
Check "a statement of it gives no recordset", data.AddAbstract(record, False, Array(), key) Is Nothing And _
    stranger.Executed > 0
registry.Execute "DELETE FROM Abstracts WHERE AbsRefID = 5002"
key = 5001
Set session.Registry = registry
Set abs_record = data.GetAbstract(key)
Same "what was saved over it", abs_record("LastName"), "ZZLAST"

' --- The end -------------------------------------------------------------------------------------
data.OpenGlobalRecordsets
data.CloseGlobalRecordsets
session.Disconnect
Same "disconnected", registry.State, 0
Same "the slot is fresh", session.Registry.State, 0
WScript.Echo "result: " & checks & " checks, " & failures & " failed"
