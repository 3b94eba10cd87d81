#include "settings_ui/languages/LanguageTables.h"

namespace companion {

// Per key, in the order of the language index: German, English, French, Italian, Portuguese, Polish,
// Romanian, Czech, Hungarian, Slovak, Spanish, Dutch.
//
// Users know the texts as they stand, so spelling, case and spacing stay: "Modus" in English, "Preview
// effectt" and "Timer intellen" in Dutch, "Corde Fundo" in Portuguese, "Timer _min" in Italian, and the
// no-break space in the Slovak hint are not slips of this file.
const std::array<LanguageRow, kLanguageKeyCount> kLanguageRows{{
    {u"翻页笔设置",
     {u"Präsenter Einstellungen", u"Presenter setting", u"Réglage pointeur", u"Impostazioni",
      u"Definições Apontador", u"Ustawienia prezentera", u"Setting", u"Nastavení", u"Setting", u"Nastavenia",
      u"Ajustes", u"Presenter instellingen"}},
    {u"请插入设备",
     {u"Schließen Sie den Empfänger an den USB-Anschluss des Computers an, und schalten Sie den Präsenter "
      u"vor der Verwendung ein.",
      u"Please insert the dongle", u"Connectez le récepteur USB", u"Inserire ricevitore",
      u"Por favor ligue o recetor a uma ficha USB do computador, e ligue o apontador antes de usar",
      u"Włóż odbiornik do gniazda USB komputera", u"Introduceti receptorul USB",
      u"Před použitím připojte přijímač do USB zásuvky počítače a zapněte prezentér.",
      u"Csatlakoztassa az USB dongle-t a számítógép USB portjához és kapcsolja be a prezentert a használat "
      u"előtt.",
      u"Pred použitím pripojte prijímač do USB zásuvky počítača a\u00A0zapnite prezentér.",
      u"Por favor, enchufe el receptor en un puerto USB del ordenador y encienda el presentador antes de su "
      u"uso",
      u"Steek Dongle in"}},
    {u"语言",
     {u"Sprache", u"language", u"Langue", u"Lingua", u"Idioma", u"Język", u"Limba", u"Jazyk", u"Nyelv",
      u"Jazyk", u"Lenguaje", u"Taal"}},
    {u"模式",
     {u"Modus", u"Modus", u"Mode", u"Modalità", u"Modo", u"Tryb", u"Mod", u"Režim", u"Mód", u"Režim", u"Modo",
      u"Mode"}},
    {u"正常",
     {u"Standard", u"Normal", u"Normal", u"Normale", u"Normal", u"Normalny", u"Normal", u"Normální",
      u"Normál", u"Bežný", u"Normal", u"Normaal"}},
    {u"聚光",
     {u"Spotlight", u"Spotlight", u"Projecteur", u"Spotlight", u"Holofote", u"Spotlight", u"Reflector",
      u"Bodové světlo", u"Reflektorfény", u"Bodové svetlo", u"Foco de atencion", u"Spotlight"}},
    {u"数码激光",
     {u"Digital Pointer", u"Digital Pointer", u"Pointeur", u"Digital Pointer", u"Ponteiro digital",
      u"Cyfrowy wskaźnik", u"Indicator digital", u"Ukazovátko", u"Digitális mutató", u"Ukazovadlo",
      u"Puntero Digital", u"Digitale Pointer"}},
    {u"放大镜",
     {u"Lupe", u"Magnifier", u"Loupe", u"Lente", u"Lupa", u"Tryb lupy", u"Lupa", u"Lupa", u"Nagyító", u"Lupa",
      u"Lupa", u"Vergroten"}},
    {u"背景颜色",
     {u"Hintergrundfarbe", u"Background color", u"arrière plan", u"Colore sfondo", u"Corde Fundo",
      u"Kolor Tła", u"Culoare fundal", u"Barva pozadí", u"Háttér színe", u"Farba pozadia", u"Fondo",
      u"Achtergrond kleur"}},
    {u"前景颜色",
     {u"Vordergrundfarbe", u"Foreground color", u"premier plan", u"Colore punto", u"Corde Plano",
      u"pierwszoplanowy", u"Prim-plan", u"Barva popředí", u"Előtér színe", u"Farba popredia", u"Primer plano",
      u"Voorgrond kleur"}},
    {u"斑点大小",
     {u"Spotlight Größe", u"Spot size", u"Taille projecteur", u"Dimensione punto", u"Tamanho Holofote",
      u"reflektor rozmiar", u"Dimensiune spot", u"Velikost bodu", u"Mutató mérete", u"Veľkosť bodu",
      u"Tamaño del punto", u"Grote spotlight"}},
    {u"效果预览",
     {u"Vorschaueffekt", u"Preview effect", u"Effet d'aperçu", u"Anteprima", u"Pré-Visualização",
      u"Podgląd efektu", u"Previzualizare", u"Náhled", u"Előnézet", u"Náhľad", u"Previsualizacion",
      u"Preview effectt"}},
    {u"透明度",
     {u"Transparenz", u"Transparent", u"Transparent", u"Trasparenza", u"Transparência", u"Przezroczystość",
      u"Transparent", u"Průhlednost", u"Áttetszőség", u"Priehľadnosť", u"Transparente", u"Transparant"}},
    {u"放大倍数",
     {u"Vergrößerung", u"Magnification", u"Grossissement", u"Ingrandimento", u"Aumento", u"Powiększenie",
      u"Marire", u"Zvětšení", u"Nagyítás", u"Zväčšenie", u"Ampliacion", u"Vergroting"}},
    {u"时间设置",
     {u"Timer", u"Time set min", u"minuteur", u"Timer _min", u"Temporizador_min", u"Timer", u"Timp setat_min",
      u"Časovač", u"Időzítés_perc", u"Časovač", u"Temporizador", u"Timer intellen"}},
    {u"设置",
     {u"Aktivieren", u"Set", u"Activer", u"Regolazione", u"Ok", u"Ustaw", u"Activati", u"Nastavit",
      u"Beállít", u"Nastaviť", u"Activar", u"Aktiveren"}},
    {u"鼠标速度",
     {u"Mauszeiger DPI", u"Mouse speed", u"le curseur DPI", u"Velocità mouse", u"Cursor DPI",
      u"Czułość myszy", u"Viteza mouse", u"Citlivost myši", u"Egér sebesség", u"Rýchlosť myši",
      u"DPI puntero", u"Muis snelheid"}},
}};

} // namespace companion
