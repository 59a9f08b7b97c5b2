// Fills table members that the driver has no business calling: each ends the run with its own name.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

#include "simulator/Faults.h"
#include "uefi/Base.h"

template <size_t Length> struct RefusedName {
  constexpr RefusedName(const char (&Name)[Length]) { std::copy_n(Name, Length, Text); }
  char Text[Length];
};

// Never reads its arguments and never returns, so it serves for a member of any signature; the sanitizer
// that compares signatures has none of it to compare.
#ifdef __clang__
#define ANY_SIGNATURE __attribute__((no_sanitize("function")))
#else
#define ANY_SIGNATURE
#endif

template <RefusedName Name> [[noreturn]] ANY_SIGNATURE VOID EFIAPI RefuseCall() {
  AbortRun(std::string("the driver called ") + Name.Text + ", which it has no business calling");
}

#define REFUSE_MEMBER(Table, Member)                                                                         \
  (Table).Member = reinterpret_cast<decltype((Table).Member)>(reinterpret_cast<VOID *>(&RefuseCall<#Member>))
