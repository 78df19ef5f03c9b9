// The memory intrinsics a compiler may emit for block copies and clears. Firmware gives the
// image no runtime library, so the image carries its own. The volatile accesses keep the
// compiler from turning these loops back into calls to themselves.
#include <stddef.h>

extern "C" {

void *memcpy(void *Destination, const void *Source, size_t Size) {
  volatile unsigned char *To = static_cast<unsigned char *>(Destination);
  const volatile unsigned char *From = static_cast<const unsigned char *>(Source);
  for (size_t Index = 0; Index < Size; Index++) {
    To[Index] = From[Index];
  }
  return Destination;
}

void *memmove(void *Destination, const void *Source, size_t Size) {
  volatile unsigned char *To = static_cast<unsigned char *>(Destination);
  const volatile unsigned char *From = static_cast<const unsigned char *>(Source);
  if (To < From) {
    for (size_t Index = 0; Index < Size; Index++) {
      To[Index] = From[Index];
    }
  } else {
    while (Size-- > 0) {
      To[Size] = From[Size];
    }
  }
  return Destination;
}

void *memset(void *Destination, int Value, size_t Size) {
  volatile unsigned char *To = static_cast<unsigned char *>(Destination);
  for (size_t Index = 0; Index < Size; Index++) {
    To[Index] = static_cast<unsigned char>(Value);
  }
  return Destination;
}

int memcmp(const void *A, const void *B, size_t Size) {
  const volatile unsigned char *Left = static_cast<const unsigned char *>(A);
  const volatile unsigned char *Right = static_cast<const unsigned char *>(B);
  for (size_t Index = 0; Index < Size; Index++) {
    if (Left[Index] != Right[Index]) {
      return Left[Index] - Right[Index];
    }
  }
  return 0;
}
}
