; The installer: for the user alone, without asking for an administrator.
;
;   makensis -INPUTCHARSET UTF8 -DVERSION=6.5.5 -DSOURCE=FOLDER -DOUTPUT=FILE.exe installer.nsi
;
; FOLDER holds what the portable archive holds. /S installs and uninstalls without a window, /D=DIR
; names another folder.
; As the programs: for 64-bit Windows.
Target amd64-unicode
Unicode true
SetCompressor /SOLID lzma
ManifestDPIAware true

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

LangString IsRunning ${LANG_JAPANESE} \
  "$0 を書き換えられません。Fenwright を終了してから「再試行」を押してください。"
LangString IsRunning ${LANG_ENGLISH} \
  "$0 cannot be replaced. Close Fenwright, then press Retry."

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

; A program that runs cannot be opened for writing. Nothing is changed before all of them have
; ended; without a window the exit code is 2.
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
    MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$(IsRunning)" /SD IDCANCEL IDRETRY ${LABEL}_try
    SetErrorLevel 2
    Quit
  ${LABEL}_ended:
  !undef LABEL
!macroend

Function .onInit
  !insertmacro MUI_LANGDLL_DISPLAY
FunctionEnd

; The file type is offered under "Open with"; whatever opens such files today goes on doing so.
Section
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
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

; What the program itself has written into its folder goes too; the user's own files and the
; settings stay.
Section "Uninstall"
  !insertmacro WaitForEndOf "fenwright.exe"
  !insertmacro WaitForEndOf "fenwright-cli.exe"
  Delete "$INSTDIR\_debug_avr.txt"
  Delete "$INSTDIR\avrhex.txt"
  Delete "$INSTDIR\avreep.txt"
  Delete "$INSTDIR\avrvfy.txt"
  Delete "$INSTDIR\LOG.txt"
  Delete "$INSTDIR\fenwright.exe"
  Delete "$INSTDIR\fenwright-cli.exe"
  Delete "$INSTDIR\readme_tarnwick6.pdf"
  Delete "$INSTDIR\readme.txt"
  RMDir /r "$INSTDIR\examples"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"

  RMDir /r "$SMPROGRAMS\Fenwright"

  DeleteRegValue HKCU "${CLASSES}\.hex\OpenWithProgids" "${FILE_TYPE}"
  DeleteRegKey /ifempty HKCU "${CLASSES}\.hex\OpenWithProgids"
  DeleteRegKey /ifempty HKCU "${CLASSES}\.hex"
  DeleteRegValue HKCU "${CLASSES}\.rom\OpenWithProgids" "${FILE_TYPE}"
  DeleteRegKey /ifempty HKCU "${CLASSES}\.rom\OpenWithProgids"
  DeleteRegKey /ifempty HKCU "${CLASSES}\.rom"
  DeleteRegKey HKCU "${CLASSES}\${FILE_TYPE}"
  DeleteRegKey HKCU "${CLASSES}\Applications\fenwright.exe"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
SectionEnd
