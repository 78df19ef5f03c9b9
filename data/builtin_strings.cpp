#include "data/builtin_strings.h"

#include "support/poison.h"

namespace {

struct LanguageStrings {
  const char *Code;
  const char16_t *Texts[BUILTIN_STRING_COUNT];
};

// clang-format off
constexpr LanguageStrings Packages[BUILTIN_LANGUAGE_COUNT] = {
  {"en-US", {
    u"English",
    u"Morvane Setup",
    u"Item Specific Help",
    u"F1",
    u"Help",
    u"Esc",
    u"Exit",
    u"\u2191\u2193",
    u"Select Item",
    u"\u2190\u2192",
    u"Select Menu",
    u"+/-",
    u"F5/F6",
    u"Change Values",
    u"Enter",
    u"Select \u25BA Sub-Menu",
    u"Execute Command",
    u"F9",
    u"Setup Defaults",
    u"F10",
    u"Save and Exit",
    u"Enter your password",
    u"Press ENTER to continue",
    u"Please type in your data",
    u"",
    u"Please enter enough characters",
    u"Target menu is not found.",
    u"Warning",
    u"Notice",
    u"Setup Confirmation",
    u"Setup Warning",
    u"Yes",
    u"No",
    u"OK",
    u"Retry",
    u"Cancel",
    u"Continue",
    u"Message",
    u"Error",
    u"  Save configuration changes and exit now?   ",
    u"  Configuration has not been saved!   \r\n  Save before exiting?   ",
    u"  Load default configuration now?   ",
    u"  Load previous configuration now?   ",
    u"  Save configuration changes now?   ",
    u"General Help",
    u"Setup changes system behavior by modifying the BIOS\r\n"
    u"configuration. Selecting incorrect values may\r\n"
    u"cause system boot failure; load Setup Default values to\r\n"
    u"recover.\r\n"
    u"\r\n"
    u"<Up/Down> arrows select fields in current menu.\r\n"
    u"<PgUp/PgDn> moves to previous/next page on scrollable menus.\r\n"
    u"<Home/End> moves to top/bottom item of current menu.\r\n"
    u"\r\n"
    u"Within a field, <F5> or <-> selects next lower value and\r\n"
    u"<F6>, <+>, or <Space> selects next higher value.\r\n"
    u"\r\n"
    u"<Left/Right> arrows select menus on menu bar.\r\n"
    u"<Enter> displays more options for items marked with \u25BA.\r\n"
    u"\r\n"
    u"<F9> loads factory installed Setup Default values.\r\n"
    u"<F10> saves current settings and exits Setup.\r\n"
    u"\r\n"
    u"<Esc> or <Alt-X> exits Setup; in sub-menus, pressing these\r\n"
    u"keys returns to the previous menu.\r\n"
    u"\r\n"
    u"<F1> or <Alt-H> displays General Help (this screen).\r\n",
  }},
  {"fr-FR", {
    u"Fran\u00E7ais",
    u"Configuration Morvane",
    u"Aide sur l'\u00E9l\u00E9ment",
    u"F1",
    u"Aide",
    u"\u00C9chap",
    u"Quitter",
    u"\u2191\u2193",
    u"\u00C9l\u00E9ment",
    u"\u2190\u2192",
    u"Menu",
    u"+/-",
    u"F5/F6",
    u"Modifier",
    u"Entr\u00E9e",
    u"Sous-menu \u25BA",
    u"Ex\u00E9cuter la commande",
    u"F9",
    u"D\u00E9fauts",
    u"F10",
    u"Sauver et quitter",
    u"Entrez votre mot de passe",
    u"Appuyez sur ENTR\u00C9E pour continuer",
    u"Veuillez saisir vos donn\u00E9es",
    u"",
    u"Veuillez saisir assez de caract\u00E8res",
    u"Menu cible introuvable.",
    u"Avertissement",
    u"Information",
    u"Confirmation",
    u"Avertissement",
    u"Oui",
    u"Non",
    u"OK",
    u"R\u00E9essayer",
    u"Annuler",
    u"Continuer",
    u"Message",
    u"Erreur",
    u"  Enregistrer les modifications et quitter ?   ",
    u"  La configuration n'a pas \u00E9t\u00E9 enregistr\u00E9e !   \r\n  Enregistrer avant de quitter ?   ",
    u"  Charger la configuration par d\u00E9faut ?   ",
    u"  Recharger la configuration pr\u00E9c\u00E9dente ?   ",
    u"  Enregistrer les modifications maintenant ?   ",
    u"Aide g\u00E9n\u00E9rale",
    u"La configuration modifie le comportement du syst\u00E8me. Des valeurs\r\n"
    u"incorrectes peuvent emp\u00EAcher le d\u00E9marrage ; chargez alors les\r\n"
    u"valeurs par d\u00E9faut pour le r\u00E9tablir.\r\n"
    u"\r\n"
    u"<Haut/Bas> choisit un champ du menu courant.\r\n"
    u"<PgPr\u00E9c/PgSuiv> passe \u00E0 la page pr\u00E9c\u00E9dente ou suivante.\r\n"
    u"<D\u00E9but/Fin> va au premier ou au dernier \u00E9l\u00E9ment du menu.\r\n"
    u"\r\n"
    u"Dans un champ, <F5> ou <-> choisit la valeur inf\u00E9rieure et\r\n"
    u"<F6>, <+> ou <Espace> la valeur sup\u00E9rieure.\r\n"
    u"\r\n"
    u"<Gauche/Droite> choisit un menu de la barre des menus.\r\n"
    u"<Entr\u00E9e> ouvre les \u00E9l\u00E9ments marqu\u00E9s de \u25BA.\r\n"
    u"\r\n"
    u"<F9> charge les valeurs par d\u00E9faut d'usine.\r\n"
    u"<F10> enregistre les r\u00E9glages et quitte.\r\n"
    u"\r\n"
    u"<\u00C9chap> ou <Alt-X> quitte ; dans un sous-menu, ces touches\r\n"
    u"ram\u00E8nent au menu pr\u00E9c\u00E9dent.\r\n"
    u"\r\n"
    u"<F1> ou <Alt-H> affiche cette aide g\u00E9n\u00E9rale.\r\n",
  }},
  {"ja-JP", {
    u"\u65E5\u672C\u8A9E",
    u"Morvane \u30BB\u30C3\u30C8\u30A2\u30C3\u30D7",
    u"\u9805\u76EE\u306E\u30D8\u30EB\u30D7",
    u"F1",
    u"\u30D8\u30EB\u30D7",
    u"Esc",
    u"\u7D42\u4E86",
    u"\u2191\u2193",
    u"\u9805\u76EE\u306E\u9078\u629E",
    u"\u2190\u2192",
    u"\u30E1\u30CB\u30E5\u30FC\u306E\u9078\u629E",
    u"+/-",
    u"F5/F6",
    u"\u5024\u306E\u5909\u66F4",
    u"Enter",
    u"\u30B5\u30D6\u30E1\u30CB\u30E5\u30FC \u25BA",
    u"\u30B3\u30DE\u30F3\u30C9\u306E\u5B9F\u884C",
    u"F9",
    u"\u65E2\u5B9A\u5024",
    u"F10",
    u"\u4FDD\u5B58\u3057\u3066\u7D42\u4E86",
    u"\u30D1\u30B9\u30EF\u30FC\u30C9\u3092\u5165\u529B\u3057\u3066\u304F\u3060\u3055\u3044",
    u"ENTER \u30AD\u30FC\u3092\u62BC\u3057\u3066\u304F\u3060\u3055\u3044",
    u"\u30C7\u30FC\u30BF\u3092\u5165\u529B\u3057\u3066\u304F\u3060\u3055\u3044",
    u"",
    u"\u6587\u5B57\u6570\u304C\u8DB3\u308A\u307E\u305B\u3093",
    u"\u79FB\u52D5\u5148\u306E\u30E1\u30CB\u30E5\u30FC\u304C\u898B\u3064\u304B\u308A\u307E\u305B\u3093\u3002",
    u"\u8B66\u544A",
    u"\u304A\u77E5\u3089\u305B",
    u"\u30BB\u30C3\u30C8\u30A2\u30C3\u30D7\u306E\u78BA\u8A8D",
    u"\u30BB\u30C3\u30C8\u30A2\u30C3\u30D7\u306E\u8B66\u544A",
    u"\u306F\u3044",
    u"\u3044\u3044\u3048",
    u"OK",
    u"\u518D\u8A66\u884C",
    u"\u30AD\u30E3\u30F3\u30BB\u30EB",
    u"\u7D9A\u884C",
    u"\u30E1\u30C3\u30BB\u30FC\u30B8",
    u"\u30A8\u30E9\u30FC",
    u"  \u5909\u66F4\u3092\u4FDD\u5B58\u3057\u3066\u7D42\u4E86\u3057\u307E\u3059\u304B?   ",
    u"  \u8A2D\u5B9A\u306F\u4FDD\u5B58\u3055\u308C\u3066\u3044\u307E\u305B\u3093!   \r\n  \u7D42\u4E86\u3059\u308B\u524D\u306B\u4FDD\u5B58\u3057\u307E\u3059\u304B?   ",
    u"  \u65E2\u5B9A\u306E\u8A2D\u5B9A\u3092\u8AAD\u307F\u8FBC\u307F\u307E\u3059\u304B?   ",
    u"  \u4EE5\u524D\u306E\u8A2D\u5B9A\u3092\u8AAD\u307F\u8FBC\u307F\u307E\u3059\u304B?   ",
    u"  \u5909\u66F4\u3092\u4FDD\u5B58\u3057\u307E\u3059\u304B?   ",
    u"\u5168\u822C\u306E\u30D8\u30EB\u30D7",
    u"\u30BB\u30C3\u30C8\u30A2\u30C3\u30D7\u306F\u30B7\u30B9\u30C6\u30E0\u306E\u52D5\u4F5C\u3092\u5909\u66F4\u3057\u307E\u3059\u3002\r\n"
    u"\u8AA4\u3063\u305F\u5024\u3067\u306F\u8D77\u52D5\u3067\u304D\u306A\u3044\u3053\u3068\u304C\u3042\u308A\u307E\u3059\u3002\r\n"
    u"\u305D\u306E\u3068\u304D\u306F\u65E2\u5B9A\u5024\u3092\u8AAD\u307F\u8FBC\u3093\u3067\u304F\u3060\u3055\u3044\u3002\r\n"
    u"\r\n"
    u"<\u2191/\u2193> \u73FE\u5728\u306E\u30E1\u30CB\u30E5\u30FC\u306E\u9805\u76EE\u3092\u9078\u629E\r\n"
    u"<PgUp/PgDn> \u524D\u5F8C\u306E\u30DA\u30FC\u30B8\u3078\u79FB\u52D5\r\n"
    u"<Home/End> \u6700\u521D\u3001\u6700\u5F8C\u306E\u9805\u76EE\u3078\u79FB\u52D5\r\n"
    u"\r\n"
    u"<F5> <-> \u5024\u3092\u6E1B\u3089\u3059  <F6> <+> <Space> \u5024\u3092\u5897\u3084\u3059\r\n"
    u"\r\n"
    u"<\u2190/\u2192> \u30E1\u30CB\u30E5\u30FC\u30D0\u30FC\u306E\u30E1\u30CB\u30E5\u30FC\u3092\u9078\u629E\r\n"
    u"<Enter> \u25BA \u306E\u4ED8\u3044\u305F\u9805\u76EE\u3092\u958B\u304F\r\n"
    u"\r\n"
    u"<F9> \u65E2\u5B9A\u5024\u3092\u8AAD\u307F\u8FBC\u3080\r\n"
    u"<F10> \u4FDD\u5B58\u3057\u3066\u7D42\u4E86\r\n"
    u"\r\n"
    u"<Esc> <Alt-X> \u7D42\u4E86\u3002\u30B5\u30D6\u30E1\u30CB\u30E5\u30FC\u3067\u306F\u524D\u306E\u30E1\u30CB\u30E5\u30FC\u3078\r\n"
    u"\r\n"
    u"<F1> <Alt-H> \u3053\u306E\u30D8\u30EB\u30D7\u3092\u8868\u793A\r\n",
  }},
  {"ko-KR", {
    u"\uD55C\uAD6D\uC5B4",
    u"Morvane \uC124\uC815",
    u"\uD56D\uBAA9 \uB3C4\uC6C0\uB9D0",
    u"F1",
    u"\uB3C4\uC6C0\uB9D0",
    u"Esc",
    u"\uC885\uB8CC",
    u"\u2191\u2193",
    u"\uD56D\uBAA9 \uC120\uD0DD",
    u"\u2190\u2192",
    u"\uBA54\uB274 \uC120\uD0DD",
    u"+/-",
    u"F5/F6",
    u"\uAC12 \uBCC0\uACBD",
    u"Enter",
    u"\uD558\uC704 \uBA54\uB274 \u25BA",
    u"\uBA85\uB839 \uC2E4\uD589",
    u"F9",
    u"\uAE30\uBCF8\uAC12",
    u"F10",
    u"\uC800\uC7A5 \uD6C4 \uC885\uB8CC",
    u"\uC554\uD638\uB97C \uC785\uB825\uD558\uC2ED\uC2DC\uC624",
    u"\uACC4\uC18D\uD558\uB824\uBA74 ENTER \uD0A4\uB97C \uB204\uB974\uC2ED\uC2DC\uC624",
    u"\uB370\uC774\uD130\uB97C \uC785\uB825\uD558\uC2ED\uC2DC\uC624",
    u"",
    u"\uBB38\uC790 \uC218\uAC00 \uBD80\uC871\uD569\uB2C8\uB2E4",
    u"\uB300\uC0C1 \uBA54\uB274\uB97C \uCC3E\uC744 \uC218 \uC5C6\uC2B5\uB2C8\uB2E4.",
    u"\uACBD\uACE0",
    u"\uC54C\uB9BC",
    u"\uC124\uC815 \uD655\uC778",
    u"\uC124\uC815 \uACBD\uACE0",
    u"\uC608",
    u"\uC544\uB2C8\uC694",
    u"\uD655\uC778",
    u"\uB2E4\uC2DC \uC2DC\uB3C4",
    u"\uCDE8\uC18C",
    u"\uACC4\uC18D",
    u"\uBA54\uC2DC\uC9C0",
    u"\uC624\uB958",
    u"  \uBCC0\uACBD \uC0AC\uD56D\uC744 \uC800\uC7A5\uD558\uACE0 \uC885\uB8CC\uD558\uC2DC\uACA0\uC2B5\uB2C8\uAE4C?   ",
    u"  \uC124\uC815\uC774 \uC800\uC7A5\uB418\uC9C0 \uC54A\uC558\uC2B5\uB2C8\uB2E4!   \r\n  \uC885\uB8CC\uD558\uAE30 \uC804\uC5D0 \uC800\uC7A5\uD558\uC2DC\uACA0\uC2B5\uB2C8\uAE4C?   ",
    u"  \uAE30\uBCF8 \uC124\uC815\uC744 \uBD88\uB7EC\uC624\uC2DC\uACA0\uC2B5\uB2C8\uAE4C?   ",
    u"  \uC774\uC804 \uC124\uC815\uC744 \uBD88\uB7EC\uC624\uC2DC\uACA0\uC2B5\uB2C8\uAE4C?   ",
    u"  \uBCC0\uACBD \uC0AC\uD56D\uC744 \uC800\uC7A5\uD558\uC2DC\uACA0\uC2B5\uB2C8\uAE4C?   ",
    u"\uC77C\uBC18 \uB3C4\uC6C0\uB9D0",
    u"\uC124\uC815\uC740 \uC2DC\uC2A4\uD15C\uC758 \uB3D9\uC791\uC744 \uBC14\uAFC9\uB2C8\uB2E4. \uC798\uBABB\uB41C \uAC12\uC740\r\n"
    u"\uBD80\uD305\uC744 \uB9C9\uC744 \uC218 \uC788\uC73C\uB2C8 \uAE30\uBCF8\uAC12\uC744 \uBD88\uB7EC\uC624\uC2ED\uC2DC\uC624.\r\n"
    u"\r\n"
    u"<\u2191/\u2193> \uD604\uC7AC \uBA54\uB274\uC758 \uD56D\uBAA9 \uC120\uD0DD\r\n"
    u"<PgUp/PgDn> \uC774\uC804, \uB2E4\uC74C \uD398\uC774\uC9C0\r\n"
    u"<Home/End> \uCC98\uC74C, \uB9C8\uC9C0\uB9C9 \uD56D\uBAA9\r\n"
    u"\r\n"
    u"<F5> <-> \uAC12 \uB0AE\uCD94\uAE30  <F6> <+> <Space> \uAC12 \uB192\uC774\uAE30\r\n"
    u"\r\n"
    u"<\u2190/\u2192> \uBA54\uB274 \uB9C9\uB300\uC758 \uBA54\uB274 \uC120\uD0DD\r\n"
    u"<Enter> \u25BA \uD45C\uC2DC \uD56D\uBAA9 \uC5F4\uAE30\r\n"
    u"\r\n"
    u"<F9> \uAE30\uBCF8\uAC12 \uBD88\uB7EC\uC624\uAE30\r\n"
    u"<F10> \uC800\uC7A5 \uD6C4 \uC885\uB8CC\r\n"
    u"\r\n"
    u"<Esc> <Alt-X> \uC885\uB8CC; \uD558\uC704 \uBA54\uB274\uC5D0\uC11C\uB294 \uC774\uC804 \uBA54\uB274\uB85C\r\n"
    u"\r\n"
    u"<F1> <Alt-H> \uC774 \uB3C4\uC6C0\uB9D0 \uBCF4\uAE30\r\n",
  }},
};
// clang-format on

constexpr UINTN TextLength(const char16_t *Text) {
  UINTN Length = 0;
  while (Text[Length] != 0) {
    Length++;
  }
  return Length;
}

constexpr UINTN LanguageCodeLength = 5;
constexpr UINTN PackageHeaderSize = 46 + LanguageCodeLength + 1;
static_assert(PackageHeaderSize == 52);

constexpr UINTN PackageSize(const LanguageStrings &Language) {
  UINTN Size = PackageHeaderSize;
  for (const char16_t *Text : Language.Texts) {
    Size += 1 + 2 * (TextLength(Text) + 1);
  }
  return Size + 1;
}

constexpr UINTN BlockSize() {
  UINTN Size = 4;
  for (const LanguageStrings &Language : Packages) {
    Size += PackageSize(Language);
  }
  return Size;
}

template <UINTN N>
struct ByteBlock {
  UINT8 Bytes[N];
};

// Each package: the string package header with HdrSize and StringInfoOffset 52, a zero language
// window, language name id 1 and the five-letter code; one UCS-2 string block per id from 1
// to 46; an end block.
constexpr ByteBlock<BlockSize()> BuildBlock() {
  ByteBlock<BlockSize()> Block{};
  UINTN At = 0;
  auto Put8 = [&](UINTN Value) { Block.Bytes[At++] = static_cast<UINT8>(Value); };
  auto Put16 = [&](UINTN Value) {
    Put8(Value);
    Put8(Value >> 8);
  };
  auto Put32 = [&](UINTN Value) {
    Put16(Value);
    Put16(Value >> 16);
  };

  Put32(BlockSize());
  for (const LanguageStrings &Language : Packages) {
    UINTN Size = PackageSize(Language);
    Put8(Size);
    Put8(Size >> 8);
    Put8(Size >> 16);
    Put8(EFI_HII_PACKAGE_STRINGS);
    Put32(PackageHeaderSize);
    Put32(PackageHeaderSize);
    for (int Index = 0; Index < 32; Index++) {
      Put8(0);
    }
    Put16(STRING_LANGUAGE_NAME);
    for (UINTN Index = 0; Index <= LanguageCodeLength; Index++) {
      Put8(static_cast<UINT8>(Language.Code[Index]));
    }
    for (const char16_t *Text : Language.Texts) {
      Put8(EFI_HII_SIBT_STRING_UCS2);
      UINTN Length = TextLength(Text);
      for (UINTN Index = 0; Index <= Length; Index++) {
        Put16(Text[Index]);
      }
    }
    Put8(EFI_HII_SIBT_END);
  }
  return Block;
}

constexpr ByteBlock<BlockSize()> Block = BuildBlock();

} // namespace

const UINT8 *const BuiltinStringPackages = Block.Bytes;
const UINT32 BuiltinStringPackagesSize = BlockSize();
const CHAR8 *const BuiltinLanguages[BUILTIN_LANGUAGE_COUNT] = {"en-US", "fr-FR", "ja-JP", "ko-KR"};
