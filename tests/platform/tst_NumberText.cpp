#include "Fixtures.h"
#include "RuntimeErrors.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "platform/NumberText.h"

#include <QRandomGenerator64>
#include <QTest>
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

using namespace platform;
using namespace testing;

// Number text on millions of values against C's own printf and strtod, which
// state the rules exactly: the fast ways of getting the digits must never
// differ from them, whatever the value. Then the rules as printf cannot state
// them: patterns beyond plain placeholders, the regional characters, and
// every reading of a text.

namespace {

// %.15G with the regional decimal character; negative zero gives "0".
QString referenceDefault(double value, QChar decimal, const char* format = "%.15G") {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    QString result = QString::fromLatin1(text);
    if (result == QLatin1String("-0"))
        return QStringLiteral("0");
    return result.replace(QLatin1Char('.'), decimal);
}

// Format(value, pattern) for patterns of placeholders, grouping commas and a
// point: the 15 digits of %.14e rounded half away from zero to the pattern's
// decimals, integer digits padded to its '0's, trailing decimal zeros kept
// for its '0's only.
QString referenceFormat(double value, const QString& pattern, QChar decimal, QChar group) {
    const qsizetype point = pattern.indexOf(u'.');
    const QString integerPart = point < 0 ? pattern : pattern.left(point);
    const QString decimalPart = point < 0 ? QString() : pattern.mid(point + 1);
    const int integerZeros = int(integerPart.count(u'0'));
    const bool grouping = integerPart.contains(u',');
    const int decimals = int(decimalPart.size());
    const int mandatory = int(decimalPart.lastIndexOf(u'0')) + 1;

    char text[64];
    std::snprintf(text, sizeof text, "%.14e", std::fabs(value));
    std::string digits;
    const char* p = text;
    for (; *p != 'e'; ++p) {
        if (*p != '.')
            digits += *p;
    }
    const int exponent = std::atoi(p + 1);
    auto digitAt = [&](int power) {
        const int index = exponent - power;
        return index >= 0 && index < 15 ? digits[index] : '0';
    };
    std::string number;
    for (int power = std::max(exponent, 0); power >= -decimals; --power)
        number += digitAt(power);
    if (digitAt(-decimals - 1) >= '5') {
        int i = int(number.size()) - 1;
        while (i >= 0 && number[i] == '9')
            number[i--] = '0';
        if (i >= 0)
            ++number[i];
        else
            number.insert(number.begin(), '1');
    }
    std::string whole = number.substr(0, number.size() - decimals);
    whole.erase(0, whole.find_first_not_of('0') == std::string::npos
                       ? whole.size()
                       : whole.find_first_not_of('0'));
    if (int(whole.size()) < integerZeros)
        whole.insert(0, std::size_t(integerZeros) - whole.size(), '0');
    QString result = value < 0 ? QStringLiteral("-") : QString();
    for (std::size_t i = 0; i < whole.size(); ++i) {
        if (grouping && i > 0 && (whole.size() - i) % 3 == 0)
            result += group;
        result += QLatin1Char(whole[i]);
    }
    if (point >= 0) {
        std::string fraction = number.substr(number.size() - decimals);
        while (int(fraction.size()) > mandatory && fraction.back() == '0')
            fraction.pop_back();
        result += decimal + QString::fromStdString(fraction);
    }
    return result;
}

// A value's text that printf does not give: what the test says.
QByteArray differs(double value, const QString& how, const QString& actual,
                   const QString& expected) {
    return QStringLiteral("%1%2: \"%3\", printf says \"%4\"")
        .arg(value, 0, 'g', 17)
        .arg(how, actual, expected)
        .toUtf8();
}

// Values of every kind the program meets, and some it should not.
class ValueSource {
public:
    explicit ValueSource(quint64 seed) : random_(seed) {}

