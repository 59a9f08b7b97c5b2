// How the crypto library puts an error on its queue, without the names of file
// and routine and without texts, each of which would be a pool block that stays
// until the queue comes round. The codes stay: the library reads them itself.
// The routines stand under the library's own names, so that the linker takes
// them instead of those in the archive.
#include "uefi/Base.h"

#include <openssl/err.h>

extern "C" {

// Internal to the library: its one queue, NULL without memory for it.
ERR_STATE *ossl_err_get_state_int(void);

void ERR_new(void) {
  ERR_STATE *Queue = ossl_err_get_state_int();
  if (Queue == nullptr) {
    return;
  }
  Queue->top = (Queue->top + 1) % ERR_NUM_ERRORS;
  if (Queue->top == Queue->bottom) {
    Queue->bottom = (Queue->bottom + 1) % ERR_NUM_ERRORS;
  }
  int Top = Queue->top;
  Queue->err_buffer[Top] = 0;
  Queue->err_marks[Top] = 0;
  Queue->err_flags[Top] = 0;
  // What ERR_add_error_data has put here before is a buffer to write to again; any other text is not the
  // queue's.
  if ((Queue->err_data_flags[Top] & ERR_TXT_MALLOCED) != 0 && Queue->err_data[Top] != nullptr) {
    Queue->err_data[Top][0] = '\0';
    Queue->err_data_flags[Top] = ERR_TXT_MALLOCED;
  } else {
    Queue->err_data[Top] = nullptr;
    Queue->err_data_size[Top] = 0;
    Queue->err_data_flags[Top] = 0;
  }
}

void ERR_set_debug(const char *, int, const char *) {}

void ERR_vset_error(int Library, int Reason, const char *, va_list) {
  ERR_STATE *Queue = ossl_err_get_state_int();
  if (Queue != nullptr) {
    Queue->err_buffer[Queue->top] = ERR_PACK(Library, 0, Reason);
  }
}

void ERR_set_error(int Library, int Reason, const char *Format, ...) {
  va_list Arguments;
  va_start(Arguments, Format);
  ERR_vset_error(Library, Reason, Format, Arguments);
  va_end(Arguments);
}
}
