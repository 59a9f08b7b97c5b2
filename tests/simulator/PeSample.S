// A small but whole driver image, linked by lld-link: the loader's tests damage it, the machine's tests run the
// routines in it, each of which does one thing to the processor. Arguments come in rcx, rdx, r8, r9; every
// routine but Halt returns.

  .intel_syntax noprefix

  .macro routine Name
  .balign 16, 0xCC
  .globl \Name
\Name:
  .endm

// Two relocated pointers, then room that reaches into a second page, beyond the file's bytes.
  .data
Data:
  .quad Entry, Data + 16
  .bss
  .space 0x1700

  .section .rdata, "dr"
  .quad 0x1122334455667788

  .text

  routine Entry; lea rax, [rcx + rdx]; ret

  routine BadDigits // Eight arguments as hexadecimal digits, the first one leading; r13 is not kept.
  mov rax, rcx
  .irp Register, rdx, r8, r9
  shl rax, 4; add rax, \Register
  .endr
  .irp Slot, 4, 5, 6, 7
  shl rax, 4; add rax, [rsp + 8 + 8 * \Slot]
  .endr
  xor r13, r13; ret

  routine CmosRead; mov al, cl; mov dx, 0x70; out dx, al; inc dx; in al, dx; movzx eax, al; ret
  routine CmosReadImmediate; mov rax, rcx; out 0x70, al; in al, 0x71; ret
  routine CmosWrite; mov al, cl; out 0x70, al; mov al, dl; out 0x71, al; ret
  routine PortIn; mov dx, cx; in al, dx; ret
  routine PortOut; mov dx, cx; out dx, al; ret
  routine PortInWide; mov dx, cx; in eax, dx; ret
  routine PortInString; mov dx, cx; rep insb; ret
  routine ReadNowhere; xor eax, eax; mov rax, [rax]; ret

  routine Halt
  sub rsp, 24; mov qword ptr [rsp], 0
  1: mov rax, [rsp]; test rax, rax; je 1b
  add rsp, 24; ret
  routine CountDown; 1: dec rcx; jne 1b; ret
  routine CountOnStack; push 0; 1: inc qword ptr [rsp]; cmp [rsp], rcx; jb 1b; pop rax; ret
  routine Fill // rdx bytes at rcx, r8 times.
  push rdi; mov r9, rcx
  1: mov rdi, r9; mov rcx, rdx; xor eax, eax; rep stosb; dec r8; jne 1b
  pop rdi; ret

// What the convention wants kept, under the names by which the gate reports it.
  .irp Register, rbx, rbp, rdi, rsi, r12, r13, r14, r15
  routine Break_\Register; xor \Register, \Register; ret
  .endr
  .irp Register, xmm6, xmm7, xmm8, xmm9, xmm10, xmm11, xmm12, xmm13, xmm14, xmm15
  routine Break_\Register; xorps \Register, \Register; ret
  .endr
  routine Break_MXCSR // Flush to zero.
  stmxcsr [rsp + 8]; or byte ptr [rsp + 9], 0x80; ldmxcsr [rsp + 8]; ret
  routine Break_x87; fnstcw [rsp + 8]; and byte ptr [rsp + 9], 0xFC; fldcw [rsp + 8]; ret // Single precision.
  routine Break_flags; std; ret // The direction.

  routine UseVolatile
  .irp Register, rax, rcx, rdx, r8, r9, r10, r11
  xor \Register, \Register
  .endr
  .irp Register, xmm0, xmm1, xmm2, xmm3, xmm4, xmm5
  xorps \Register, \Register
  .endr
  stmxcsr [rsp + 8]; or byte ptr [rsp + 8], 0x20; ldmxcsr [rsp + 8]; ret // The flag of inexact results.
  routine Break_ymm0; vxorps ymm0, ymm0, ymm0; ret
  routine Break_ymm9; vxorps ymm9, ymm9, ymm9; ret

  routine Touch // The byte rcx below the stack pointer.
  mov rax, rsp; sub rax, rcx; mov byte ptr [rax], 1; ret
  routine TouchAndCall
  mov rax, rsp; sub rax, rcx; mov byte ptr [rax], 1
  sub rsp, 0x28; call rdx; add rsp, 0x28; ret

  routine ProcessorCpuid // Leaf in ecx, subleaf in edx; eax, ebx, ecx, edx go to [r8].
  push rbx; mov eax, ecx; mov ecx, edx; cpuid
  mov [r8], eax; mov [r8 + 4], ebx; mov [r8 + 8], ecx; mov [r8 + 12], edx
  pop rbx; ret
  routine ProcessorTimeStamp; rdtsc; shl rdx, 32; or rax, rdx; ret
  routine ProcessorRdrand // The value goes to [rcx], the carry flag is returned.
  rdrand rax; mov [rcx], rax; setc al; movzx eax, al; ret
  routine ProcessorRdseed; rdseed rax; mov [rcx], rax; setc al; movzx eax, al; ret
  routine OPENSSL_ia32_rdrand_bytes; rdrand r9d; mov [rcx], r9; setc al; movzx eax, al; ret
  routine OPENSSL_rdtsc; mov eax, 0xA20F310F; ret // rdtsc and cpuid only inside a constant.
