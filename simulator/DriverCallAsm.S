// The gate between host code (System V convention) and driver code (Microsoft x64 convention): the checked
// call, the stubs of the checked service table, and the scan of painted stack. Judges nothing and must not
// call back into the host while driver registers are live; DriverCall.cpp compares what is recorded here.

  .intel_syntax noprefix

// Offsets in DRIVER_CALL, asserted in DriverCall.cpp.
#define CALL_FUNCTION 0
#define CALL_ARGUMENTS 8
#define CALL_PAINT_BYTES 72
#define CALL_UPPER_VECTORS 80
#define CALL_STACK_TOP 88
#define CALL_LOWEST 96
#define CALL_RESULT 104
#define CALL_INTEGERS 112
#define CALL_FLAGS 176
#define CALL_MXCSR_BEFORE 184
#define CALL_MXCSR_AFTER 188
#define CALL_X87_BEFORE 192
#define CALL_X87_AFTER 194
#define CALL_VECTORS 208
#define CALL_OUTER_UPPER 720
#define CALL_STACK_COPY 976
#define CALL_TRAP 984

// Frame: 32 bytes of home space and four stack arguments for the driver, then the record's address.
#define FRAME_BYTES 88
#define FRAME_RECORD 64

#define PAINT 0x5AA5C33C0FF07EE7

#define ALL_VECTORS 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15
#define SAVED_VECTORS 6, 7, 8, 9, 10, 11, 12, 13, 14, 15

  .text

// UINT64 DriverCallGate(DRIVER_CALL *Call)
  .globl DriverCallGate
  .type DriverCallGate, @function
DriverCallGate:
  .cfi_startproc
  .irp Register, rbp, rbx, r12, r13, r14, r15
  push \Register
  .cfi_adjust_cfa_offset 8
  .cfi_rel_offset \Register, 0
  .endr
  sub rsp, FRAME_BYTES
  .cfi_adjust_cfa_offset FRAME_BYTES
  mov [rsp + FRAME_RECORD], rdi
  mov [rdi + CALL_STACK_TOP], rsp
  stmxcsr [rdi + CALL_MXCSR_BEFORE]
  fnstcw [rdi + CALL_X87_BEFORE]

  mov r10, rdi
  mov rcx, [r10 + CALL_PAINT_BYTES]
  mov rdi, rsp
  sub rdi, rcx
  shr rcx, 3
  movabs rax, PAINT
  rep stosq

  mov rdi, r10
  lea rax, [rip + mDriverCallVectors]
  cmp dword ptr [rdi + CALL_UPPER_VECTORS], 0
  je 1f
  .irp Number, ALL_VECTORS
  vextractf128 [rdi + CALL_OUTER_UPPER + 16 * \Number], ymm\Number, 1
  vmovups ymm\Number, [rax + 32 * \Number]
  .endr
  jmp 2f
1:
  .irp Number, SAVED_VECTORS
  movups xmm\Number, [rax + 32 * \Number]
  .endr
2:
  .irp Slot, 4, 5, 6, 7
  mov rax, [rdi + CALL_ARGUMENTS + 8 * \Slot]
  mov [rsp + 8 * \Slot], rax
  .endr
  mov r10, [rdi + CALL_FUNCTION]
  mov rcx, [rdi + CALL_ARGUMENTS]
  mov rdx, [rdi + CALL_ARGUMENTS + 8]
  mov r8, [rdi + CALL_ARGUMENTS + 16]
  mov r9, [rdi + CALL_ARGUMENTS + 24]
  lea rax, [rip + mDriverCallIntegers]
  mov rbx, [rax]
  mov rbp, [rax + 8]
  mov rdi, [rax + 16]
  mov rsi, [rax + 24]
  mov r12, [rax + 32]
  mov r13, [rax + 40]
  mov r14, [rax + 48]
  mov r15, [rax + 56]
  mov rax, [rsp + FRAME_RECORD]
  cmp qword ptr [rax + CALL_TRAP], 0
  je 6f
  pushfq
  or qword ptr [rsp], 0x100
  popfq
