#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/serial_control.h"
#include "platform/text_files.h"
#include "screen/outcome.h"

namespace fenwright::core {

/// Value of a blank memory cell, in the buffers and in the chips.
inline constexpr std::uint8_t kBlank = 0xFF;

/// Last valid index of each buffer; the buffers have one element more.
inline constexpr std::int32_t kFlashBufferLast = 65536;
inline constexpr std::int32_t kEepromBufferLast = 2048;

/// The commands that work on the chip.
enum class DeviceOperation { None, Program, Read, Verify, Erase, ReadFuses, WriteFuses };

/// What a command on the chip does one after the other.
enum class Phase {
  None,  ///< none of them has begun
  Erase,
  WriteFlash,
  WriteEeprom,
  VerifyFlash,
  VerifyEeprom,
  ReadFlash,
  ReadEeprom,
  ReadFuses,
};

/// What the last search for a board on the port came to.
enum class Detection {
  NotMade,
  NoAnswer,           ///< no whole version line in time
  OtherDevice,        ///< an answer, but none of a supported board
  VersionUnreadable,  ///< a supported board whose version is no number
  FirmwareTooOld,
  Accepted,
};

/// A fuse or lock byte that went over the line.
struct FuseTransfer {
  std::string Name;  ///< "Fuse", "High", "Lock"; "Lock/Fuse" for a combined byte
  std::uint8_t Value = 0;

  bool operator==(const FuseTransfer&) const = default;
};

/// What kind of failure `CommandRecord::LastFailure` tells of.
enum class FailureKind {
  None,
  NoReply,      ///< the board did not answer in time
  WrongReply,   ///< the board answered something else than an acknowledgement
  PortGone,     ///< the line was lost: unplugged, hung up
  NoSignature,  ///< the chip does not answer: not seated, locked, or none
  OtherChip,    ///< the chip in the socket is not the selected device
};

/// A cell of the chip that a verify found to hold something else than its buffer.
struct Difference {
  bool InFlash = true;
  std::int32_t Address = 0;    ///< in words, in the EEPROM in bytes
  std::uint16_t Expected = 0;  ///< of a word the high byte first
  std::uint16_t Found = 0;
};

/// Where the content of a buffer comes from.
enum class ContentSource {
  Nothing,       ///< nowhere: it is blank since the start
  File,          ///< a file was loaded to its end
  FileInPart,    ///< a file was loaded, but not to its end
  MissingFile,   ///< a file should have been loaded and was not there
  SavedFile,     ///< wherever it came from, it was saved to a file since
  Chip,          ///< the chip was read
  ChipInPart,    ///< a read of the chip broke off
  DeviceChange,  ///< another device was picked, which blanks it
  Cleared,       ///< the user has cleared it
};

/// What is known about the content of a buffer: see image/buffer_content.h.
struct BufferContent {
  ContentSource Source = ContentSource::Nothing;
  std::string Path;                  ///< of that file
  bool Edited = false;               ///< cells were changed by hand since
  std::vector<std::uint8_t> Noted;   ///< the buffer when this was noted, empty = at the start
  std::string InFilePath;            ///< the last file that was loaded, or saved under its name
  std::vector<std::uint8_t> InFile;  ///< what it holds, empty = not known
  std::vector<std::uint8_t> Kept;    ///< what was last loaded from any file, or saved to one
};

/// What the running command, or else the last one, has done so far. It is kept beside the error
/// flag so that a failure, or a stop, can say in words what state the chip is in. Every command
/// starts with a new one, by one assignment.
struct CommandRecord {
  DeviceOperation Operation = DeviceOperation::None;  ///< None for a command without a chip
  Phase RunningPhase = Phase::None;                   ///< the one that began last
  bool LinkReady = false;                   ///< the board was found and has accepted the device
  bool InProgrammingMode = false;           ///< the board was told to enter programming mode
  std::string LastFailure;                  ///< what last failed: an exchange, or the signature
  FailureKind Failure = FailureKind::None;  ///< of which kind that was
  bool NoticeShown = false;                 ///< the last message was a notice, no busy text
  screen::Outcome Outcome = screen::Outcome::None;  ///< the sign shown last
  std::string OutcomeReason;                        ///< why, "" = nothing to add
  std::string SocketCause;  ///< what is in the socket in place of the selected chip
  bool EraseStarted = false;
  bool Erased = false;
  bool FlashStarted = false;
  bool FlashWordSent = false;  ///< a word went over the line, acknowledged or not
  bool FlashFailed = false;
  std::int32_t FlashWordsWritten = 0;  ///< words acknowledged before the first failure
  bool EepromStarted = false;
  bool EepromByteSent = false;  ///< likewise a byte that is not blank
  bool EepromFailed = false;
  std::int32_t EepromBytesDone = 0;     ///< bytes written or skipped before the first failure
  bool NothingToProgram = false;        ///< both buffers were blank
  std::vector<Difference> Differences;  ///< in the order in which they were found
  bool VerifyFinished = false;      ///< both memories were compared without a communication error
  std::int32_t FlashWordsRead = 0;  ///< words read into the buffer before a time-out
  bool ReadFinished = false;        ///< both memories were read without a communication error
  std::vector<FuseTransfer> FuseBytes;  ///< bytes read, or written and acknowledged, in order
  bool FuseWriteStarted = false;        ///< a command that writes fuse or lock bits was sent
  std::int32_t FuseWriteCount = 0;      ///< bytes that the write consists of
  bool ResetPinGivenAway = false;       ///< a fuse byte that takes the reset pin was sent
  bool FusesFinished = false;           ///< all of them were read or written
  double FlashWriteSeconds = 0;         ///< time from the first word written to the last
  double FlashVerifySeconds = 0;        ///< time from the first word read back to the last
};

/// What became of the content that a file had before it was saved over.
struct OldContent {
  std::string Copy;              ///< the path of a copy, "" = there is none
  platform::FileResult Refusal;  ///< why there is none, where one was wanted
};

/// The one state record of a run. One thread uses it.
struct AppState {
  // Working bytes of the fuse and lock bits. They keep what they last held: see fuse/fuse_model.h.
  std::uint8_t FuseByte = 0;      ///< fuse byte composed or read; low, then high on the ATtiny26L
  std::uint8_t LockByte = 0;      ///< lock byte composed or read
  std::uint8_t LockFuseByte = 0;  ///< combined byte that some AT90S chips give
  std::vector<std::uint8_t> CalibrationBytes;  ///< as last read, empty = never

