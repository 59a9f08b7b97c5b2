// Symbols that the image's compiler and the library's assembler refer to and
// never use: the floating-point marker, and the unwinder behind the exception
// handlers of assembler routines.
extern "C" {

int _fltused;

void *__imp_RtlVirtualUnwind;
}
