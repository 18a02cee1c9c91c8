@echo off
rem Takes back what register.cmd did. Run it as administrator.
"%SystemRoot%\System32\regsvr32.exe" /u /s "%~dp0bin\SARVANE.DLL"
if errorlevel 1 (
    echo The operators are still registered. Run this as administrator.
    exit /b 1
)
echo The operators are not registered any more.
