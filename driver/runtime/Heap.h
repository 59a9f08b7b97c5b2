// The crypto library's heap: plain boot-services pool blocks without a header,
// so that a pool block of the driver may also go to free(). The sizes
// that realloc() needs come from a table of live blocks.
//
// A notification that calls into the library in the middle of a call here runs
// to its end and leaves the table whole; there is no lock.
#pragma once

#include "uefi/Base.h"

extern "C" {

// A block of exactly Size bytes, contents undefined; NULL when the pool (or the
// growth of the table) refuses.
VOID *malloc(UINTN Size);

// A block of Size bytes that holds Block's contents up to the smaller size and
// zeros behind; Block is released. NULL, Block still valid, when the pool
// refuses. A NULL Block gives a zeroed new one. Of a block that did not come
// from here nothing can be copied.
VOID *realloc(VOID *Block, UINTN Size);

// Hands Block back to the pool; NULL does nothing.
void free(VOID *Block);
}