    double next(int kind) {
        switch (kind % 4) {
        case 0: // any finite double, subnormals included
            for (;;) {
                const double value = std::bit_cast<double>(random_.generate());
                if (std::isfinite(value))
                    return value;
            }
        case 1: { // a decimal of 1 to 17 digits at any scale from 10^-9 to 10^20, as
                  // survey values, whole numbers to 10^15 and beyond
            const int digits = 1 + int(random_.bounded(17));
            std::string text;
            for (int i = 0; i < digits; ++i)
                text += char('0' + random_.bounded(10));
            text += 'e' + std::to_string(int(random_.bounded(30)) - 9 - digits);
            return sign() * std::strtod(text.c_str(), nullptr);
        }
        case 2: { // exact binary halves and quarters at the edge of 15 digits
            const double whole = double(random_.bounded(quint64(2000000000000000ULL)));
            return sign() * (whole + double(random_.bounded(4)) / 4.0);
        }
        default: { // a hair either side of a rounding half, up to where 15 digits end
            const double base = double(random_.bounded(quint64(100000000))) + 0.5;
            const double scale = std::pow(10.0, -int(random_.bounded(8)));
            double value = base * scale;
            const int steps = int(random_.bounded(129)) - 64;
            for (int step = 0; step < std::abs(steps); ++step)
                value = std::nextafter(value, steps < 0 ? 0.0 : 1e300);
            return sign() * value;
        }
        }
    }

private:
    double sign() { return random_.bounded(2) ? -1.0 : 1.0; }
    QRandomGenerator64 random_;
};

constexpr int kValues = 1000000;

// Values at the edges of the rules, checked before the random ones: zeros,
// halves at the rounding digit, binary just below one, carries into a new
// digit or group, the ends of the fixed form...
const double kEdges[] = {0.0,     -0.0,   0.5,        -0.5,   2.5,   -2.5,   0.0004,
                         -0.0004, 0.0005, -0.0005,    1.0005, 2.675, 9.9995, 999999.9996,
                         1e-5,    -1e-5,  9.99999e-6, 0.0001, 1e15,  -1e15};
// ...and of 15 digits, of the double and of the float ranges.
const double kLimits[] = {
    999999999999999.5,      999999999999999.9, 123456789012345678.0, -1.25e20, 1e-300, 4.9e-324,
    1.7976931348623157e308, 16777216.0,        3.4028234663852886e38};

// The edges first, then values of every kind.
double valueAt(int i, ValueSource& values) {
    constexpr int edges = int(std::size(kEdges));
    constexpr int limits = int(std::size(kLimits));
    return i < edges ? kEdges[i] : i < edges + limits ? kLimits[i - edges] : values.next(i);
}

const QChar nnbsp(0x202F);
constexpr int overflow = RuntimeError::Overflow;
constexpr int mismatch = RuntimeError::TypeMismatch;

QLocale localeNamed(const char* name) {
    return qstrcmp(name, "en") == 0 ? englishFormat() : frenchFormat();
}

// Texts in the tests use '_' for the French grouping character (U+202F).
QString withGroup(QString text) {
    return text.replace(QLatin1Char('_'), nnbsp);
}

// Doubles compared bit for bit, both zeros as one: the conversions must be
// exact, not close.
quint64 bits(double value) {
    return std::bit_cast<quint64>(value + 0.0);
}

// An integer conversion's result, or the error it raised as err(number).
constexpr qint64 err(int number) {
    return -(qint64(1) << 40) - number;
}
template <typename F> qint64 outcome(F&& call) {
    try {
        return call();
    } catch (const RuntimeError& error) {
        return err(error.number());
    }
}

// A double, or a text formatted as the number it reads as.
struct Formatted {
    const char* locale;
    QVariant from;
    QString pattern;
    QString expected;
};
// A reading: the value, or the error raised. How: "val" for Val (under the
// French format), "fr" or "en" for CDbl under that one, "sng" for CSng (French),
// "long" for both Val and CDbl (English).
struct Read {
    const char* how;
    QString text;
    double expected;
    int error = 0;
};
// To 16 and 32 bits: a double, or a text read under the French format.
struct Rounded {
    QVariant from;
    qint64 int16;
    qint64 int32;
};

} // namespace
Q_DECLARE_METATYPE(Formatted)
Q_DECLARE_METATYPE(Read)
Q_DECLARE_METATYPE(Rounded)

class TestNumberText : public QObject {
    Q_OBJECT

private slots:
    // Doubles to 15 digits, floats to 7, under either decimal character.
    void defaultTextAgreesWithPrintf_data() {
        QTest::addColumn<QString>("locale");
        QTest::newRow("fr") << "fr";
        QTest::newRow("en") << "en";
    }