  // The selected device; 0 until a device has been applied, and for a name that is in no row.
  std::int32_t FlashWords = 0;
  std::int32_t EepromBytes = 0;
  std::uint8_t DeviceCode = 0;

  /// Flash word w has its high byte at 2w and its low byte at 2w + 1, the reverse of a HEX file.
  std::vector<std::uint8_t> FlashBuffer =
      std::vector<std::uint8_t>(kFlashBufferLast + 1, std::uint8_t{0});
  /// EEPROM byte a is at index a.
  std::vector<std::uint8_t> EepromBuffer =
      std::vector<std::uint8_t>(kEepromBufferLast + 1, std::uint8_t{0});

  std::string CodeFileName;        ///< code file last opened, "" = none
  std::string DataFileName;        ///< data file last opened, "" = none
  std::string CodeSaveFileName;    ///< where the code file is written
  std::string DataSaveFileName;    ///< where the data file is written
  std::string AppFolder;           ///< folder of trace, dumps and report, ending in a separator
  std::string CommandArgument;     ///< first command-line argument, or ""
  std::string SupportPageAddress;  ///< set when the about box is loaded
  std::string LineText;            ///< scratch line of the file readers

  /// Set for good when a HEX file ended at a bad line: see image/hex_reader.h.
  bool HexFileLeftOpen = false;

  /// 0 = no error, 1 = no or wrong reply, wrong chip or wrong digit, 2 = board firmware too old.
  /// Commands set it and never clear it; whoever starts a sequence clears it.
  std::int16_t LinkError = 0;

  double WaitStart = 0;                  ///< seconds since midnight; shared by every wait and pause
  double OperationStartTime = 0;         ///< start of the command; afterwards its whole seconds
  std::array<std::uint8_t, 1> TxByte{};  ///< one argument byte on its way out
  std::vector<std::uint8_t> RxBuf = std::vector<std::uint8_t>(11, std::uint8_t{0});  ///< the reply

  std::string StatusText;                                ///< text of status panel 1
  std::string MessageText;                               ///< text last put into the message dialog
  screen::Outcome ShownOutcome = screen::Outcome::None;  ///< the sign in status panel 1
  double FirmwareVersion = 0;                            ///< the board's version, 0 = not read
  std::string FirmwareVersionText;  ///< first 16 characters of the version reply
  Detection LastDetection = Detection::NotMade;

  bool SignatureFailed = false;         ///< the last signature session ended with LinkError = 1
  std::int16_t DetectedFlashWords = 0;  ///< flash size that the chip's signature stands for
  std::int32_t FlashProgramCount = 0;   ///< last non-blank flash word + 1
  std::int32_t EepromProgramCount = 0;  ///< last EEPROM byte that is not 0xFF, + 1
  bool VerifyStandalone = false;        ///< the verify command runs, not programming
  bool ReloadInProgress = false;        ///< the reload command runs
  bool FlashNG = false;                 ///< the verify run found a differing flash word
  bool EepromNG = false;                ///< the verify run found a differing EEPROM byte

  /// 1 after an OK button of the message dialog, 2 after CANCEL. No operation reads it.
  std::int16_t CancelRequested = 0;

  // What the front ends need beside the flags above.
  bool CommandRunning = false;  ///< a command is on the stack; no other may start
  bool StopRequested = false;   ///< the program is to end: no further exchange may start
  CommandRecord Command;
  platform::FileResult FlashDumpRefusal;   ///< why the flash's dump was not written last, if so
  platform::FileResult EepromDumpRefusal;  ///< likewise of the EEPROM's
  /// What was kept of the files that were saved over in this run, by their paths as last saved to.
  std::map<std::string, OldContent, std::less<>> OldContents;
  BufferContent CodeContent;  ///< of the flash buffer
  BufferContent DataContent;  ///< of the EEPROM buffer
  std::string CodeInfo;       ///< what the window says about the code file in the flash buffer
  std::string DataInfo;       ///< likewise about the data file in the EEPROM buffer
  std::string CodeDoubt;      ///< what speaks against programming that code file, "" = nothing
  std::string DataDoubt;      ///< likewise for the data file
  platform::PortOpenResult LastPortOpen;  ///< outcome of the last opening of the port
};

}  // namespace fenwright::core
