/* Assertions are compiled out of the crypto library. */
#undef assert
#define assert(Condition) ((void)0)