    void defaultTextAgreesWithPrintf() {
        QFETCH(QString, locale);
        RegionalFormatScope scope(localeNamed(qPrintable(locale)));
        const NumberFormat fmt = NumberFormat::current();
        ValueSource values(1);
        TextBuffer buffer;
        for (int i = 0; i < kValues; ++i) {
            const double value = valueAt(i, values);
            const QString expected = referenceDefault(value, fmt.decimal);
            buffer.clear();
            AppendDefaultText(buffer, value, fmt);
            const QString actual =
                QString(reinterpret_cast<const QChar*>(buffer.constData()), buffer.size());
            if (actual != expected || DefaultText(value, fmt) != expected)
                QFAIL(differs(value, QString(), actual, expected));
            const auto single = static_cast<float>(value);
            if (i >= kValues / 4 || !std::isfinite(single))
                continue;
            const QString singleText = referenceDefault(double(single), fmt.decimal, "%.7G");
            if (DefaultTextFloat(single) != singleText)
                QFAIL(differs(single, QStringLiteral(" as a float"), DefaultTextFloat(single),
                              singleText));
        }
    }

    void fixedDecimalsAgreeWithPrintf_data() {
        QTest::addColumn<QString>("pattern");
        // The patterns of the list and the files, and some a user may type.
        for (const char* pattern : {"0", "0.0", "0.000", "0.000000", "###,###,###,##0.000",
                                    "##.000", "#.##", "0.0##", "#,##0.00##"})
            QTest::newRow(pattern) << QString::fromLatin1(pattern);
        // Patterns of any length, as a hand-edited settings file can hold them.
        for (const int zeros : {19, 20, 21, 40, 65, 200}) {
            const QString digits(zeros, u'0');
            QTest::newRow(qPrintable(QStringLiteral("%1 zeros").arg(zeros))) << digits;
            QTest::newRow(qPrintable(QStringLiteral("%1 grouped, 3 decimals").arg(zeros)))
                << QStringLiteral("#,") + digits + QStringLiteral(".000");
            QTest::newRow(qPrintable(QStringLiteral("%1 decimals").arg(zeros)))
                << QStringLiteral("0.") + digits;
        }
    }

    void fixedDecimalsAgreeWithPrintf() {
        QFETCH(QString, pattern);
        const NumberFormat fmt{QChar(u','), QChar(0x202F)};
        const NumberPattern compiled(pattern, fmt);
        ValueSource values(qHash(pattern));
        for (int i = 0; i < kValues / 4; ++i) {
            double value = valueAt(i, values);
            // Beyond 10^20 the texts get long and say nothing new.
            if (std::fabs(value) > 1e20)
                value = std::fmod(value, 1e20);
            const QString expected = referenceFormat(value, pattern, fmt.decimal, fmt.group);
            // Appended after what the buffer holds.
            TextBuffer buffer;
            buffer.append(u"[", 1);
            compiled.append(buffer, value);
            const QStringView appended(buffer.constData(), buffer.size());
            // The UTF-8 writer either writes the whole text within its room or
            // leaves it to the others; the bytes past the room stay as they were.
            char utf8[NumberPattern::kUtf8Room + 256];
            std::fill(std::begin(utf8), std::end(utf8), '~');
            const int written = compiled.writeUtf8(value, utf8);
            QVERIFY(written <= NumberPattern::kUtf8Room &&
                    std::all_of(utf8 + NumberPattern::kUtf8Room, std::end(utf8),
                                [](char c) { return c == '~'; }));
            if (written >= 0 && QByteArray(utf8, written) != expected.toUtf8())
                QFAIL(differs(value, QStringLiteral(" as UTF-8 under ") + pattern,
                              QString::fromUtf8(utf8, written), expected));
            if (appended != QString(u'[' + expected))
                QFAIL(differs(value, QStringLiteral(" under ") + pattern, appended.toString(),
                              expected));
        }
    }

