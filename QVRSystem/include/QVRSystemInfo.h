// What machine and system the process runs on, and for whom.
#pragma once

#include <cstdint>
#include <string>

#include "QVRSystemExport.h"

/// Answers questions about the machine, its system and its user. Every call asks the system
/// anew. Nothing throws: a text that cannot be had is a fixed word, for lack of memory too,
/// and a number 0.
///
/// @par Thread safety
/// Any thread may call any operation; of PrintDetails() see there. What changes the
/// environment meanwhile is the caller's affair.
/// @par Cost
/// System calls; files are read by GetProcessorVendor(), GetProcessorModel(),
/// GetProcessorCount() and, in the user database, GetLoginName().
class QVRSYSTEM_API QVRSystemInfo {
 public:
  /// The machine's name; "UNKNOWN" where it cannot be had.
  static std::string GetHostName() noexcept;

  /// The name of the effective user in the user database; where there is none, "UKNOWN",
  /// spelled like this.
  static std::string GetLoginName() noexcept;

  /// The value of the environment variable USERDOMAIN, empty where it is not set.
  static std::string GetDomainName() noexcept;

  /// Always "UNKNOWN".
  static std::string GetOSKernelName() noexcept;

  /// Who made the first processor, in its own words, such as "GenuineIntel"; "UNKNOWN"
  /// where its description has none or cannot be read.
  static std::string GetProcessorVendor() noexcept;

  /// The first processor's model number in decimal, "0" where its description has none or
  /// cannot be read.
  static std::string GetProcessorModel() noexcept;

  /// Processors on line, whichever of them the process may use.
  static std::uint64_t GetProcessorCount() noexcept;

  /// In bytes.
  static std::uint64_t GetSystemPageSize() noexcept;

  /// The machine's memory in KiB, cut to 32 bits.
  static std::int32_t GetPhysicalMemorySize() noexcept;

  /// The process's address space in KiB, cut to 32 bits: its limit where one is set,
  /// otherwise that of the architecture.
  static std::int32_t GetVirtualMemorySize() noexcept;

  /// Ticks per second of the clock that the library uses: 1000, whatever the system's has.
  static std::uint64_t GetOSClockTicks() noexcept;

  /// The first three numbers of the system's release as "6.1.0", 0 for each that it lacks;
  /// "UNKNOWN" where it cannot be had. The two below give the first and the second alone.
  static std::string GetOSReleaseLevel() noexcept;
  static std::string GetOSMajorLevel() noexcept;
  static std::string GetOSMinorLevel() noexcept;

  /// Frames a report that is empty at present: blanks the format of QVRSystemTrace and puts
  /// it back, but writes no line. Lines that other threads trace meanwhile may lack their
  /// headers, and a format that another thread sets meanwhile may be lost.
  static void PrintDetails() noexcept;
};
