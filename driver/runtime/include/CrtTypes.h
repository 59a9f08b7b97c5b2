/* The firmware integer names that the crypto library expects of a UEFI
   platform before its own headers. Included ahead of every library source;
   it must stay free of anything but types. */
#ifndef CRT_TYPES_H
#define CRT_TYPES_H

#include <stddef.h>
#include <stdint.h>

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

#define MAX_INTN INT64_MAX

#ifdef __cplusplus
#define CRT_BEGIN extern "C" {
#define CRT_END }
#else
#define CRT_BEGIN
#define CRT_END
#endif

#endif
