@echo off
rem register.cmd [user]        registers the component: for the whole machine, which takes an
rem                            administrator, or for this user
rem register.cmd undo [user]   takes the registration away again
setlocal
set undo=
set scope=
for %%a in (%*) do (
  if /i "%%a"=="undo" set undo=/u
  if /i "%%a"=="user" set scope=/n /i:user
)
set windows64=
if /i "%PROCESSOR_ARCHITECTURE%"=="AMD64" set windows64=%SystemRoot%\System32
if /i "%PROCESSOR_ARCHITEW6432%"=="AMD64" set windows64=%SystemRoot%\Sysnative
set windows32=%SystemRoot%\System32
if defined windows64 set windows32=%SystemRoot%\SysWOW64

set failed=
if defined windows64 call :run "%windows64%" x64
if exist "%windows32%\regsvr32.exe" call :run "%windows32%" x86
if defined failed goto failed
echo Done.
exit /b 0

:run
"%~1\regsvr32.exe" /s %undo% %scope% "%~dp0%2\QMDataObjects2.dll"
if errorlevel 1 set failed=yes
exit /b 0

:failed
echo Failed. For the whole machine it takes an administrator; the word "user" behind the command
echo means this user alone.
exit /b 1
