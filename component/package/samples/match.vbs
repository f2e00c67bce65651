' Lists the registered patients that may be the person in one incoming abstract.
'
'   qm init -d registry
'   qm generate -d registry --patients 1000 --incoming 20 --seed 1
'   qm import -d registry registry\incoming.txt
'   cscript match.vbs registry 1
Option Explicit
Dim session, data, abstract, matcher, folder, number, pair, parts

If WScript.Arguments.Count <> 2 Then
  WScript.Echo "usage: cscript match.vbs FOLDER ABSTRACT"
  WScript.Quit 2
End If
folder = WScript.Arguments(0)
number = CLng(WScript.Arguments(1))

Set session = CreateObject("QMDataObjects2.QMConnection")
Set session.Registry = session.Connect("Provider=SQLite;Data Source=" & folder & "\registry.db", 3, 15, 30)
Set session.Control = session.Connect("Provider=SQLite;Data Source=" & folder & "\control.db", 3, 15, 30)

Set data = CreateObject("QMDataObjects2.QMDataSets")
data.GetNAACCRLayout
Set abstract = data.GetAbstract(number)
WScript.Echo abstract.FieldByName("LastName") & ", " & abstract.FieldByName("FirstName") & " may be"

Set matcher = CreateObject("QMDataObjects2.Matcher")
matcher.ReadMatchingParams session.Registry.ConnectionString
' ", 1021:96, 88:91": each patient with the score.
For Each pair In Split(matcher.GetMatchingPatientIDsLocal(session.Registry, abstract), ",")
  If Trim(pair) <> "" Then
    parts = Split(Trim(pair), ":")
    WScript.Echo "patient " & parts(0) & ", score " & parts(1)
  End If
Next
