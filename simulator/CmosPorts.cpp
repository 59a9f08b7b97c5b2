// Decodes the port instruction that faulted and plays the clock chip. Must not take any other fault for a
// port access.
#include "simulator/CmosPorts.h"

#include <cstdio>

#include "simulator/Faults.h"

namespace {

constexpr UINT16 mIndexPort = 0x70;
constexpr UINT16 mDataPort = 0x71;

CmosPorts *mLiving = nullptr;

struct PORT_INSTRUCTION {
  UINTN Length = 0; // 0 if the bytes are no port instruction.
  bool Write = false;
  UINTN Bytes = 1; // Width of the access; 0 for the string forms.
  bool Immediate = false;
};

// `in`, `out`, `ins`, `outs` in all their forms (prefixes as far as they occur with them).
PORT_INSTRUCTION Decode(const UINT8 *Code) {
  PORT_INSTRUCTION Found;
  bool Word = false;
  while (*Code == 0x66 || *Code == 0xF2 || *Code == 0xF3 || (*Code & 0xF0) == 0x40) {
    Word = Word || *Code == 0x66;
    ++Found.Length;
    ++Code;
  }
  const bool Plain = (*Code & 0xF4) == 0xE4;
  const bool String = (*Code & 0xFC) == 0x6C;
  if (!Plain && !String) {
    return PORT_INSTRUCTION();
  }
  Found.Write = (*Code & 0x02) != 0;
  Found.Immediate = Plain && (*Code & 0x08) == 0;
  Found.Bytes = String ? 0 : (*Code & 0x01) == 0 ? 1 : Word ? 2 : 4;
  Found.Length += Found.Immediate ? 2 : 1;
  return Found;
}

UINT8 Bcd(UINTN Value) {
  return static_cast<UINT8>(Value / 10 % 10 * 16 + Value % 10);
}

[[noreturn]] void Refuse(const PORT_INSTRUCTION &Instruction, UINT16 Port) {
  char Text[96];
  std::snprintf(Text, sizeof(Text), "the driver may not %s port 0x%x (%s access)",
                Instruction.Write ? "write" : "read", Port,
                Instruction.Bytes == 1   ? "byte"
                : Instruction.Bytes == 0 ? "string"
                                         : "wide");
  AbortRun(Text);
}

} // namespace

CmosPorts::CmosPorts() : Handler_(SIGSEGV, OnProtectionFault) {
  mLiving = this;
  EFI_TIME Time = {};
  Time.Year = 2024;
  Time.Month = 2;
  Time.Day = 29;
  Time.Hour = 12;
  Time.Minute = 34;
  Time.Second = 56;
  SetClock(Time);
}

CmosPorts::~CmosPorts() {
  mLiving = nullptr;
}

void CmosPorts::SetClock(const EFI_TIME &Time) {
  Cells_[0x00] = Bcd(Time.Second);
  Cells_[0x02] = Bcd(Time.Minute);
  Cells_[0x04] = Bcd(Time.Hour);
  Cells_[0x07] = Bcd(Time.Day);
  Cells_[0x08] = Bcd(Time.Month);
  Cells_[0x09] = Bcd(Time.Year);
}

void CmosPorts::Write(UINT16 Port, UINT8 Value) {
  Log_.push_back({Port, true, Value});
  if (Port == mIndexPort) {
    // The top bit masks the non-maskable interrupt and is no part of the index.
    Index_ = Value & 0x7F;
  } else {
    Cells_[Index_] = Value;
  }
}

UINT8 CmosPorts::Read(UINT16 Port) {
  Log_.push_back({Port, false, Cells_[Index_]});
  return Cells_[Index_];
}

bool CmosPorts::OnProtectionFault(const siginfo_t &Information, ucontext_t &Context) {
  // A port instruction without the right to it is a general protection fault, which has no address; the
  // instruction was fetched, so its bytes can be read.
  if (Information.si_code != SI_KERNEL || mLiving == nullptr) {
    return false;
  }
  greg_t *Registers = Context.uc_mcontext.gregs;
  const UINT8 *Code = reinterpret_cast<const UINT8 *>(Registers[REG_RIP]);
  const PORT_INSTRUCTION Instruction = Decode(Code);
  if (Instruction.Length == 0) {
    return false;
  }
  const UINT16 Port =
      Instruction.Immediate ? Code[Instruction.Length - 1] : static_cast<UINT16>(Registers[REG_RDX]);
  const bool Allowed = Port == mDataPort || (Port == mIndexPort && Instruction.Write);
  if (!Allowed || Instruction.Bytes != 1) {
    Refuse(Instruction, Port);
  }
  if (Instruction.Write) {
    mLiving->Write(Port, static_cast<UINT8>(Registers[REG_RAX]));
  } else {
    Registers[REG_RAX] = (Registers[REG_RAX] & ~greg_t{0xFF}) | mLiving->Read(Port);
  }
  Registers[REG_RIP] += static_cast<greg_t>(Instruction.Length);
  return true;
}
