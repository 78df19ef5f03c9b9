#include "host/hii/collation.h"

namespace morvane::host {

namespace {

constexpr CHAR16 LATIN_SMALL_Y_DIAERESIS = 0x00FF;
constexpr CHAR16 LATIN_CAPITAL_Y_DIAERESIS = 0x0178;
constexpr CHAR16 MULTIPLICATION_SIGN = 0x00D7;
constexpr CHAR16 DIVISION_SIGN = 0x00F7;

// Matches one pattern element at Pattern against Character; Next is just past the element.
bool MatchOne(const CHAR16 *Pattern, CHAR16 Character, const CHAR16 **Next) {
  CHAR16 Folded = FoldUpper(Character);
  if (*Pattern == u'?') {
    *Next = Pattern + 1;
    return true;
  }
  if (*Pattern != u'[') {
    *Next = Pattern + 1;
    return FoldUpper(*Pattern) == Folded;
  }
  bool Found = false;
  const CHAR16 *Cursor = Pattern + 1;
  while (*Cursor != 0 && *Cursor != u']') {
    CHAR16 Low = FoldUpper(*Cursor);
    CHAR16 High = Low;
    if (Cursor[1] == u'-' && Cursor[2] != 0 && Cursor[2] != u']') {
      High = FoldUpper(Cursor[2]);
      Cursor += 3;
    } else {
      Cursor++;
    }
    Found = Found || (Folded >= Low && Folded <= High);
  }
  if (*Cursor != u']') {
    return false;
  }
  *Next = Cursor + 1;
  return Found;
}

} // namespace

CHAR16 FoldUpper(CHAR16 Character) {
  if ((Character >= u'a' && Character <= u'z') ||
      (Character >= 0x00E0 && Character <= 0x00FE && Character != DIVISION_SIGN)) {
    return static_cast<CHAR16>(Character - 0x20);
  }
  return Character == LATIN_SMALL_Y_DIAERESIS ? LATIN_CAPITAL_Y_DIAERESIS : Character;
}

CHAR16 FoldLower(CHAR16 Character) {
  if ((Character >= u'A' && Character <= u'Z') ||
      (Character >= 0x00C0 && Character <= 0x00DE && Character != MULTIPLICATION_SIGN)) {
    return static_cast<CHAR16>(Character + 0x20);
  }
  return Character == LATIN_CAPITAL_Y_DIAERESIS ? LATIN_SMALL_Y_DIAERESIS : Character;
}

INTN CompareWithoutCase(const CHAR16 *Left, const CHAR16 *Right) {
  while (*Left != 0 && FoldUpper(*Left) == FoldUpper(*Right)) {
    Left++;
    Right++;
  }
  return static_cast<INTN>(FoldUpper(*Left)) - static_cast<INTN>(FoldUpper(*Right));
}

bool WildcardMatch(const CHAR16 *String, const CHAR16 *Pattern) {
  // One backtracking point is enough: a later '*' can absorb whatever an earlier one could.
  const CHAR16 *StarPattern = nullptr;
  const CHAR16 *StarString = nullptr;
  while (*String != 0) {
    const CHAR16 *Next = nullptr;
    if (*Pattern == u'*') {
      StarPattern = ++Pattern;
      StarString = String;
    } else if (*Pattern != 0 && MatchOne(Pattern, *String, &Next)) {
      Pattern = Next;
      String++;
    } else if (StarPattern != nullptr) {
      Pattern = StarPattern;
      String = ++StarString;
    } else {
      return false;
    }
  }
  while (*Pattern == u'*') {
    Pattern++;
  }
  return *Pattern == 0;
}

void FatBytesToString(UINTN FatSize, const CHAR8 *Fat, CHAR16 *String) {
  UINTN Index = 0;
  for (; Index < FatSize && Fat[Index] != 0; Index++) {
    String[Index] = static_cast<UINT8>(Fat[Index]);
  }
  String[Index] = 0;
}

bool StringToFatBytes(const CHAR16 *String, UINTN FatSize, CHAR8 *Fat) {
  static constexpr char16_t NOT_IN_FAT[] = u"\"*+,/:;<=>?[\\]|";
  bool Substituted = false;
  UINTN Index = 0;
  for (; Index < FatSize && String[Index] != 0; Index++) {
    CHAR16 Upper = FoldUpper(String[Index]);
    bool Illegal = Upper < 0x20 || Upper > 0xFF;
    for (const char16_t *Bad = NOT_IN_FAT; *Bad != 0 && !Illegal; Bad++) {
      Illegal = Upper == *Bad;
    }
    Substituted = Substituted || Illegal;
    Fat[Index] = static_cast<CHAR8>(Illegal ? '_' : Upper);
  }
  if (Index < FatSize) {
    Fat[Index] = 0;
  }
  return Substituted;
}

} // namespace morvane::host
