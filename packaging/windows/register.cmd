@echo off
rem Registers the operators for the programs of this machine. Run it as administrator.
"%SystemRoot%\System32\regsvr32.exe" /s "%~dp0bin\SARVANE.DLL"
if errorlevel 1 (
    echo The operators could not be registered. Run this as administrator.
    exit /b 1
)
echo The operators are registered. unregister.cmd takes that back; do so before you move or delete this folder.
