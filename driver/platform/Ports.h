// Byte access to the processor's I/O ports, for the few devices that no
// firmware protocol reaches. It must not know what is behind a port.
#pragma once

#include "uefi/Base.h"

inline UINT8 ReadPort8(UINT16 Port) {
  UINT8 Value;
  __asm__ volatile("inb %1, %0" : "=a"(Value) : "Nd"(Port));
  return Value;
}

inline void WritePort8(UINT16 Port, UINT8 Value) {
  __asm__ volatile("outb %0, %1" : : "a"(Value), "Nd"(Port));
}
