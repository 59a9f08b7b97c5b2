// C names that the crypto library refers to and the firmware has nothing for:
// formatted input and output, environment, files, other numbers than atoi's.
// Each does nothing and answers as failed.
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/time.h>

int errno;

extern "C" {

int sscanf(const char *, const char *, ...) {
  return 0;
}

int BIO_printf(void *, const char *, ...) {
  return 0;
}

char *getenv(const char *) {
  return nullptr;
}

int stat(const char *, struct stat *) {
  return -1;
}

int gettimeofday(struct timeval *Now, void *) {
  *Now = {};
  return -1;
}

char *strerror(int) {
  return const_cast<char *>("");
}

long strtol(const char *Text, char **End, int) {
  if (End != nullptr) {
    *End = const_cast<char *>(Text);
  }
  return 0;
}

unsigned long strtoul(const char *Text, char **End, int Base) {
  return static_cast<unsigned long>(strtol(Text, End, Base));
}

// The library aborts on a broken invariant of its own: nothing may go on.
void abort() {
  volatile UINTN Zero = 0;
  while (Zero == 0) {
  }
  __builtin_unreachable();
}
}
