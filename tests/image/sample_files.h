#pragma once

namespace fenwright::image {

/// The files of the tests, and records of them.
constexpr char kCodePath[] = "/home/files/prog.hex";
constexpr char kDataPath[] = "/home/files/prog.eep";
constexpr char kCode[] = ":020000000C945E\r\n:00000001FF\r\n";
constexpr char kEnd[] = ":00000001FF\r\n";
/// What the record of the run has of a line in the trace.
constexpr char kTrace[] = "append /app/_debug_avr.txt";

}  // namespace fenwright::image
