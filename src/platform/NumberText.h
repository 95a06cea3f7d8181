#pragma once

#include <QChar>
#include <QString>
#include <QStringView>
#include <cstdint>

// Number text of the whole program: every conversion between numbers and
// text goes through here so the list, the files, the dialogs and the
// converter agree under every regional format.
namespace platform {

// The regional number format of the run: decimal and grouping characters.
// It is Qt's default locale (QLocale()), which start-up sets once with
// installRegionalFormat() and tests set explicitly with QLocale::setDefault.
struct NumberFormat {
    QChar decimal;
    QChar group;

    static NumberFormat current();
};

// Makes the environment's regional format the run's format: QLocale::system(),
// or the French format when the environment gives C/POSIX or nothing.
void installRegionalFormat();

// Format(value, pattern): '0' mandatory digit, '#' optional digit, first '.'
// decimal point, ',' before it turns grouping on; other characters copied.
// A pattern without '0' or '#' gives the default text (DefaultText).
QString Format(double value, QStringView pattern);
QString Format(double value, QStringView pattern, const NumberFormat& fmt);
// Format applied to a text: a text that reads as a number under the
// locale-aware conversion is formatted as that number; others come back as they are.
QString Format(const QString& text, QStringView pattern);

// Default text of a double (%.15G with the regional decimal character, exponent
// written E+15 / E-07); negative zero gives "0".
QString DefaultText(double value);
QString DefaultText(double value, const NumberFormat& fmt);
// Default text of a 32-bit float (%.7G likewise).
QString DefaultTextFloat(float value);
// Numeric print: a blank, the default text, a blank.
QString NumericPrint(double value);

// Val: the leading number of a text, "." as decimal point whatever the locale.
// Blanks and tabs are skipped anywhere; no digit gives 0; beyond the double
// range raises error 6.
double Val(QStringView text);

// Locale-aware conversions. Type mismatch (13) for a text that is no number,
// overflow (6) out of range.
double CDbl(QStringView text);
float CSng(QStringView text);
int16_t CInt(QStringView text);
int32_t CLng(QStringView text);
bool IsNumeric(QStringView text);

// Double to integer conversions as the program's 16- and 32-bit variables do
// them: half to even, overflow (6) out of range.
int16_t ToInt16(double value);
int32_t ToInt32(double value);

} // namespace platform
