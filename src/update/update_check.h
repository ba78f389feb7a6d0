#pragma once

#include <cstdint>
#include <string_view>

namespace fenwright::update {

/// What is wrong with a file that can be no firmware image.
enum class ImageFault {
  None,
  NoDataRecord,   ///< there is nothing to send
  BrokenLine,     ///< no record, a wrong digit, a length that does not fit the byte count
  WrongChecksum,  ///< a record whose bytes do not add up
  UnusedAddress,  ///< an extended address other than 0, and data: an update does not follow it
  OddAddress,     ///< a data record that begins in the middle of a word
  DataAfterEnd,   ///< a data record behind the end record, which an update sends all the same
  Contradiction,  ///< a data record that gives an address another byte than one before
  NoEndRecord,    ///< no end record: the file may have been cut short
  NoWordToSend    ///< every word is skipped
};

/// What an update would do with a file, found before anything is sent.
struct ImageReport {
  ImageFault Fault = ImageFault::None;
  std::int32_t FaultLine = 0;  ///< line of the fault, counted from 1; 0 = the file as a whole
  std::int32_t WordsToSend = 0;
  std::int32_t WordsToSkip = 0;   ///< they lie in the loader's words, or beyond the board's memory
  std::int32_t FirstOddLine = 0;  ///< first data record with an odd byte count, 0 = none
};

/// Looks at the content of an update file, more strictly than an update itself does: what
/// image::CheckImage() says, and what a word of the board needs beyond that. The first fault is
/// reported. Blank lines are no fault.
ImageReport CheckImage(std::string_view content);

}  // namespace fenwright::update
