// A length decoder for 64-bit code and the search built on it. Must never read beyond the code it was given.
#include "simulator/ProcessorOpcodes.h"

#include <algorithm>

namespace {

struct PREFIXES {
  UINTN Length = 0;
  bool OperandSize = false;
  bool AddressSize = false;
  UINT8 Rex = 0;
};

bool IsLegacyPrefix(UINT8 Byte) {
  constexpr UINT8 All[] = {0x66, 0x67, 0xF0, 0xF2, 0xF3, 0x2E, 0x36, 0x3E, 0x26, 0x64, 0x65};
  return std::find(std::begin(All), std::end(All), Byte) != std::end(All);
}

PREFIXES ReadPrefixes(const UINT8 *Code, UINTN Available) {
  PREFIXES Found;
  while (Found.Length < Available && IsLegacyPrefix(Code[Found.Length])) {
    Found.OperandSize = Found.OperandSize || Code[Found.Length] == 0x66;
    Found.AddressSize = Found.AddressSize || Code[Found.Length] == 0x67;
    ++Found.Length;
  }
  if (Found.Length < Available && (Code[Found.Length] & 0xF0) == 0x40) {
    Found.Rex = Code[Found.Length++];
  }
  return Found;
}

// Bytes of ModRM, SIB and displacement; 0 when they are cut off.
UINTN AddressBytes(const UINT8 *Code, UINTN Available) {
  if (Available == 0) {
    return 0;
  }
  const UINT8 Mode = Code[0] >> 6;
  const UINT8 Memory = Code[0] & 7;
  UINTN Length = 1;
  if (Mode == 3) {
    return Length;
  }
  UINT8 Base = Memory;
  if (Memory == 4) {
    if (Available < 2) {
      return 0;
    }
    Base = Code[1] & 7;
    ++Length;
  }
  if (Mode == 1) {
    return Length + 1;
  }
  return Mode == 2 || Base == 5 ? Length + 4 : Length;
}

// What follows an opcode: whether ModRM does, and how many immediate bytes.
struct TAIL {
  bool Known = true;
  bool Address = false;
  UINTN Immediate = 0;
};

constexpr TAIL mUnknown = {false, false, 0};

bool Between(UINT8 Value, UINT8 First, UINT8 Last) {
  return Value >= First && Value <= Last;
}

TAIL OneByteTail(UINT8 Opcode, UINT8 Next, const PREFIXES &Prefixes) {
  const UINTN Wide = Prefixes.OperandSize && (Prefixes.Rex & 8) == 0 ? 2 : 4;
  if (Opcode < 0x40) {
    const UINT8 Form = Opcode & 7;
    return Form < 4    ? TAIL{true, true, 0}
           : Form == 4 ? TAIL{true, false, 1}
           : Form == 5 ? TAIL{true, false, Wide}
                       : mUnknown;
  }
  if (Between(Opcode, 0x50, 0x5F) || Between(Opcode, 0x6C, 0x6F) || Between(Opcode, 0xA4, 0xA7) ||
      Between(Opcode, 0xAA, 0xAF) || Between(Opcode, 0xEC, 0xEF) || Between(Opcode, 0xF8, 0xFD)) {
    return {};
  }
  if (Between(Opcode, 0x70, 0x7F) || Between(Opcode, 0xB0, 0xB7) || Between(Opcode, 0xE0, 0xE7)) {
    return {true, false, 1};
  }
  if (Between(Opcode, 0x84, 0x8F) || Between(Opcode, 0xD0, 0xD3) || Between(Opcode, 0xD8, 0xDF)) {
    return {true, true, 0};
  }
  if (Between(Opcode, 0x90, 0x9F)) {
    return Opcode == 0x9A ? mUnknown : TAIL{};
  }
  if (Between(Opcode, 0xA0, 0xA3)) {
    return {true, false, Prefixes.AddressSize ? UINTN{4} : UINTN{8}};
  }
  if (Between(Opcode, 0xB8, 0xBF)) {
    return {true, false, (Prefixes.Rex & 8) != 0 ? UINTN{8} : Wide};
  }
  const bool Test = (Next & 0x38) < 0x10; // In group 3 only `test` has an immediate operand.
  // clang-format off
  switch (Opcode) {
  case 0x63: case 0xFE: case 0xFF:
    return {true, true, 0};
  case 0x68: case 0xA9:
    return {true, false, Wide};
  case 0x69: case 0x81: case 0xC7:
    return {true, true, Wide};
  case 0x6B: case 0x80: case 0x83: case 0xC0: case 0xC1: case 0xC6:
    return {true, true, 1};
  case 0x6A: case 0xA8: case 0xCD: case 0xEB:
    return {true, false, 1};
  case 0xC2: case 0xCA:
    return {true, false, 2};
  case 0xC8:
    return {true, false, 3};
  case 0xC3: case 0xC9: case 0xCB: case 0xCC: case 0xCF: case 0xD7: case 0xF1: case 0xF4: case 0xF5:
    return {};
  case 0xE8: case 0xE9:
    return {true, false, 4};
  case 0xF6:
    return {true, true, Test ? UINTN{1} : UINTN{0}};
  case 0xF7:
    return {true, true, Test ? Wide : UINTN{0}};
  default:
    return mUnknown;
  }
  // clang-format on
}

bool HasByteImmediate(UINT8 Opcode) {
  return Between(Opcode, 0x70, 0x73) || Opcode == 0xA4 || Opcode == 0xAC || Opcode == 0xBA ||
         Opcode == 0xC2 || Between(Opcode, 0xC4, 0xC6);
}

// Map 0F.
TAIL TwoByteTail(UINT8 Opcode) {
  if (Between(Opcode, 0x80, 0x8F)) {
    return {true, false, 4};
  }
  if (Opcode == 0x05 || Opcode == 0x06 || Opcode == 0x08 || Opcode == 0x09 || Opcode == 0x0B ||
      Opcode == 0x0E || Between(Opcode, 0x30, 0x37) || Opcode == 0x77 || Between(Opcode, 0xA0, 0xA2) ||
      Between(Opcode, 0xA8, 0xAA) || Between(Opcode, 0xC8, 0xCF)) {
    return {};
  }
  return {true, true, HasByteImmediate(Opcode) ? UINTN{1} : UINTN{0}};
}

// VEX and EVEX: the opcode map is named in the prefix.
UINTN VectorLength(const UINT8 *Code, UINTN Available) {
  const UINTN PrefixBytes = Code[0] == 0xC5 ? 2 : Code[0] == 0xC4 ? 3 : 4;
  if (Available < PrefixBytes + 1) {
    return 0;
  }
  const UINT8 Map = Code[0] == 0xC5 ? 1 : Code[1] & (Code[0] == 0xC4 ? 0x1F : 0x07);
  const UINT8 Opcode = Code[PrefixBytes];
  const UINTN Before = PrefixBytes + 1;
  if (Map == 1 && Opcode == 0x77) {
    return Before;
  }
  const UINTN Address = AddressBytes(Code + Before, Available - Before);
  const UINTN Immediate = Map == 3 || (Map == 1 && HasByteImmediate(Opcode)) ? 1 : 0;
  return Map == 0 || Map > 3 || Address == 0 ? 0 : Before + Address + Immediate;
}

// Length in bytes of the 64-bit-mode instruction at Code, of which Available bytes may be read; 0 if it is
// not known (Intel 64 manual, volume 2, chapter 2 and appendix A).
UINTN InstructionLength(const UINT8 *Code, UINTN Available) {
  const PREFIXES Prefixes = ReadPrefixes(Code, Available);
  UINTN Length = Prefixes.Length;
  if (Length >= Available) {
    return 0;
  }
  const UINT8 First = Code[Length];
  if (First == 0xC4 || First == 0xC5 || First == 0x62) {
    const UINTN Rest = VectorLength(Code + Length, Available - Length);
    return Rest == 0 || Length + Rest > Available ? 0 : Length + Rest;
  }
  TAIL Tail;
  ++Length;
  if (First != 0x0F) {
    Tail = OneByteTail(First, Length < Available ? Code[Length] : UINT8{0}, Prefixes);
  } else if (Length < Available) {
    const UINT8 Second = Code[Length++];
    if (Second == 0x38 || Second == 0x3A) {
      ++Length;
      Tail = {true, true, Second == 0x3A ? UINTN{1} : UINTN{0}};
    } else {
      Tail = TwoByteTail(Second);
    }
  }
  if (Tail.Address && Length < Available) {
    const UINTN Address = AddressBytes(Code + Length, Available - Length);
    Tail.Known = Tail.Known && Address != 0;
    Length += Address;
  }
  Length += Tail.Immediate;
  return Tail.Known && Length <= Available ? Length : 0;
}

} // namespace

