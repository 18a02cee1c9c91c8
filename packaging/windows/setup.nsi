; The installer for Windows: copies the files, registers the operators, and can be removed like any other program.
; VERSION, OUTPUT and FOLDER are given by packaging/build_windows, which also writes install.nsh and remove.nsh.

Unicode true
Target amd64-unicode
!include LogicLib.nsh

Name "Sarvane ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\Sarvane"
RequestExecutionLevel admin
SetCompressor /SOLID lzma
ShowInstDetails show

!define TYPE_LIBRARY "TypeLib\{401BF93A-A946-11D1-B1A9-0000C0D9BDE9}"
!define REMOVAL "Software\Microsoft\Windows\CurrentVersion\Uninstall\Sarvane"

Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

Function .onInit
    SetRegView 64
    SetShellVarContext all
FunctionEnd

Function un.onInit
    SetRegView 64
    SetShellVarContext all
FunctionEnd

Section
    ; An older version goes first, so that none of its files stay.
    ReadRegStr $0 HKLM "${REMOVAL}" "InstallLocation"
    ${If} $0 != ""
    ${AndIf} ${FileExists} "$0\remove.exe"
        ExecWait '"$0\remove.exe" /S _?=$0' $1
        ${If} $1 != 0
            MessageBox MB_OK|MB_ICONSTOP "The version in $0 could not be removed. Close the programs that use it, and try again." /SD IDOK
            SetErrorLevel 1
            Quit
        ${EndIf}
        Delete "$0\remove.exe"
        RMDir "$0"
    ${EndIf}

    !include "${FOLDER}/install.nsh"
    WriteUninstaller "$INSTDIR\remove.exe"
    WriteRegStr HKLM "${REMOVAL}" "DisplayName" "Sarvane"
    WriteRegStr HKLM "${REMOVAL}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKLM "${REMOVAL}" "Publisher" "Sarvane authors"
    WriteRegStr HKLM "${REMOVAL}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKLM "${REMOVAL}" "UninstallString" '"$INSTDIR\remove.exe"'
    WriteRegStr HKLM "${REMOVAL}" "QuietUninstallString" '"$INSTDIR\remove.exe" /S'
    WriteRegDWORD HKLM "${REMOVAL}" "NoModify" 1
    WriteRegDWORD HKLM "${REMOVAL}" "NoRepair" 1
    ; A command prompt in which `study` is known. The machine's own PATH stays as it is.
    SetOutPath "$INSTDIR"
    CreateShortCut "$SMPROGRAMS\Sarvane command prompt.lnk" "$SYSDIR\cmd.exe" '/k "set PATH=$INSTDIR\bin;%PATH%"'

    ExecWait '"$SYSDIR\regsvr32.exe" /s "$INSTDIR\bin\SARVANE.DLL"' $0
    ${If} $0 != 0
        MessageBox MB_OK|MB_ICONEXCLAMATION "The files are there, but the operators could not be registered (regsvr32 answered $0)." /SD IDOK
        SetErrorLevel 1
    ${EndIf}
SectionEnd

Section "Uninstall"
    ExecWait '"$SYSDIR\regsvr32.exe" /u /s "$INSTDIR\bin\SARVANE.DLL"'
    ; The component leaves its type library registered, for programs that were built with it. Another copy may own it.
    ReadRegStr $0 HKCR "${TYPE_LIBRARY}\1.0\0\win64" ""
    ${If} $0 == "$INSTDIR\bin\SARVANE.DLL"
        DeleteRegKey HKCR "${TYPE_LIBRARY}"
    ${EndIf}
    SetOutPath "$TEMP"
    ClearErrors
    !include "${FOLDER}/remove.nsh"
    Delete "$SMPROGRAMS\Sarvane command prompt.lnk"
    Delete "$INSTDIR\remove.exe"
    DeleteRegKey HKLM "${REMOVAL}"
    RMDir "$INSTDIR"
    ${If} ${FileExists} "$INSTDIR\bin\SARVANE.DLL"
        SetErrorLevel 1
    ${EndIf}
SectionEnd