6:
  call r10

  mov r10, [rsp + FRAME_RECORD]
  mov [r10 + CALL_RESULT], rax
  pushfq
  pop qword ptr [r10 + CALL_FLAGS]
  cld
  mov [r10 + CALL_INTEGERS], rbx
  mov [r10 + CALL_INTEGERS + 8], rbp
  mov [r10 + CALL_INTEGERS + 16], rdi
  mov [r10 + CALL_INTEGERS + 24], rsi
  mov [r10 + CALL_INTEGERS + 32], r12
  mov [r10 + CALL_INTEGERS + 40], r13
  mov [r10 + CALL_INTEGERS + 48], r14
  mov [r10 + CALL_INTEGERS + 56], r15
  stmxcsr [r10 + CALL_MXCSR_AFTER]
  fnstcw [r10 + CALL_X87_AFTER]
  ldmxcsr [r10 + CALL_MXCSR_BEFORE]
  fldcw [r10 + CALL_X87_BEFORE]
  cmp dword ptr [r10 + CALL_UPPER_VECTORS], 0
  je 3f
  .irp Number, ALL_VECTORS
  vmovups [r10 + CALL_VECTORS + 32 * \Number], ymm\Number
  vinsertf128 ymm\Number, ymm\Number, [r10 + CALL_OUTER_UPPER + 16 * \Number], 1
  .endr
  jmp 4f
3:
  .irp Number, SAVED_VECTORS
  movups [r10 + CALL_VECTORS + 32 * \Number], xmm\Number
  .endr
4:
  mov rsi, rsp
  mov rdi, rsp
  sub rdi, [r10 + CALL_PAINT_BYTES]
  call DriverStackLowest
  mov r10, [rsp + FRAME_RECORD]
  mov [r10 + CALL_LOWEST], rax
  mov rdi, [r10 + CALL_STACK_COPY]
  test rdi, rdi
  jz 5f
  mov rsi, rax
  mov rcx, rsp
  sub rcx, rsi
  rep movsb
5:
  mov rax, [r10 + CALL_RESULT]

  add rsp, FRAME_BYTES
  .cfi_adjust_cfa_offset -FRAME_BYTES
  .irp Register, r15, r14, r13, r12, rbx, rbp
  pop \Register
  .cfi_adjust_cfa_offset -8
  .cfi_restore \Register
  .endr
  ret
  .cfi_endproc
  .size DriverCallGate, . - DriverCallGate

// UINT64 DriverStackLowest(UINT64 Bottom, UINT64 Top): the lowest quadword of [Bottom, Top) without paint,
// else Top. In assembler because host instrumentation takes reads below the stack pointer for faults.
  .globl DriverStackLowest
  .type DriverStackLowest, @function
DriverStackLowest:
  .cfi_startproc
  movabs rdx, PAINT
  mov rax, rdi
1:
  cmp rax, rsi
  jae 2f
  cmp [rax], rdx
  jne 3f
  add rax, 8
  jmp 1b
2:
  mov rax, rsi
3:
  ret
  .cfi_endproc
  .size DriverStackLowest, . - DriverStackLowest

// 62 stubs of 16 bytes each, entered in the Microsoft convention: they hand their number and a copy of eight
// argument slots to UINT64 CheckedServiceCall(UINT32 Slot, const UINT64 *Arguments).
#define STUB_FRAME 232

  .globl CheckedServiceStubs
  .type CheckedServiceStubs, @function
  .balign 16
CheckedServiceStubs:
  .set StubNumber, 0
  .rept 62
  .balign 16
  mov eax, offset StubNumber
  jmp CheckedServiceCommon
  .set StubNumber, StubNumber + 1
  .endr
  .size CheckedServiceStubs, . - CheckedServiceStubs

  .type CheckedServiceCommon, @function
CheckedServiceCommon:
  .cfi_startproc
  push rdi
  .cfi_adjust_cfa_offset 8
  .cfi_rel_offset rdi, 0
  push rsi
  .cfi_adjust_cfa_offset 8
  .cfi_rel_offset rsi, 0
  sub rsp, STUB_FRAME
  .cfi_adjust_cfa_offset STUB_FRAME
  .irp Number, SAVED_VECTORS
  movups [rsp + 64 + 16 * (\Number - 6)], xmm\Number
  .endr
  mov [rsp], rcx
  mov [rsp + 8], rdx
  mov [rsp + 16], r8
  mov [rsp + 24], r9
  .irp Slot, 4, 5, 6, 7
  mov rcx, [rsp + STUB_FRAME + 16 + 8 + 8 * \Slot]
  mov [rsp + 8 * \Slot], rcx
  .endr
  mov edi, eax
  mov rsi, rsp
  call CheckedServiceCall@PLT
  .irp Number, SAVED_VECTORS
  movups xmm\Number, [rsp + 64 + 16 * (\Number - 6)]
  .endr
  add rsp, STUB_FRAME
  .cfi_adjust_cfa_offset -STUB_FRAME
  pop rsi
  .cfi_adjust_cfa_offset -8
  .cfi_restore rsi
  pop rdi
  .cfi_adjust_cfa_offset -8
  .cfi_restore rdi
  ret
  .cfi_endproc
  .size CheckedServiceCommon, . - CheckedServiceCommon

  .section .note.GNU-stack, "", @progbits
