# Lists the registered patients that may be the person in one incoming abstract.
#
#   qm init -d registry
#   qm generate -d registry --patients 1000 --incoming 20 --seed 1
#   qm import -d registry registry\incoming.txt
#   .\match.ps1 registry 1
param(
  [Parameter(Mandatory)] [string] $Folder,
  [Parameter(Mandatory)] [int] $AbstractNumber
)
$ErrorActionPreference = 'Stop'
$Folder = (Resolve-Path $Folder).Path

$session = New-Object -ComObject QMDataObjects2.QMConnection
$session.Registry = $session.Connect("Provider=SQLite;Data Source=$Folder\registry.db", 3, 15, 30)
$session.Control = $session.Connect("Provider=SQLite;Data Source=$Folder\control.db", 3, 15, 30)

$data = New-Object -ComObject QMDataObjects2.QMDataSets
[void] $data.GetNAACCRLayout()
$abstract = $data.GetAbstract($AbstractNumber)
"$($abstract.FieldByName('LastName')), $($abstract.FieldByName('FirstName')) may be"

$matcher = New-Object -ComObject QMDataObjects2.Matcher
[void] $matcher.ReadMatchingParams($session.Registry.ConnectionString)
# ", 1021:96, 88:91": each patient with the score.
$matcher.GetMatchingPatientIDsLocal($session.Registry, $abstract) -split ',' |
  Where-Object { $_.Trim() } |
  ForEach-Object {
    $id, $score = $_.Trim() -split ':'
    [pscustomobject] @{ PatientID = [int] $id; Score = [int] $score }
  }
