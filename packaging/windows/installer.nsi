; The installer: for the user alone, without asking for an administrator.
;
;   makensis -INPUTCHARSET UTF8 -DVERSION=6.5.5 -DSOURCE=FOLDER -DREMOVAL=FILE.nsh -DOUTPUT=FILE.exe
;            installer.nsi
;
; SOURCE holds what the portable archive holds, REMOVAL the commands that remove just that from
; $INSTDIR. /S installs and uninstalls without a window, /D=DIR names another folder.
; As the programs: for 64-bit Windows.
Target amd64-unicode
Unicode true
SetCompressor /SOLID lzma
ManifestDPIAware true

!include "FileFunc.nsh"
!include "MUI2.nsh"

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Fenwright"
!define CLASSES "Software\Classes"
!define FILE_TYPE "Fenwright.HexFile"

Name "Fenwright ${VERSION}"
OutFile "${OUTPUT}"
RequestExecutionLevel user
InstallDir "$LOCALAPPDATA\Programs\Fenwright"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"

!define MUI_ICON "${__FILEDIR__}/fenwright.ico"
!define MUI_UNICON "${__FILEDIR__}/fenwright.ico"
!define MUI_ABORTWARNING
!define MUI_FINISHPAGE_RUN "$INSTDIR\fenwright.exe"

!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES

; The first is the one for every language that is not listed.
!insertmacro MUI_LANGUAGE "Japanese"
!insertmacro MUI_LANGUAGE "English"

LangString ManualName ${LANG_JAPANESE} "Fenwright の説明書"
LangString ManualName ${LANG_ENGLISH} "Fenwright manual (Japanese)"
LangString FileTypeName ${LANG_JAPANESE} "Intel HEX ファイル"
LangString FileTypeName ${LANG_ENGLISH} "Intel HEX file"

LangString CannotBeWritten ${LANG_JAPANESE} \
  "$0 に書き込めません。$\r$\n$\r$\nFenwright が動いている場合は、終了してから「再試行」を押してください。$\r$\n動いていない場合は、このフォルダーに書き込む権限があるかどうかを確認してください。"
LangString CannotBeWritten ${LANG_ENGLISH} \
  "$0 cannot be written.$\r$\n$\r$\nIf Fenwright is running, close it, then press Retry.$\r$\nIf it is not, check that you have the right to write to this folder."

VIProductVersion "${VERSION}.0"
VIAddVersionKey /LANG=${LANG_JAPANESE} "ProductName" "Fenwright"
VIAddVersionKey /LANG=${LANG_JAPANESE} "FileDescription" "Fenwright のインストーラー"
VIAddVersionKey /LANG=${LANG_JAPANESE} "FileVersion" "${VERSION}"
VIAddVersionKey /LANG=${LANG_JAPANESE} "ProductVersion" "${VERSION}"
VIAddVersionKey /LANG=${LANG_JAPANESE} "LegalCopyright" ""
VIAddVersionKey /LANG=${LANG_ENGLISH} "ProductName" "Fenwright"
VIAddVersionKey /LANG=${LANG_ENGLISH} "FileDescription" "Fenwright installer"
VIAddVersionKey /LANG=${LANG_ENGLISH} "FileVersion" "${VERSION}"
VIAddVersionKey /LANG=${LANG_ENGLISH} "ProductVersion" "${VERSION}"
VIAddVersionKey /LANG=${LANG_ENGLISH} "LegalCopyright" ""

; A program that runs cannot be opened for writing, nor can one in a folder that the user may not
; write to. Nothing is changed before all of them can be; without a window the exit code is 2.
!macro WaitForEndOf PROGRAM
  !define LABEL "wait_${__COUNTER__}"
  StrCpy $0 "$INSTDIR\${PROGRAM}"
  IfFileExists "$0" ${LABEL}_try ${LABEL}_ended
  ${LABEL}_try:
    ClearErrors
    FileOpen $1 "$0" a
    IfErrors ${LABEL}_runs
    FileClose $1
    Goto ${LABEL}_ended
  ${LABEL}_runs:
    MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$(CannotBeWritten)" /SD IDCANCEL \
      IDRETRY ${LABEL}_try
    SetErrorLevel 2
    Quit
  ${LABEL}_ended:
  !undef LABEL