    // The numeric locale is the first set of LC_ALL, LC_NUMERIC, LANG; C, POSIX,
    // nothing or an unknown name give the French format.
    void regionalLocale_data() {
        Rows<QStringList> row; // LC_ALL, LC_NUMERIC, LANG, the locale's name
        row("nothing set", {"", "", "", "fr_FR"});
        row("LANG C.UTF-8", {"", "", "C.UTF-8", "fr_FR"});
        row("LANG en_US", {"", "", "en_US.UTF-8", "en_US"});
        row("LANG fr, LC_NUMERIC C", {"", "C", "fr_FR.UTF-8", "fr_FR"});
        row("LANG C, LC_NUMERIC en", {"", "en_US.UTF-8", "C", "en_US"});
        row("LANG fr, LC_NUMERIC en", {"", "en_US.UTF-8", "fr_FR.UTF-8", "en_US"});
        row("LC_ALL en over LC_NUMERIC de", {"en_US.UTF-8", "de_DE.UTF-8", "", "en_US"});
        row("LC_ALL C over LANG en", {"C.UTF-8", "", "en_US.UTF-8", "fr_FR"});
        row("modifier", {"", "", "de_DE.UTF-8@euro", "de_DE"});
        row("unknown name", {"", "", "zz_ZZ", "fr_FR"});
    }

    void regionalLocale() {
        QFETCH(QStringList, c);
        QCOMPARE(RegionalLocale(c[0], c[1], c[2]).name(), c[3]);
    }

    void format_data() {
        Rows<Formatted> row;
        const QString list = QStringLiteral("###,###,###,##0.000");
        const QString listWhole = QStringLiteral("###,###,###,##");
        row("en list", {"en", 1234.5, list, "1,234.500"});
        row("list whole", {"fr", 1234.5, listWhole, withGroup("1_235")});
        row("list whole small", {"fr", 0.4, listWhole, ""});
        row("en binary below half", {"en", 2.675, "0.00", "2.68"});
        // Placeholders.
        row("# point en", {"en", 12.0, "#.##", "12."});
        row("0. point kept", {"fr", 12.4, "0.", "12,"});
        row("0.#0 to last 0", {"fr", 0.1, "0.#0", "0,10"});
        row("group six zeros", {"fr", 5.0, "000,000", withGroup("000_005")});
        // Ordinary characters.
        row("literals", {"fr", 3.5, "X0.0 m", "X3,5 m"});
        row("literal after sign", {"fr", -3.5, "X0.0 m", "-X3,5 m"});
        row("literal between goes after", {"fr", 12.0, "0-0", "12-"});
        row("comma after point", {"fr", 1.25, "0.0,0", "1,25,"});
        row("second point", {"en", 1.25, "0.0.0", "1.25."});
        row("point first", {"fr", 0.25, ".00", ",25"});
        // No placeholder: the default text.
        row("empty pattern", {"fr", 1.5, "", "1,5"});
        row("point only", {"en", 1e20, ".", "1E+20"});
        // A text that reads as a number under the regional format is that number.
        row("text fr", {"fr", "1,5", "0.000", "1,500"});
        row("text fr point is no number", {"fr", "1.5", "0.000", "1.5"});
        row("text empty", {"fr", "", "0.000", ""});
        row("text overflow", {"fr", "1e400", "0.000", "1e400"});
        // Values no coordinate holds give their default text, whatever the pattern.
        const double inf = std::numeric_limits<double>::infinity();
        row("infinity", {"fr", inf, "###,###,###,##0.000", "INF"});
        row("minus infinity", {"fr", -inf, "0.00 m", "-INF"});
        row("NaN", {"fr", std::numeric_limits<double>::quiet_NaN(), "0.00 m", "NAN"});
    }

    void format() {
        QFETCH(Formatted, c);
        RegionalFormatScope scope(localeNamed(c.locale));
        if (c.from.typeId() == QMetaType::QString) {
            QCOMPARE(Format(c.from.toString(), c.pattern), c.expected);
            return;
        }
        const double value = c.from.toDouble();
        QCOMPARE(Format(value, c.pattern), c.expected);
        if (!std::isfinite(value))
            QCOMPARE(DefaultText(value), c.expected);
    }

