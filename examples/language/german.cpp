// The library's texts in German, in UTF-8: a language module. It links nothing of the library, and
// it takes the place of the library's own table entirely, so every id stands here.
//
// Names between percent signs and printf conversions are filled in by the library: a translation
// may move the former as it likes and must keep the latter in their order. Messages 18037, 18038
// and 18062 are sets of characters, not words, and stay as they are.
#include <tesselkit/platform/string_table.h>

namespace {

constexpr tesselkit::platform::StringTableEntry kTexts[] = {
    {18001, "%except_name%-Ausnahme von '%source%'\n%details%"},
    {18002, "Tarnwell Core hat eine Ausnahme ausgelöst, zu der keine Einzelheiten vorliegen"},
    {18003,
     "Tarnwell-Ausnahme Nr. 0 wurde ausgelöst.  Bitte melden Sie dies an "
     "support@veltrim.example"
     " und geben Sie alles an, was nötig ist, um das Problem nachzustellen."},
    {18004, "Die systemeigene Ausnahme 0x%08x ist aufgetreten."},
    {18005, "Eine CException ist aufgetreten, zu der keine Einzelheiten vorliegen."},
    {18006, "Eine CException ist aufgetreten:\n%s"},
    {18007, "Eine systemeigene Ausnahme ist aufgetreten.  Nummer und Aufrufliste:\n"},

    {18017, "Tarnwell Core"},
    {18018, "Die Zeichenkette konnte nicht geladen werden, ID=%resource_id%"},
    {18019, "Verletzte Bedingung: %failed_expr%\nStelle: %failure_location%"},
    {18020,
     "Verletzte Bedingung: %failed_expr%\nStelle: %failure_location%\n"
     "%value1name%=%value1%"},
    {18021,
     "Verletzte Bedingung: %failed_expr%\nStelle: %failure_location%\n"
     "%value1name%=%value1%\n%value2name%=%value2%"},
    {18022,
     "Verletzte Bedingung: %failed_expr%\nStelle: %failure_location%\n"
     "%value1name%=%value1%\n%value2name%=%value2%\n%value3name%=%value3%"},
    {18023,
     "Verletzte Bedingung: %failed_expr%\nStelle: %failure_location%\n"
     "%value1name%=%value1%\n%value2name%=%value2%\n%value3name%=%value3%\n"
     "%value4name%=%value4%"},
    {18024, "Nicht ausgeführt: %what%\nStelle: %failure_location%"},
    {18025, "NOTBEHELF: %what%\n%repair_location%"},
    {18026,
     "%thrower%: %relative% (%modifier%) gibt es bereits, sollte es aber nicht geben.\n"
     "Stelle: %failure_location%"},
    {18027,
     "%thrower%: %relative% (%modifier%) kann nicht abgebaut werden, weil es nicht vorhanden "
     "ist.\nStelle: %failure_location%"},
    {18028,
     "%thrower%: %relative% (%modifier%) kann nicht geholt werden, weil es nicht vorhanden "
     "ist.\nStelle: %failure_location%"},
    {18029, "Es wurde versucht, den Typ eines NULL-Zeigers zu bestimmen (mit IsKindOf())."},
    {18030,
     "%gottype% wird als %wanttype% verwendet.\n"
     "Das ungültige Objekt %gotaddr% ist %gotexpr% in %failure_location%."},
    {18031, "Es wird Code ausgeführt, der als unerreichbar galt.\nStelle: %failure_location%"},
    {18032,
     "Der Index %indexname% liegt außerhalb der Grenzen: %indexval% ist nicht >= 0 und "
     "< %upperbound%."},
    {18033,
     "Probeausnahme von %failure_location%\n"
     "AdVexlo: %from_ole%\nPdMorrow: %from_dbaccess%\nAdSkellan: %from_metadata%\n"
     "AdTrusk: %from_query%\nAdPellow: %from_userdata%"},
    {18034, "<Ungültiger %s-Wert: %d>"},
    {18035,
     "Für ein Objekt der Art %mgrname% war kein Speicher zu bekommen.  Dies ist ein innerer "
     "Programmfehler, höchstwahrscheinlich die Folge eines \"unmöglichen\" Speichermangels."},
    {18036,
     "Die Länge des Namens (%actual_len%) liegt außerhalb des erlaubten Bereichs von %min_len% "
     "bis %max_len% Zeichen."},
    {18037, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"},
    {18038, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789"},
    {18039, "Das erste Zeichen des Namens muss eines von diesen sein:\n%alphabet%"},
    {18040, "Nach dem ersten Zeichen sind in einem Namen nur diese erlaubt:\n%alphabet%"},
    {18041, "NULL-Zeiger"},
    {18042, "leere Zeichenkette"},
    {18043, "Der Wert der Zeichenkette (%badname%) ist ungültig:\n%reason%"},
    {18044, "Eine leere Zeichenkette kann nicht in eine ganze Zahl umgewandelt werden."},
    {18045,
     "Der Wert \"%badint%\" enthält Zeichen, die in einer ganzen Zahl ungültig sind.  Der Wert "
     "darf mit einem Vorzeichen (+ oder -) oder einer Ziffer beginnen, alle weiteren Zeichen "
     "müssen Ziffern sein."},
    {18046,
     "Der Betrag des Wertes \"%badint%\" ist zu groß; der Wert muss im Bereich von %minint% bis "
     "%maxint% liegen."},
    {18047,
     "_stscanf ist am Wert \"%badint%\" gescheitert. Dies ist wahrscheinlich ein innerer Fehler.  "
     "Bitte melden Sie ihn."},
    {18048, "Der Vorgang fand hier statt: %failure_location%."},
    {18049,
     "Eine Änderung der Datenbank ist gescheitert.  Es wurde keine Zeile geändert, obwohl eine "
     "Zeile hätte geändert werden sollen.  Wahrscheinlich hat ein anderer Prozess gleichzeitig "
     "einen Vorgang ausgeführt, der dem entgegensteht.\nEinzelheiten: %operation%"},
    {18050,
     "Eine Änderung der Datenbank hat mehr Zeilen erfasst als beabsichtigt.  Sie hätte 1 Zeile "
     "betreffen sollen, hat aber %actual_rows% betroffen.  Das deutet auf einen inneren Fehler "
     "hin, entweder in diesem Prozess oder in einem anderen, der gleichzeitig einen "
     "widersprüchlichen Vorgang an der Datenbank ausgeführt hat.\nStelle: %failure_location%\n"
     "Einzelheiten: %operation%"},
    {18051, "Ungültige Zeitangabe. Die Form muss YYYY-MM-DD hh:mm:ss sein."},
    {18052,
     "Es wurde versucht, eine zu lange Zeichenkette zu verwenden.  Erlaubt sind höchstens "
     "%max_len% Zeichen, tatsächlich enthielt sie %act_len%.  Die Zeichenkette war: %string%"},
    {18053,
     "Es wurde versucht, eine Zeichenkette zu verwenden, die zu viel Speicher braucht.  Erlaubt "
     "sind höchstens %max_len% Speichereinheiten, tatsächlich brauchte sie %act_len%.  Die "
     "Zeichenkette war: %string%"},
    {18054,
     "Es wurde versucht, einen leeren Wert zu verwenden, wo eine nicht leere Zeichenkette "
     "verlangt ist."},
    {18055, "Die Zeichenkette \"%value%\" kann nicht als ganze Zahl gelesen werden.  %problem%"},
    {18056, "Lesen aus der Registrierung gescheitert: \"%reg%\", Name: \"%name%\"."},
    {18057,
     "Schreiben in die Registrierung gescheitert: \"%reg%\", Name: \"%name%\", Wert: "
     "\"%value%\"."},
    {18058,
     "Der Aufruf der Funktion \"%func%\" für den Registrierungsschlüssel \"%key%\" ist "
     "gescheitert.  Systemfehler: %msg%"},
    {18059, "ungültiger Name in der Zeichenkette NAME=WERT (nahe \"%str%\")"},
    {18060, "doppelter Name in der Zeichenkette NAME=WERT (%str%)"},
    {18061, "fehlendes '=' in der Zeichenkette NAME=WERT (nahe \"%str%\")"},
    {18062, "! \"#$%&'()*+,./:;<=>?@[\\]^`{|}~"},
    {18063, "Namen dürfen keines dieser Zeichen enthalten:%chars%"},
};

}  // namespace

TESSELKIT_EXPORT_STRING_TABLE(kTexts)