!macroend

Function .onInit
  !insertmacro MUI_LANGDLL_DISPLAY
FunctionEnd

; The file type is offered under "Open with"; whatever opens such files today goes on doing so.
Section "" INSTALLATION
  !insertmacro WaitForEndOf "fenwright.exe"
  !insertmacro WaitForEndOf "fenwright-cli.exe"
  SetOutPath "$INSTDIR"
  File /r "${SOURCE}/*"

  CreateDirectory "$SMPROGRAMS\Fenwright"
  CreateShortcut "$SMPROGRAMS\Fenwright\Fenwright.lnk" "$INSTDIR\fenwright.exe"
  IfFileExists "$INSTDIR\readme_tarnwick6.pdf" 0 no_manual
    CreateShortcut "$SMPROGRAMS\Fenwright\$(ManualName).lnk" "$INSTDIR\readme_tarnwick6.pdf"
  no_manual:

  WriteRegStr HKCU "${CLASSES}\${FILE_TYPE}" "" "$(FileTypeName)"
  WriteRegStr HKCU "${CLASSES}\${FILE_TYPE}\DefaultIcon" "" "$INSTDIR\fenwright.exe,0"
  WriteRegStr HKCU "${CLASSES}\${FILE_TYPE}\shell\open\command" "" '"$INSTDIR\fenwright.exe" "%1"'
  WriteRegStr HKCU "${CLASSES}\.hex\OpenWithProgids" "${FILE_TYPE}" ""
  WriteRegStr HKCU "${CLASSES}\.rom\OpenWithProgids" "${FILE_TYPE}" ""
  WriteRegStr HKCU "${CLASSES}\Applications\fenwright.exe\shell\open\command" "" \
    '"$INSTDIR\fenwright.exe" "%1"'
  WriteRegStr HKCU "${CLASSES}\Applications\fenwright.exe\SupportedTypes" ".hex" ""
  WriteRegStr HKCU "${CLASSES}\Applications\fenwright.exe\SupportedTypes" ".rom" ""

  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "Fenwright"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\fenwright.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "Fenwright"
  SectionGetSize ${INSTALLATION} $0
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" $0
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
  ${RefreshShellIcons}
SectionEnd

; What the program itself has written into its folder goes too; the user's own files and the
; settings stay, and with them the folders that they are in.
Section "Uninstall"
  !insertmacro WaitForEndOf "fenwright.exe"
  !insertmacro WaitForEndOf "fenwright-cli.exe"
  Delete "$INSTDIR\_debug_avr.txt"
  Delete "$INSTDIR\avrhex.txt"
  Delete "$INSTDIR\avreep.txt"
  Delete "$INSTDIR\avrvfy.txt"
  Delete "$INSTDIR\LOG.txt"
  !include "${REMOVAL}"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"

  Delete "$SMPROGRAMS\Fenwright\*.lnk"
  RMDir "$SMPROGRAMS\Fenwright"

  DeleteRegValue HKCU "${CLASSES}\.hex\OpenWithProgids" "${FILE_TYPE}"
  DeleteRegKey /ifempty HKCU "${CLASSES}\.hex\OpenWithProgids"
  DeleteRegKey /ifempty HKCU "${CLASSES}\.hex"
  DeleteRegValue HKCU "${CLASSES}\.rom\OpenWithProgids" "${FILE_TYPE}"
  DeleteRegKey /ifempty HKCU "${CLASSES}\.rom\OpenWithProgids"
  DeleteRegKey /ifempty HKCU "${CLASSES}\.rom"
  DeleteRegKey HKCU "${CLASSES}\${FILE_TYPE}"
  DeleteRegKey HKCU "${CLASSES}\Applications\fenwright.exe"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
  ${RefreshShellIcons}
SectionEnd