    void read_data() {
        Rows<Read> row;
        row("val comma ends", {"val", "1,5", 1.0});
        row("val exponent", {"val", "1e3", 1000.0});
        row("val letter without digits", {"val", "1E", 1.0});
        row("val letter and sign", {"val", "1e+", 1.0});
        row("val D exponent", {"val", "1d2", 100.0});
        row("val blanks everywhere", {"val", "  -1 2.5e1x", -125.0});
        row("val blank after sign", {"val", "- 5", -5.0});
        row("val blank in exponent", {"val", "1e 3", 1000.0});
        row("val tabs", {"val", "\t7\t8", 78.0});
        row("val two signs", {"val", "--3", 0.0});
        row("val second point ends", {"val", "1.2.3", 1.2});
        row("val word", {"val", "abc", 0.0});
        row("val line feed ends", {"val", "5\n6", 5.0});
        row("val line feed first", {"val", "\n5", 0.0});
        row("val no-break space ends", {"val", QStringLiteral("5\u00a06"), 5.0});
        row("val underflow", {"val", "1e-400", 0.0});
        row("val huge negative exponent", {"val", "1e-99999999999999999999", 0.0});
        row("val denormal", {"val", "4.9e-324", std::numeric_limits<double>::denorm_min()});
        row("val largest", {"val", "1.7976931348623157e308", std::numeric_limits<double>::max()});
        row("val tie to even", {"val", "9007199254740993", 9007199254740992.0});
        row("val above tie", {"val", "9007199254740993.0000000000000001", 9007199254740994.0});
        // The quick way for plain texts goes no further than one division
        // rounds right: 15 digits.
        row("val 16 digits", {"val", "983533740.6812415", 983533740.6812415});
        row("val 17 digits", {"val", "-52957087.103283316", -52957087.103283316});
        row("val beyond range", {"val", "1.8e308", 0, overflow});
        row("val huge exponent", {"val", "1e99999999999999999999", 0, overflow});
        // Past 96 characters a text keeps its first 800 significant digits,
        // whether a later one is not zero, and its exponent: Val and CDbl read
        // it as strtod does.
        const QString zeros(2000, u'0');
        row("long leading zeros", {"long", QString(150, u'0') + "42", 42.0});
        row("long halfway", {"long", "9007199254740993." + zeros, 9007199254740992.0});
        row("long past halfway by the last digit",
            {"long", "9007199254740993." + zeros + "1", 9007199254740994.0});
        row("long halfway of 54 digits",
            {"long", "1.00000000000000033306690738754696212708950042724609375" + zeros,
             1.0000000000000004});
        row("long underflow", {"long", "0." + zeros.repeated(3) + "1", 0.0});
        row("long overflow", {"long", "1" + QString(400, u'0'), 0, overflow});
        row("long exponent", {"long", "0." + zeros.repeated(3) + "1e6000", 0.1});
        row("fr decimal", {"fr", "1,5", 1.5});
        row("fr point", {"fr", "1.5", 0, mismatch});
        row("fr narrow group", {"fr", withGroup("1_234,5"), 1234.5});
        row("fr space group", {"fr", "1 234,5", 1234.5});
        row("fr no-break group", {"fr", QStringLiteral("1\u00a0234,5"), 1234.5});
        row("fr groups anywhere", {"fr", "12 34 5678", 12345678.0});
        row("fr group after decimal", {"fr", "1 234,5 6", 0, mismatch});
        row("fr blanks around", {"fr", "  -1,5  ", -1.5});
        row("fr plus", {"fr", "+2", 2.0});
        row("fr trailing decimal", {"fr", "1,", 1.0});
        row("fr leading decimal", {"fr", ",5", 0.5});
        row("fr decimal only", {"fr", ",", 0, mismatch});
        row("fr two decimals", {"fr", "1,2,3", 0, mismatch});
        row("fr exponent", {"fr", "1,5E2", 150.0});
        row("fr exponent without digits", {"fr", "1e", 0, mismatch});
        row("fr exponent without mantissa", {"fr", "e5", 0, mismatch});
        row("fr D exponent", {"fr", "1d2", 0, mismatch});
        row("fr trailing letter", {"fr", "1x", 0, mismatch});
        row("fr tab", {"fr", "\t1", 0, mismatch});
        row("fr empty", {"fr", "", 0, mismatch});
        row("fr overflow", {"fr", "1e400", 0, overflow});
        row("fr negative overflow", {"fr", "-1,8e308", 0, overflow});
        row("fr underflow", {"fr", "1e-400", 0.0});
        row("fr exact", {"fr", "0,30000000000000004", 0.1 + 0.2});
        row("en comma groups", {"en", "1,5", 15.0});
        row("en decimal", {"en", "1.5", 1.5});
        row("en space", {"en", "1 234.5", 0, mismatch});
        row("sng decimal", {"sng", "0,1", 0.1f});
        row("sng 2^24+1 ties to even", {"sng", "16777217", 16777216.0f});
        // Just above the halfway point between 1 and the next float: read through
        // a double it would land exactly on the half and round down.
        row("sng no double rounding", {"sng", "1,0000000596046448", 1.00000011920928955078125f});
        row("sng largest", {"sng", "3,4028235e38", std::numeric_limits<float>::max()});
        row("sng beyond float", {"sng", "3,5e38", 0, overflow});
        row("sng beyond double", {"sng", "1e400", 0, overflow});
        row("sng underflow", {"sng", "1e-50", 0.0f});
        row("sng mismatch", {"sng", "1.5", 0, mismatch});
    }

