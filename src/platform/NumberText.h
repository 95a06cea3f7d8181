#pragma once

#include <QByteArrayView>
#include <QChar>
#include <QLatin1StringView>
#include <QLocale>
#include <QString>
#include <QStringView>
#include <QVarLengthArray>
#include <cstdint>
#include <string>
#include <string_view>

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

// Makes the environment's regional format the run's format (RegionalLocale
// of the environment's variables).
void installRegionalFormat();
// The locale that decides the regional format: the first set of LC_ALL,
// LC_NUMERIC and LANG; the French format for C, POSIX, nothing set, or a name
// that is no locale.
QLocale RegionalLocale(const QString& lcAll, const QString& lcNumeric, const QString& lang);

// Format(value, pattern): '0' mandatory digit, '#' optional digit, first '.'
// decimal point, ',' before it turns grouping on; other characters copied.
// A pattern without '0' or '#' gives the default text (DefaultText).
QString Format(double value, QStringView pattern);
QString Format(double value, QStringView pattern, const NumberFormat& fmt);
// Format applied to a text: a text that reads as a number under the
// locale-aware conversion is formatted as that number; others come back as they are.
QString Format(const QString& text, QStringView pattern);

// Text built from numbers in a loop without a QString for every piece: the
// list and the file writers fill one, then copy it where it goes.
using TextBuffer = QVarLengthArray<char16_t, 64>;

// A Format pattern read once, for loops that format many values with it;
// format() and append() give exactly what Format(value, pattern, fmt) gives.
class NumberPattern {
public:
    NumberPattern(QStringView pattern, const NumberFormat& fmt);

    QString format(double value) const;
    void append(TextBuffer& out, double value) const;

    // Format(value, pattern) as UTF-8 for the usual values, under a pattern
    // without characters of its own: the count of bytes written to out (room
    // for kUtf8Room), or -1 where format() or append() must be used.
    static constexpr int kUtf8Room = 64;
    int writeUtf8(double value, char* out) const;
    // True when what writeUtf8 writes is ASCII, hence also Windows-1252.
    bool writesAscii() const { return ascii_; }

    // The digits format() writes for the usual values: the whole part, and
    // the decimals as one integer of as many digits as the pattern has
    // decimal placeholders (before optional zeros are dropped); the text has
    // a "-" when value < 0. False where this cannot tell.
    bool fixedParts(double value, std::uint64_t& whole, std::uint64_t& fraction) const;
    // The text of such parts as UTF-8, with a "-" when negative: what
    // writeUtf8 writes once it has them (same room, -1 likewise).
    int writeUtf8Parts(bool negative, std::uint64_t whole, std::uint64_t fraction, char* out) const;

private:
    // The texts written around and between the digits.
    template <typename Unit> struct Characters {
        std::basic_string_view<Unit> prefix, suffix, decimal, group;
    };
    bool appendFixed(TextBuffer& out, double value) const;
    // The most integer digits the fixed-point writer gives: every '0' before
    // the decimal point, and at most the 20 digits of a 64-bit whole part.
    int widestInteger() const { return integerZeros_ > 20 ? integerZeros_ : 20; }
    template <typename Unit>
    Unit* writeFixed(Unit* p, bool negative, std::uint64_t whole, std::uint64_t fraction,
                     const Characters<Unit>& characters) const;

    bool hasPlaceholder_ = false;
    bool hasDecimalPoint_ = false;
    bool grouping_ = false;
    int integerZeros_ = 0;      // '0' placeholders before the decimal point
    int decimals_ = 0;          // placeholders after it
    int mandatoryDecimals_ = 0; // up to the last '0' placeholder after it
    char16_t decimal_;
    char16_t group_;
    std::u16string prefix_; // ordinary characters before the number
    std::u16string suffix_; // and after it
    char decimal8_[3];
    char group8_[3];
    int decimal8Size_ = 1;
    int group8Size_ = 1;
    bool utf8Ready_ = false;
    bool ascii_ = false;
};

// Default text of a double (%.15G with the regional decimal character, exponent
// written E+15 / E-07); negative zero gives "0".
QString DefaultText(double value);
QString DefaultText(double value, const NumberFormat& fmt);
void AppendDefaultText(TextBuffer& out, double value, const NumberFormat& fmt);
// Default text of a 32-bit float (%.7G likewise).
QString DefaultTextFloat(float value);
// Numeric print: a blank, the default text, a blank.
QString NumericPrint(double value);
// The digits of a whole number as ASCII, which is its default text below
// 10^15 (the files' handles and counters): the count written to out, which
// has room for 20.
int WriteWholeNumber(std::uint64_t value, char* out);

// A file's size as a desktop's file list shows it, under the regional format:
// "235 octets", "1,37 Kio" in French.
QString FileSizeText(qint64 bytes);

// Val: the leading number of a text, "." as decimal point whatever the locale.
// Blanks and tabs are skipped anywhere; no digit gives 0; beyond the double
// range raises error 6.
double Val(QStringView text);
// The same over single-byte text as the files hold it (only ASCII counts).
double Val(QLatin1StringView text);

// Locale-aware conversions. Type mismatch (13) for a text that is no number,
// overflow (6) out of range.
double CDbl(QStringView text);
float CSng(QStringView text);
// The same under a format looked up once, for loops over many texts.
float CSng(QStringView text, const NumberFormat& fmt);
int16_t CInt(QStringView text);
int32_t CLng(QStringView text);
bool IsNumeric(QStringView text);
// The locale-aware conversion under the given format, without raising: false
// where CDbl would raise (no number, or out of range).
bool ReadLocaleNumber(QStringView text, const NumberFormat& fmt, double& value);
// The same over Windows-1252 bytes as a file holds them, decoded one at a time.
bool ReadLocaleNumberCp1252(QByteArrayView bytes, const NumberFormat& fmt, double& value);
// Val(CommaToPoint(text)) over Windows-1252 bytes, without copying them.
double ValFirstCommaAsPoint(QByteArrayView bytes);

// A number as other programs write it in their files, whatever the regional
// format: an optional sign, digits with at most one decimal mark (the one
// given, '.' or ','), an optional exponent (e or E); nothing else, no blanks
// and no grouping. Read to the nearest double. False for any other text and
// out of the double range (an underflow gives 0).
bool ReadPlainNumber(QByteArrayView text, char decimal, double& value);
// True when such a number has neither decimal mark nor exponent.
bool IsPlainWholeNumber(QByteArrayView text);

// Double to integer conversions as the program's 16- and 32-bit variables do
// them: half to even, overflow (6) out of range.
int16_t ToInt16(double value);
int32_t ToInt32(double value);

} // namespace platform