std::vector<ProcessorOpcodePlace> FindProcessorOpcodes(const UINT8 *Code, UINTN Size) {
  std::vector<ProcessorOpcodePlace> Places;
  for (UINTN Offset = 0; Offset < Size;) {
    const UINTN Length = InstructionLength(Code + Offset, Size - Offset);
    if (Length == 0) {
      break;
    }
    const PREFIXES Prefixes = ReadPrefixes(Code + Offset, Size - Offset);
    const UINT8 *Opcode = Code + Offset + Prefixes.Length;
    if (Length >= Prefixes.Length + 2 && Opcode[0] == 0x0F) {
      if (Opcode[1] == 0xA2 || Opcode[1] == 0x31) {
        Places.push_back(
            {Opcode[1] == 0xA2 ? ProcessorOpcode::Cpuid : ProcessorOpcode::TimeStamp, Offset, Length, 0, 0});
      } else if (Opcode[1] == 0xC7 && Opcode[2] >= 0xF0) {
        const UINTN Register = (Opcode[2] & 7) + ((Prefixes.Rex & 1) != 0 ? UINTN{8} : UINTN{0});
        const UINTN OperandBytes = (Prefixes.Rex & 8) != 0 ? 8 : Prefixes.OperandSize ? 2 : 4;
        Places.push_back({Opcode[2] < 0xF8 ? ProcessorOpcode::Rdrand : ProcessorOpcode::Rdseed, Offset,
                          Length, Register, OperandBytes});
      }
    }
    // A routine that begins by jumping ahead jumps over data which a sanitizer put there.
    const bool SkipsData = Offset == 0 && Code[0] == 0xEB && Code[1] < 0x80;
    Offset += SkipsData ? Length + Code[1] : Length;
  }
  return Places;
}
