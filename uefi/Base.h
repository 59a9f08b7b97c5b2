// Base types, status codes and task priority levels of the firmware interface (UEFI 2.10, sections 2.3 and 4,
// appendices A and D), as C11 and C++20 both read them. Declares no routine, owns no data but GUID constants,
// and must not depend on any other header of the tree.
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef EFIAPI
#error "A second set of firmware base types is already defined in this translation unit."
#endif

typedef int8_t INT8;
typedef uint8_t UINT8;
typedef int16_t INT16;
typedef uint16_t UINT16;
typedef int32_t INT32;
typedef uint32_t UINT32;
typedef int64_t INT64;
typedef uint64_t UINT64;
typedef int64_t INTN;
typedef uint64_t UINTN;

typedef void VOID;
typedef uint8_t BOOLEAN;
typedef char CHAR8;
#ifdef __cplusplus
typedef char16_t CHAR16;
#else
typedef uint16_t CHAR16;
#endif

#define TRUE ((BOOLEAN)1)
#define FALSE ((BOOLEAN)0)

typedef UINTN EFI_STATUS;
typedef UINTN EFI_TPL;
typedef VOID *EFI_HANDLE;
typedef VOID *EFI_EVENT;
typedef UINT64 EFI_PHYSICAL_ADDRESS;
typedef UINT64 EFI_VIRTUAL_ADDRESS;

// Data1 to Data3 are little-endian in memory, Data4 is a byte string.
typedef struct {
  UINT32 Data1;
  UINT16 Data2;
  UINT16 Data3;
  UINT8 Data4[8];
} EFI_GUID;

// clang-format off
#define EFI_GUID_INITIALIZER(Data1, Data2, Data3, ...) { Data1, Data2, Data3, { __VA_ARGS__ } }
// clang-format on

// The calling convention of every routine that crosses the interface (UEFI 2.10, section 2.3.4.2). A target
// whose own convention it is needs no mark.
#if defined(__x86_64__) && !defined(_WIN32)
#define EFIAPI __attribute__((ms_abi))
#else
#define EFIAPI
#endif

// Status codes (UEFI 2.10, appendix D): errors have the top bit set, warnings and success do not.
#define EFI_ERROR(Status) (((EFI_STATUS)(Status) >> 63) != 0)
#define EFI_ERROR_STATUS(Code) ((EFI_STATUS)(0x8000000000000000 | (Code)))
#define EFI_WARNING_STATUS(Code) ((EFI_STATUS)(Code))

#define EFI_SUCCESS ((EFI_STATUS)0)
#define EFI_LOAD_ERROR EFI_ERROR_STATUS(1)
#define EFI_INVALID_PARAMETER EFI_ERROR_STATUS(2)
#define EFI_UNSUPPORTED EFI_ERROR_STATUS(3)
#define EFI_BAD_BUFFER_SIZE EFI_ERROR_STATUS(4)
#define EFI_BUFFER_TOO_SMALL EFI_ERROR_STATUS(5)
#define EFI_NOT_READY EFI_ERROR_STATUS(6)
#define EFI_DEVICE_ERROR EFI_ERROR_STATUS(7)
#define EFI_WRITE_PROTECTED EFI_ERROR_STATUS(8)
#define EFI_OUT_OF_RESOURCES EFI_ERROR_STATUS(9)
#define EFI_VOLUME_CORRUPTED EFI_ERROR_STATUS(10)
#define EFI_VOLUME_FULL EFI_ERROR_STATUS(11)
#define EFI_NO_MEDIA EFI_ERROR_STATUS(12)
#define EFI_MEDIA_CHANGED EFI_ERROR_STATUS(13)
#define EFI_NOT_FOUND EFI_ERROR_STATUS(14)
#define EFI_ACCESS_DENIED EFI_ERROR_STATUS(15)
#define EFI_NO_RESPONSE EFI_ERROR_STATUS(16)
#define EFI_NO_MAPPING EFI_ERROR_STATUS(17)
#define EFI_TIMEOUT EFI_ERROR_STATUS(18)
#define EFI_NOT_STARTED EFI_ERROR_STATUS(19)
#define EFI_ALREADY_STARTED EFI_ERROR_STATUS(20)
#define EFI_ABORTED EFI_ERROR_STATUS(21)
#define EFI_ICMP_ERROR EFI_ERROR_STATUS(22)
#define EFI_TFTP_ERROR EFI_ERROR_STATUS(23)
#define EFI_PROTOCOL_ERROR EFI_ERROR_STATUS(24)
#define EFI_INCOMPATIBLE_VERSION EFI_ERROR_STATUS(25)
#define EFI_SECURITY_VIOLATION EFI_ERROR_STATUS(26)
#define EFI_CRC_ERROR EFI_ERROR_STATUS(27)
#define EFI_END_OF_MEDIA EFI_ERROR_STATUS(28)
#define EFI_END_OF_FILE EFI_ERROR_STATUS(31)
#define EFI_INVALID_LANGUAGE EFI_ERROR_STATUS(32)
#define EFI_COMPROMISED_DATA EFI_ERROR_STATUS(33)
#define EFI_IP_ADDRESS_CONFLICT EFI_ERROR_STATUS(34)
#define EFI_HTTP_ERROR EFI_ERROR_STATUS(35)

#define EFI_WARN_UNKNOWN_GLYPH EFI_WARNING_STATUS(1)
#define EFI_WARN_DELETE_FAILURE EFI_WARNING_STATUS(2)
#define EFI_WARN_WRITE_FAILURE EFI_WARNING_STATUS(3)
#define EFI_WARN_BUFFER_TOO_SMALL EFI_WARNING_STATUS(4)
#define EFI_WARN_STALE_DATA EFI_WARNING_STATUS(5)
#define EFI_WARN_FILE_SYSTEM EFI_WARNING_STATUS(6)
#define EFI_WARN_RESET_REQUIRED EFI_WARNING_STATUS(7)

// Task priority levels (UEFI 2.10, section 7.1).
#define TPL_APPLICATION ((EFI_TPL)4)
#define TPL_CALLBACK ((EFI_TPL)8)
#define TPL_NOTIFY ((EFI_TPL)16)
#define TPL_HIGH_LEVEL ((EFI_TPL)31)

// Header of every firmware table. CRC32 covers HeaderSize bytes with the field itself taken as 0.
typedef struct {
  UINT64 Signature;
  UINT32 Revision;
  UINT32 HeaderSize;
  UINT32 CRC32;
  UINT32 Reserved;
} EFI_TABLE_HEADER;

// Calendar time (UEFI 2.10, section 8.3). TimeZone counts minutes that local time lies behind UTC.
typedef struct {
  UINT16 Year;
  UINT8 Month;
  UINT8 Day;
  UINT8 Hour;
  UINT8 Minute;
  UINT8 Second;
  UINT8 Pad1;
  UINT32 Nanosecond;
  INT16 TimeZone;
  UINT8 Daylight;
  UINT8 Pad2;
} EFI_TIME;

#define EFI_TIME_ADJUST_DAYLIGHT 0x01
#define EFI_TIME_IN_DAYLIGHT 0x02
#define EFI_UNSPECIFIED_TIMEZONE 0x07FF

// Resolution in counts per second, Accuracy in parts per 10^12.
typedef struct {
  UINT32 Resolution;
  UINT32 Accuracy;
  BOOLEAN SetsToZero;
} EFI_TIME_CAPABILITIES;
