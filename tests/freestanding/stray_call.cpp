// A driver-like source that calls into the C library: the symbol check must refuse it.
#include <stddef.h>

extern "C" size_t strlen(const char *String);

size_t MeasureGreeting() {
  return strlen("hello");
}