    void read() {
        QFETCH(Read, c);
        const QByteArray how = c.how;
        double got = 0;
        if (how == "val" || how == "long") {
            // Val ignores the regional format, the comma's; from the file's
            // bytes it reads the same.
            RegionalFormatScope scope(frenchFormat());
            const QByteArray bytes = c.text.toLatin1();
            QCOMPARE(errorOf([&] { got = Val(c.text); }), c.error);
            if (c.error == 0)
                QCOMPARE(bits(got), bits(c.expected));
            QCOMPARE(errorOf([&] { got = Val(QLatin1StringView(bytes)); }), c.error);
            if (c.error == 0)
                QCOMPARE(bits(got), bits(c.expected));
        }
        if (how == "sng") {
            RegionalFormatScope scope(frenchFormat());
            float single = 0;
            QCOMPARE(errorOf([&] { single = CSng(c.text); }), c.error);
            if (c.error == 0)
                QCOMPARE(std::bit_cast<quint32>(single), std::bit_cast<quint32>(float(c.expected)));
        } else if (how != "val") {
            RegionalFormatScope scope(localeNamed(how == "long" ? "en" : c.how));
            QCOMPARE(errorOf([&] { got = CDbl(c.text); }), c.error);
            if (c.error == 0)
                QCOMPARE(bits(got), bits(c.expected));
            QCOMPARE(IsNumeric(c.text), c.error == 0);
            QCOMPARE(ReadLocaleNumber(c.text, NumberFormat::current(), got), c.error == 0);
            if (c.error == 0)
                QCOMPARE(bits(got), bits(c.expected));
        }
    }

    void toIntegers_data() {
        Rows<Rounded> row;
        const double inf = std::numeric_limits<double>::infinity();
        const qint64 min32 = std::numeric_limits<int32_t>::min();
        row("half to even down", {2.5, 2, 2});
        row("half to even up", {3.5, 4, 4});
        row("negative half to zero", {-0.5, 0, 0});
        // floor(x + 0.5) would give 1: the sum rounds up in binary.
        row("largest below half", {0.49999999999999994, 0, 0});
        row("int16 bound", {32767.49, 32767, 32767});
        row("int16 past bound", {32767.5, err(overflow), 32768});
        row("int16 min even", {-32768.5, -32768, -32768});
        row("int16 below min", {-32768.6, err(overflow), -32769});
        row("int32 past bound", {2147483647.5, err(overflow), err(overflow)});
        row("int32 min even", {-2147483648.5, err(overflow), min32});
        row("int32 below min", {-2147483649.0, err(overflow), err(overflow)});
        row("NaN", {std::numeric_limits<double>::quiet_NaN(), err(overflow), err(overflow)});
        row("infinity", {inf, err(overflow), err(overflow)});
        // CInt and CLng read the text under the regional format first.
        row("text half to even", {"-2,5", -2, -2});
        row("text int16 past bound", {"32767,5", err(overflow), 32768});
        row("text grouped", {"1 000", 1000, 1000});
        row("text word", {"abc", err(mismatch), err(mismatch)});
        row("text huge", {"1e300", err(overflow), err(overflow)});
    }

    void toIntegers() {
        QFETCH(Rounded, c);
        RegionalFormatScope scope(frenchFormat());
        if (c.from.typeId() == QMetaType::Double) {
            const double value = c.from.toDouble();
            QCOMPARE(outcome([&] { return ToInt16(value); }), c.int16);
            QCOMPARE(outcome([&] { return ToInt32(value); }), c.int32);
        } else {
            const QString text = c.from.toString();
            QCOMPARE(outcome([&] { return CInt(text); }), c.int16);
            QCOMPARE(outcome([&] { return CLng(text); }), c.int32);
        }
    }
};

TOVALIN_TEST(TestNumberText)
#include "tst_NumberText.moc"
