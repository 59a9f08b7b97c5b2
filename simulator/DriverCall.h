// The one gate through which the simulated firmware and the tests enter driver code. It watches what the
// Microsoft x64 convention and the firmware's own rules ask of the driver, and must not know what the called
// routine does.
#pragma once

#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "uefi/Base.h"

// What the gate does beyond comparing the preserved registers, which it always does.
struct DriverCallChecks {
  // Bytes of stack below the call that are painted and measured, a multiple of 16; 0 measures nothing.
  UINTN PaintBytes = 0;

  // Compares the upper halves of ymm0 to ymm15, which change only when AVX code runs.
  bool UpperVectors = false;
};

// Sets the checks of all calls from now on, nested ones included. UpperVectors holds only while host code
// leaves AVX alone (HostLeavesAvxAlone), because the driver calls the host back through the firmware's
// tables.
void SetDriverCallChecks(const DriverCallChecks &Checks);

// Calls Function with up to eight integer or pointer arguments in the Microsoft x64 convention (UEFI 2.10,
// section 2.3.4.2) and returns rax. Compares rbx, rbp, rdi, rsi, r12 to r15, xmm6 to xmm15, the control bits
// of MXCSR, the x87 control word and the direction flag with what they were; each breach is one
// ReportFault("Name: ..."). Calls nest; a call may also be left for good by a halt (HaltWatch.h).
UINT64 CallDriver(const char *Name, const void *Function, std::initializer_list<UINT64> Arguments);

// The same with Count arguments at Arguments.
UINT64 CallDriver(const char *Name, const void *Function, const UINT64 *Arguments, UINTN Count);

// From now on Copy receives, after every outermost call, the painted stack that it used as it left it, lowest
// byte first, before host code runs there; nothing where no stack is painted. NULL ends it.
void KeepDriverStack(std::vector<UINT8> *Copy);

// The next call enters the driver with the trap flag set; whoever takes SIGTRAP ends that (TimerInterrupt.h).
void TrapNextDriverCall();

// Bytes of stack that the deepest call of Name has used so far, return address included, with everything it
// called: firmware services, and driver calls nested in it, count as they would on a board. 0 when never
// measured; a value of PaintBytes means "at least".
UINT64 DeepestStack(const char *Name);

// All such figures by name, and their removal.
const std::map<std::string, UINT64, std::less<>> &DeepestStacks();
void ClearDeepestStacks();

// Forgets calls in progress that will never return, after their frames were left.
void AbandonDriverCalls();

// Whether this processor has AVX at all, and whether the host's C library runs without touching it.
bool HostHasAvx();
bool HostLeavesAvxAlone();

// Runs this program again with a C library told to leave AVX alone, which makes UpperVectors possible.
// Returns when there is nothing to do or it cannot be done. Call it first in main(); Arguments is its
// argument vector.
void RestartWithoutHostAvx(char **Arguments);
