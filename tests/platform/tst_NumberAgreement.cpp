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

// Number text on millions of values against C's own printf and strtod, which
// state the rules exactly: the fast ways of getting the digits must never
// differ from them, whatever the value.

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

// Values of every kind the program meets, and some it should not.
class ValueSource {
public:
    explicit ValueSource(quint64 seed) : random_(seed) {}

    double next(int kind) {
        switch (kind % 6) {
        case 0: { // survey values: whole millimetres up to 10^7 m
            const double mm = double(random_.bounded(quint64(10000000000ULL)));
            return sign() * mm / 1000.0;
        }
        case 1: // any finite double, subnormals included
            for (;;) {
                const double value = std::bit_cast<double>(random_.generate());
                if (std::isfinite(value))
                    return value;
            }
        case 2: { // a decimal of 1 to 17 digits at any scale from 10^-9 to 10^20
            const int digits = 1 + int(random_.bounded(17));
            std::string text;
            for (int i = 0; i < digits; ++i)
                text += char('0' + random_.bounded(10));
            text += 'e' + std::to_string(int(random_.bounded(30)) - 9 - digits);
            return sign() * std::strtod(text.c_str(), nullptr);
        }
        case 3: { // exact binary halves and quarters at the edge of 15 digits
            const double whole = double(random_.bounded(quint64(2000000000000000ULL)));
            return sign() * (whole + double(random_.bounded(4)) / 4.0);
        }
        case 4: { // whole numbers, around 10^15 too
            const quint64 limit = random_.bounded(2) ? 2000000000000000ULL : 100000ULL;
            return sign() * double(random_.bounded(limit));
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

} // namespace

class TestNumberAgreement : public QObject {
    Q_OBJECT
private slots:
    void defaultTextAgreesWithPrintf_data();
    void defaultTextAgreesWithPrintf();
    void fixedDecimalsAgreeWithPrintf_data();
    void fixedDecimalsAgreeWithPrintf();
    void floatTextAgreesWithPrintf();
    void plainTextReadsAsStrtod();
};

void TestNumberAgreement::defaultTextAgreesWithPrintf_data() {
    QTest::addColumn<QString>("locale");
    QTest::newRow("fr") << "fr";
    QTest::newRow("en") << "en";
}

void TestNumberAgreement::defaultTextAgreesWithPrintf() {
    QFETCH(QString, locale);
    const NumberFormat fmt{locale == u"fr" ? QChar(u',') : QChar(u'.'), QChar(u' ')};
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
            QFAIL(qPrintable(QStringLiteral("%1: %2, printf says %3")
                                 .arg(value, 0, 'g', 17)
                                 .arg(actual, expected)));
    }
}

void TestNumberAgreement::fixedDecimalsAgreeWithPrintf_data() {
    QTest::addColumn<QString>("pattern");
    // The patterns of the list and the files, and some a user may type.
    for (const char* pattern : {"0", "0.0", "0.000", "0.000000", "###,###,###,##0.000", "##.000",
                                "#.##", "0.0##", "#,##0.00##"})
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

void TestNumberAgreement::fixedDecimalsAgreeWithPrintf() {
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
        const QString actual = compiled.format(value);
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
            QFAIL(qPrintable(QStringLiteral("%1 under %2 as UTF-8: %3, printf says %4")
                                 .arg(value, 0, 'g', 17)
                                 .arg(pattern, QString::fromUtf8(utf8, written), expected)));
        if (actual != expected || Format(value, pattern, fmt) != expected ||
            appended != QString(u'[' + expected))
            QFAIL(qPrintable(QStringLiteral("%1 under %2: %3, printf says %4")
                                 .arg(value, 0, 'g', 17)
                                 .arg(pattern, actual, expected)));
    }
}

void TestNumberAgreement::floatTextAgreesWithPrintf() {
    testing::RegionalFormatScope scope(testing::frenchFormat());
    ValueSource values(7);
    for (int i = 0; i < kValues / 4; ++i) {
        const auto value = static_cast<float>(valueAt(i, values));
        if (!std::isfinite(value))
            continue;
        const QString expected = referenceDefault(double(value), QChar(u','), "%.7G");
        QCOMPARE(DefaultTextFloat(value), expected);
    }
}

void TestNumberAgreement::plainTextReadsAsStrtod() {
    QRandomGenerator64 random(3);
    for (int i = 0; i < kValues; ++i) {
        std::string text;
        const int sign = int(random.bounded(3));
        if (sign > 0)
            text += sign == 1 ? '-' : '+';
        const int digits = int(random.bounded(42));
        const int point = int(random.bounded(digits + 2)) - 1;
        for (int d = 0; d < digits; ++d) {
            if (d == point)
                text += '.';
            text += char('0' + random.bounded(10));
        }
        if (point == digits)
            text += '.';
        const bool hasDigit = digits > 0;
        const double expected = hasDigit ? std::strtod(text.c_str(), nullptr) : 0.0;
        const QByteArray bytes = QByteArray::fromStdString(text);
        const double fromBytes = Val(QLatin1StringView(bytes));
        const double fromText = Val(QString::fromLatin1(bytes));
        if (std::bit_cast<quint64>(fromBytes) != std::bit_cast<quint64>(expected) ||
            std::bit_cast<quint64>(fromText) != std::bit_cast<quint64>(expected))
            QFAIL(qPrintable(QStringLiteral("Val(\"%1\") = %2 / %3, strtod says %4")
                                 .arg(QString::fromStdString(text))
                                 .arg(fromBytes, 0, 'g', 17)
                                 .arg(fromText, 0, 'g', 17)
                                 .arg(expected, 0, 'g', 17)));
    }
}

TOVALIN_TEST(TestNumberAgreement)
#include "tst_NumberAgreement.moc"
