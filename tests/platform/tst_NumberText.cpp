#include "TestRunner.h"
#include "TestSupport.h"

#include "platform/NumberText.h"
#include "platform/RuntimeError.h"
#include "platform/Variant.h"

#include <QTest>
#include <bit>
#include <cmath>
#include <limits>

using namespace platform;

namespace {

const QChar nnbsp(0x202F);
const QChar nbsp(0x00A0);

QLocale localeNamed(const QString& name) {
    return name == QLatin1String("en") ? testing::englishFormat() : testing::frenchFormat();
}

// Texts in the tests use '_' for the French grouping character (U+202F).
QString withGroup(QString text) {
    return text.replace(QLatin1Char('_'), nnbsp);
}

template <typename F> int errorOf(F&& call) {
    try {
        call();
    } catch (const RuntimeError& error) {
        return error.number();
    }
    return 0;
}

// Doubles compared bit for bit: the conversions must be exact, not close.
quint64 bits(double value) {
    return std::bit_cast<quint64>(value);
}

} // namespace

class TestNumberText : public QObject {
    Q_OBJECT

private slots:
    void regionalCharacters();
    void formatCharactersFollowTheDefaultLocale();
    void installRegionalFormatFallsBackToFrench();

    void formatNumber_data();
    void formatNumber();
    void formatNonFiniteDoesNotCrash();
    void formatText_data();
    void formatText();

    void defaultText_data();
    void defaultText();
    void defaultTextFloat_data();
    void defaultTextFloat();
    void numericPrint();

    void val_data();
    void val();
    void valErrors_data();
    void valErrors();

    void cdbl_data();
    void cdbl();
    void csng_data();
    void csng();
    void cintAndClng_data();
    void cintAndClng();
    void toIntegers_data();
    void toIntegers();

    void variant();
};

void TestNumberText::regionalCharacters() {
    {
        testing::RegionalFormatScope scope(testing::frenchFormat());
        const NumberFormat fmt = NumberFormat::current();
        QCOMPARE(fmt.decimal, QLatin1Char(','));
        QCOMPARE(fmt.group, nnbsp);
    }
    {
        testing::RegionalFormatScope scope(testing::englishFormat());
        const NumberFormat fmt = NumberFormat::current();
        QCOMPARE(fmt.decimal, QLatin1Char('.'));
        QCOMPARE(fmt.group, QLatin1Char(','));
    }
}

// The characters are cached between calls; switching back and forth must
// still give the characters of the locale in force.
void TestNumberText::formatCharactersFollowTheDefaultLocale() {
    for (int round = 0; round < 2; ++round) {
        {
            testing::RegionalFormatScope scope(testing::frenchFormat());
            QCOMPARE(Format(1234.5, u"#,##0.0"), withGroup("1_234,5"));
            QCOMPARE(DefaultText(1.5), QStringLiteral("1,5"));
        }
        {
            testing::RegionalFormatScope scope(testing::englishFormat());
            QCOMPARE(Format(1234.5, u"#,##0.0"), QStringLiteral("1,234.5"));
            QCOMPARE(DefaultText(1.5), QStringLiteral("1.5"));
        }
    }
}

void TestNumberText::installRegionalFormatFallsBackToFrench() {
    if (QLocale::system().language() != QLocale::C)
        QSKIP("the environment gives a real locale (the test suite runs under LC_ALL=C.UTF-8)");
    testing::RegionalFormatScope scope(testing::englishFormat());
    installRegionalFormat();
    QCOMPARE(NumberFormat::current().decimal, QLatin1Char(','));
    QCOMPARE(NumberFormat::current().group, nnbsp);
    QCOMPARE(QLocale().language(), QLocale::French);
}

void TestNumberText::formatNumber_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("expected");

    const QString list = QStringLiteral("###,###,###,##0.000");
    // The list's pattern under both formats.
    QTest::newRow("fr list") << "fr" << 1234.5 << list << withGroup("1_234,500");
    QTest::newRow("en list") << "en" << 1234.5 << list << "1,234.500";
    QTest::newRow("fr list half") << "fr" << 0.5 << list << "0,500";
    QTest::newRow("en list half") << "en" << 0.5 << list << "0.500";
    QTest::newRow("fr list millions") << "fr" << 1234567.891 << list << withGroup("1_234_567,891");
    QTest::newRow("fr list negative")
        << "fr" << -1234567.8915 << list << withGroup("-1_234_567,892");
    QTest::newRow("fr list carry adds a group")
        << "fr" << 999999.9996 << list << withGroup("1_000_000,000");
    QTest::newRow("fr list no decimals")
        << "fr" << 1234.5 << "###,###,###,##" << withGroup("1_235");
    QTest::newRow("fr list no decimals small") << "fr" << 0.4 << "###,###,###,##"
                                               << "";
    QTest::newRow("fr list optional decimals")
        << "fr" << 1234.5 << "###,###,###,##0.##" << withGroup("1_234,5");

    // Rounding: half away from zero on the 15-digit text.
    QTest::newRow("half up") << "fr" << 2.5 << "0"
                             << "3";
    QTest::newRow("half down negative") << "fr" << -2.5 << "0"
                                        << "-3";
    QTest::newRow("half of one") << "fr" << 0.5 << "0"
                                 << "1";
    QTest::newRow("negative half of one") << "fr" << -0.5 << "0"
                                          << "-1";
    QTest::newRow("just below half") << "fr" << 0.49999 << "0"
                                     << "0";
    QTest::newRow("0.0005") << "fr" << 0.0005 << "0.000"
                            << "0,001";
    QTest::newRow("0.00049") << "fr" << 0.00049 << "0.000"
                             << "0,000";
    QTest::newRow("1.0005 binary below half") << "fr" << 1.0005 << "0.000"
                                              << "1,001";
    QTest::newRow("2.675 binary below half") << "en" << 2.675 << "0.00"
                                             << "2.68";
    QTest::newRow("9.9995 carries") << "fr" << 9.9995 << "0.000"
                                    << "10,000";
    QTest::newRow("first kept digit rounds") << "fr" << 0.0006 << "0.000"
                                             << "0,001";
    QTest::newRow("kept none below half") << "fr" << 0.0004 << "0.000"
                                          << "0,000";

    // Sign.
    QTest::newRow("negative rounds to zero") << "fr" << -0.0004 << "0.000"
                                             << "-0,000";
    QTest::newRow("negative zero") << "fr" << -0.0 << "0.000"
                                   << "0,000";
    QTest::newRow("negative tiny #") << "fr" << -0.3 << "#"
                                     << "-";

    // Placeholders.
    QTest::newRow("# decimal char kept") << "fr" << 12.0 << "#.##"
                                         << "12,";
    QTest::newRow("# decimal char kept en") << "en" << 12.0 << "#.##"
                                            << "12.";
    QTest::newRow("0. decimal char kept") << "fr" << 12.4 << "0."
                                          << "12,";
    QTest::newRow("# no leading zero") << "fr" << 0.5 << "##.000"
                                       << ",500";
    QTest::newRow("# zero shows only point") << "fr" << 0.0 << "#.##"
                                             << ",";
    QTest::newRow("# zero shows nothing") << "fr" << 0.0 << "#"
                                          << "";
    QTest::newRow("# rounds up to one") << "fr" << 0.5 << "#"
                                        << "1";
    QTest::newRow("# decimals dropped") << "fr" << 1.5 << "0.##"
                                        << "1,5";
    QTest::newRow("0.0# one") << "fr" << 1.0 << "0.0#"
                              << "1,0";
    QTest::newRow("0.0# two") << "fr" << 0.125 << "0.0#"
                              << "0,13";
    QTest::newRow("0.0# zero kept") << "fr" << 0.1 << "0.0#"
                                    << "0,1";
    QTest::newRow("0.#0 up to last 0") << "fr" << 0.1 << "0.#0"
                                       << "0,10";
    QTest::newRow("padding zeros") << "fr" << 5.0 << "000"
                                   << "005";
    QTest::newRow("more digits than placeholders") << "fr" << 123456.0 << "0"
                                                   << "123456";
    QTest::newRow("grouping padding zeros")
        << "fr" << 1234.0 << "#,0000000" << withGroup("0_001_234");
    QTest::newRow("grouping six zeros") << "fr" << 5.0 << "000,000" << withGroup("000_005");
    QTest::newRow("grouping en no decimal point") << "en" << 1234567.0 << "#,#"
                                                  << "1,234,567";
    QTest::newRow("grouping under three digits") << "fr" << 999.0 << "#,##0"
                                                 << "999";

    // Ordinary characters.
    QTest::newRow("literals around") << "fr" << 3.5 << "X0.0 m"
                                     << "X3,5 m";
    QTest::newRow("literal after the sign") << "fr" << -3.5 << "X0.0 m"
                                            << "-X3,5 m";
    QTest::newRow("literal between placeholders goes after") << "fr" << 12.0 << "0-0"
                                                             << "12-";
    QTest::newRow("comma after point is ordinary") << "fr" << 1.25 << "0.0,0"
                                                   << "1,25,";
    QTest::newRow("second point is ordinary") << "en" << 1.25 << "0.0.0"
                                              << "1.25.";
    QTest::newRow("point before placeholders") << "fr" << 0.25 << ".00"
                                               << ",25";

    // No placeholder: default text.
    QTest::newRow("empty pattern") << "fr" << 1.5 << ""
                                   << "1,5";
    QTest::newRow("text pattern") << "fr" << 0.1 + 0.2 << "abc"
                                  << "0,3";
    QTest::newRow("point only") << "en" << 1e20 << "."
                                << "1E+20";

    // 15 significant digits, all integer digits.
    QTest::newRow("huge") << "fr" << 1e20 << "0.000"
                          << "100000000000000000000,000";
    QTest::newRow("huge grouped") << "fr" << 1e20 << "#,##0"
                                  << withGroup("100_000_000_000_000_000_000");
    QTest::newRow("18 digits keep 15") << "fr" << 123456789012345678.0 << "0"
                                       << "123456789012346000";
    QTest::newRow("tiny") << "fr" << 1e-20 << "0.000"
                          << "0,000";
    QTest::newRow("decimals beyond 15 digits") << "fr" << 0.1 + 0.2 << "0.00000000000000000"
                                               << "0,30000000000000000";
    QTest::newRow("third beyond 15 digits") << "fr" << 1.0 / 3 << "0.0000000000000000000"
                                            << "0,3333333333333330000";
}

void TestNumberText::formatNumber() {
    QFETCH(QString, locale);
    QFETCH(double, value);
    QFETCH(QString, pattern);
    QFETCH(QString, expected);
    testing::RegionalFormatScope scope(localeNamed(locale));
    QCOMPARE(Format(value, pattern), expected);
    // The explicit-format overload must agree with the default one.
    QCOMPARE(Format(value, pattern, NumberFormat::current()), expected);
}

void TestNumberText::formatNonFiniteDoesNotCrash() {
    testing::RegionalFormatScope scope(testing::frenchFormat());
    const double values[] = {std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()};
    for (double value : values) {
        QVERIFY(!Format(value, u"###,###,###,##0.000").isEmpty());
        QVERIFY(!DefaultText(value).isEmpty());
    }
}

void TestNumberText::formatText_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("fr number") << "fr"
                               << "1,5"
                               << "1,500";
    QTest::newRow("fr point is no number") << "fr"
                                           << "1.5"
                                           << "1.5";
    QTest::newRow("en number") << "en"
                               << "1.5"
                               << "1.500";
    QTest::newRow("en comma groups") << "en"
                                     << "1,5"
                                     << "15.000";
    QTest::newRow("fr blanks around") << "fr"
                                      << "  -2  "
                                      << "-2,000";
    QTest::newRow("fr word") << "fr"
                             << "ABC"
                             << "ABC";
    QTest::newRow("fr empty") << "fr"
                              << ""
                              << "";
    QTest::newRow("fr overflow stays text") << "fr"
                                            << "1e400"
                                            << "1e400";
    QTest::newRow("fr exponent") << "fr"
                                 << "1,5E2"
                                 << "150,000";
}

void TestNumberText::formatText() {
    QFETCH(QString, locale);
    QFETCH(QString, text);
    QFETCH(QString, expected);
    testing::RegionalFormatScope scope(localeNamed(locale));
    QCOMPARE(Format(text, u"0.000"), expected);
}

void TestNumberText::defaultText_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("expected");

    QTest::newRow("0.1+0.2") << "fr" << 0.1 + 0.2 << "0,3";
    QTest::newRow("0.1+0.2 en") << "en" << 0.1 + 0.2 << "0.3";
    QTest::newRow("third") << "fr" << 1.0 / 3 << "0,333333333333333";
    QTest::newRow("two thirds rounds") << "fr" << 2.0 / 3 << "0,666666666666667";
    QTest::newRow("18 digits") << "fr" << 123456789012345678.0 << "1,23456789012346E+17";
    QTest::newRow("18 digits en") << "en" << 123456789012345678.0 << "1.23456789012346E+17";
    QTest::newRow("1e-5") << "fr" << 1e-5 << "1E-05";
    QTest::newRow("0.0001") << "fr" << 0.0001 << "0,0001";
    QTest::newRow("1.5e-7") << "fr" << 1.5e-7 << "1,5E-07";
    QTest::newRow("0.000123456") << "fr" << 0.000123456 << "0,000123456";
    QTest::newRow("1e15") << "fr" << 1e15 << "1E+15";
    QTest::newRow("15 nines") << "fr" << 999999999999999.0 << "999999999999999";
    QTest::newRow("rounding reaches 1e15") << "fr" << 999999999999999.5 << "1E+15";
    QTest::newRow("1e100") << "fr" << 1e100 << "1E+100";
    QTest::newRow("1e-300") << "fr" << 1e-300 << "1E-300";
    QTest::newRow("integer") << "fr" << 100.0 << "100";
    QTest::newRow("negative") << "fr" << -2.5 << "-2,5";
    QTest::newRow("negative exponent form") << "fr" << -1.25e20 << "-1,25E+20";
    QTest::newRow("zero") << "fr" << 0.0 << "0";
    QTest::newRow("negative zero") << "fr" << -0.0 << "0";
    QTest::newRow("largest") << "fr" << std::numeric_limits<double>::max()
                             << "1,79769313486232E+308";
    QTest::newRow("smallest denormal")
        << "en" << std::numeric_limits<double>::denorm_min() << "4.94065645841247E-324";
}

void TestNumberText::defaultText() {
    QFETCH(QString, locale);
    QFETCH(double, value);
    QFETCH(QString, expected);
    testing::RegionalFormatScope scope(localeNamed(locale));
    QCOMPARE(DefaultText(value), expected);
    QCOMPARE(DefaultText(value, NumberFormat::current()), expected);
}

void TestNumberText::defaultTextFloat_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<float>("value");
    QTest::addColumn<QString>("expected");

    QTest::newRow("2^24") << "fr" << 16777216.0f << "1,677722E+07";
    QTest::newRow("2^24 en") << "en" << 16777216.0f << "1.677722E+07";
    QTest::newRow("seven digits") << "fr" << 1234567.0f << "1234567";
    QTest::newRow("0.1") << "fr" << 0.1f << "0,1";
    QTest::newRow("third") << "fr" << 1.0f / 3 << "0,3333333";
    QTest::newRow("largest") << "fr" << std::numeric_limits<float>::max() << "3,402823E+38";
    QTest::newRow("small") << "fr" << 1.5e-5f << "1,5E-05";
    QTest::newRow("negative zero") << "fr" << -0.0f << "0";
}

void TestNumberText::defaultTextFloat() {
    QFETCH(QString, locale);
    QFETCH(float, value);
    QFETCH(QString, expected);
    testing::RegionalFormatScope scope(localeNamed(locale));
    QCOMPARE(DefaultTextFloat(value), expected);
}

void TestNumberText::numericPrint() {
    testing::RegionalFormatScope scope(testing::frenchFormat());
    QCOMPARE(NumericPrint(0.0), QStringLiteral(" 0 "));
    QCOMPARE(NumericPrint(-1.5), QStringLiteral(" -1,5 "));
}

void TestNumberText::val_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("expected");

    const QString locales[] = {QStringLiteral("fr"), QStringLiteral("en")};
    for (const QString& locale : locales) {
        auto row = [&](const char* name) -> QTestData& {
            return QTest::newRow(qPrintable(locale + QLatin1Char(' ') + QLatin1String(name)))
                   << locale;
        };
        row("plain") << "12.5" << 12.5;
        row("comma ends") << "1,5" << 1.0;
        row("exponent") << "1e3" << 1000.0;
        row("letter without digits") << "1E" << 1.0;
        row("letter and sign without digits") << "1e+" << 1.0;
        row("letter then word") << "2ex" << 2.0;
        row("D exponent") << "1d2" << 100.0;
        row("D negative exponent") << "1D-2" << 0.01;
        row("blanks everywhere") << "  -1 2.5e1x" << -125.0;
        row("blanks in digits") << "1 234.5" << 1234.5;
        row("blank after sign") << "- 5" << -5.0;
        row("blank in exponent") << "1e 3" << 1000.0;
        row("tabs") << "\t7\t8" << 78.0;
        row("plus") << "+3" << 3.0;
        row("two signs") << "--3" << 0.0;
        row("second point ends") << "1.2.3" << 1.2;
        row("leading point") << ".5" << 0.5;
        row("sign and point") << "-.5" << -0.5;
        row("trailing point") << "7." << 7.0;
        row("empty") << "" << 0.0;
        row("word") << "abc" << 0.0;
        row("sign only") << "-" << 0.0;
        row("line feed ends") << "5\n6" << 5.0;
        row("line feed first") << "\n5" << 0.0;
        row("no-break space ends")
            << QString(QLatin1String("5") + nbsp + QLatin1String("6")) << 5.0;
        row("underflow") << "1e-400" << 0.0;
        row("huge exponent underflow") << "1e-99999999999999999999" << 0.0;
        row("denormal") << "4.9e-324" << std::numeric_limits<double>::denorm_min();
        row("largest") << "1.7976931348623157e308" << std::numeric_limits<double>::max();
        row("nearest of 0.1+0.2") << "0.30000000000000004" << 0.1 + 0.2;
        row("tie to even") << "9007199254740993" << 9007199254740992.0;
        row("just above tie") << "9007199254740993.0000000000000001" << 9007199254740994.0;
        row("long text") << QString(QLatin1String("0.") + QString(200, QLatin1Char('0')) +
                                    QLatin1String("1e200"))
                         << 0.1;
        row("leading zeros") << QString(QString(150, QLatin1Char('0')) + QLatin1String("42"))
                             << 42.0;
    }
}

void TestNumberText::val() {
    QFETCH(QString, locale);
    QFETCH(QString, text);
    QFETCH(double, expected);
    testing::RegionalFormatScope scope(localeNamed(locale));
    const double got = Val(text);
    QCOMPARE(bits(got == 0 ? 0.0 : got), bits(expected));
}

void TestNumberText::valErrors_data() {
    QTest::addColumn<QString>("text");
    QTest::addRow("beyond range") << "1.8e308";
    QTest::addRow("big exponent") << "1e309";
    QTest::addRow("huge exponent") << "1e99999999999999999999";
    QTest::addRow("long digits") << QString(QLatin1String("1") + QString(400, QLatin1Char('0')));
    QTest::addRow("negative") << "-1e400";
}

void TestNumberText::valErrors() {
    QFETCH(QString, text);
    QCOMPARE(errorOf([&] { Val(text); }), int(RuntimeError::Overflow));
}

void TestNumberText::cdbl_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("expected");
    QTest::addColumn<int>("error");

    const int mismatch = RuntimeError::TypeMismatch;
    const int overflow = RuntimeError::Overflow;
    QTest::newRow("fr decimal") << "fr"
                                << "1,5" << 1.5 << 0;
    QTest::newRow("fr point") << "fr"
                              << "1.5" << 0.0 << mismatch;
    QTest::newRow("fr narrow group") << "fr" << withGroup("1_234,5") << 1234.5 << 0;
    QTest::newRow("fr space group") << "fr"
                                    << "1 234,5" << 1234.5 << 0;
    QTest::newRow("fr no-break group")
        << "fr" << QString(QLatin1String("1") + nbsp + QLatin1String("234,5")) << 1234.5 << 0;
    QTest::newRow("fr groups anywhere") << "fr"
                                        << "12 34 5678" << 12345678.0 << 0;
    QTest::newRow("fr group after decimal") << "fr"
                                            << "1 234,5 6" << 0.0 << mismatch;
    QTest::newRow("fr blanks around") << "fr"
                                      << "  -1,5  " << -1.5 << 0;
    QTest::newRow("fr plus") << "fr"
                             << "+2" << 2.0 << 0;
    QTest::newRow("fr trailing decimal") << "fr"
                                         << "1," << 1.0 << 0;
    QTest::newRow("fr leading decimal") << "fr"
                                        << ",5" << 0.5 << 0;
    QTest::newRow("fr decimal only") << "fr"
                                     << "," << 0.0 << mismatch;
    QTest::newRow("fr two decimals") << "fr"
                                     << "1,2,3" << 0.0 << mismatch;
    QTest::newRow("fr exponent") << "fr"
                                 << "1,5e2" << 150.0 << 0;
    QTest::newRow("fr negative exponent") << "fr"
                                          << "1E-2" << 0.01 << 0;
    QTest::newRow("fr exponent without digits") << "fr"
                                                << "1e" << 0.0 << mismatch;
    QTest::newRow("fr exponent sign without digits") << "fr"
                                                     << "1e+" << 0.0 << mismatch;
    QTest::newRow("fr exponent without mantissa") << "fr"
                                                  << "e5" << 0.0 << mismatch;
    QTest::newRow("fr D exponent") << "fr"
                                   << "1d2" << 0.0 << mismatch;
    QTest::newRow("fr trailing letter") << "fr"
                                        << "1x" << 0.0 << mismatch;
    QTest::newRow("fr tab") << "fr"
                            << "\t1" << 0.0 << mismatch;
    QTest::newRow("fr empty") << "fr"
                              << "" << 0.0 << mismatch;
    QTest::newRow("fr blanks") << "fr"
                               << "   " << 0.0 << mismatch;
    QTest::newRow("fr sign only") << "fr"
                                  << "-" << 0.0 << mismatch;
    QTest::newRow("fr overflow") << "fr"
                                 << "1e400" << 0.0 << overflow;
    QTest::newRow("fr negative overflow") << "fr"
                                          << "-1,8e308" << 0.0 << overflow;
    QTest::newRow("fr underflow") << "fr"
                                  << "1e-400" << 0.0 << 0;
    QTest::newRow("fr exact") << "fr"
                              << "0,30000000000000004" << 0.1 + 0.2 << 0;
    QTest::newRow("en comma groups") << "en"
                                     << "1,5" << 15.0 << 0;
    QTest::newRow("en decimal") << "en"
                                << "1.5" << 1.5 << 0;
    QTest::newRow("en grouped") << "en"
                                << "1,234.5" << 1234.5 << 0;
    QTest::newRow("en space") << "en"
                              << "1 234.5" << 0.0 << mismatch;
    QTest::newRow("en no-break space")
        << "en" << QString(QLatin1String("1") + nbsp + QLatin1String("234")) << 0.0 << mismatch;
    QTest::newRow("en trailing decimal") << "en"
                                         << "1." << 1.0 << 0;
    QTest::newRow("en two decimals") << "en"
                                     << "1.5.2" << 0.0 << mismatch;
    QTest::newRow("en group after decimal") << "en"
                                            << "1.2,5" << 0.0 << mismatch;
}

void TestNumberText::cdbl() {
    QFETCH(QString, locale);
    QFETCH(QString, text);
    QFETCH(double, expected);
    QFETCH(int, error);
    testing::RegionalFormatScope scope(localeNamed(locale));
    double got = 0;
    QCOMPARE(errorOf([&] { got = CDbl(text); }), error);
    if (error == 0)
        QCOMPARE(bits(got == 0 ? 0.0 : got), bits(expected));
    QCOMPARE(IsNumeric(text), error == 0);
}

void TestNumberText::csng_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<float>("expected");
    QTest::addColumn<int>("error");

    QTest::newRow("decimal") << "0,1" << 0.1f << 0;
    QTest::newRow("2^24+1 ties to even") << "16777217" << 16777216.0f << 0;
    // Just above the halfway point between 1 and the next float: read through
    // a double it would land exactly on the half and round down.
    QTest::newRow("no double rounding") << "1,0000000596046448" << 1.00000011920928955078125f << 0;
    QTest::newRow("largest") << "3,4028235e38" << std::numeric_limits<float>::max() << 0;
    QTest::newRow("beyond float") << "3,5e38" << 0.0f << int(RuntimeError::Overflow);
    QTest::newRow("beyond double") << "1e400" << 0.0f << int(RuntimeError::Overflow);
    QTest::newRow("underflow") << "1e-50" << 0.0f << 0;
    QTest::newRow("mismatch") << "1.5" << 0.0f << int(RuntimeError::TypeMismatch);
}

void TestNumberText::csng() {
    QFETCH(QString, text);
    QFETCH(float, expected);
    QFETCH(int, error);
    testing::RegionalFormatScope scope(testing::frenchFormat());
    float got = 0;
    QCOMPARE(errorOf([&] { got = CSng(text); }), error);
    if (error == 0)
        QCOMPARE(std::bit_cast<quint32>(got), std::bit_cast<quint32>(expected));
}

void TestNumberText::cintAndClng_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("int16");
    QTest::addColumn<int>("int16Error");
    QTest::addColumn<int>("int32");
    QTest::addColumn<int>("int32Error");

    const int overflow = RuntimeError::Overflow;
    const int mismatch = RuntimeError::TypeMismatch;
    QTest::newRow("half to even down") << "2,5" << 2 << 0 << 2 << 0;
    QTest::newRow("half to even up") << "3,5" << 4 << 0 << 4 << 0;
    QTest::newRow("negative half") << "-2,5" << -2 << 0 << -2 << 0;
    QTest::newRow("negative odd half") << "-1,5" << -2 << 0 << -2 << 0;
    QTest::newRow("above half") << "2,51" << 3 << 0 << 3 << 0;
    QTest::newRow("int16 max") << "32767" << 32767 << 0 << 32767 << 0;
    QTest::newRow("int16 max half") << "32767,5" << 0 << overflow << 32768 << 0;
    QTest::newRow("int16 min half even") << "-32768,5" << -32768 << 0 << -32768 << 0;
    QTest::newRow("int16 below min") << "-32768,6" << 0 << overflow << -32769 << 0;
    QTest::newRow("int32 max half") << "2147483647,5" << 0 << overflow << 0 << overflow;
    QTest::newRow("int32 min half even")
        << "-2147483648,5" << 0 << overflow << int(std::numeric_limits<int32_t>::min()) << 0;
    QTest::newRow("grouped") << "1 000" << 1000 << 0 << 1000 << 0;
    QTest::newRow("word") << "abc" << 0 << mismatch << 0 << mismatch;
    QTest::newRow("huge") << "1e300" << 0 << overflow << 0 << overflow;
}

void TestNumberText::cintAndClng() {
    QFETCH(QString, text);
    QFETCH(int, int16);
    QFETCH(int, int16Error);
    QFETCH(int, int32);
    QFETCH(int, int32Error);
    testing::RegionalFormatScope scope(testing::frenchFormat());
    int16_t got16 = 0;
    QCOMPARE(errorOf([&] { got16 = CInt(text); }), int16Error);
    if (int16Error == 0)
        QCOMPARE(int(got16), int16);
    int32_t got32 = 0;
    QCOMPARE(errorOf([&] { got32 = CLng(text); }), int32Error);
    if (int32Error == 0)
        QCOMPARE(int(got32), int32);
}

void TestNumberText::toIntegers_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("int16");
    QTest::addColumn<bool>("int16Overflows");
    QTest::addColumn<int>("int32");
    QTest::addColumn<bool>("int32Overflows");

    const double inf = std::numeric_limits<double>::infinity();
    QTest::newRow("half to even") << 2.5 << 2 << false << 2 << false;
    QTest::newRow("negative half to zero") << -0.5 << 0 << false << 0 << false;
    // floor(x + 0.5) would give 1: the sum rounds up in binary.
    QTest::newRow("largest below half") << 0.49999999999999994 << 0 << false << 0 << false;
    QTest::newRow("int16 bound") << 32767.49 << 32767 << false << 32767 << false;
    QTest::newRow("int16 past bound") << 32767.5 << 0 << true << 32768 << false;
    QTest::newRow("int16 min even") << -32768.5 << -32768 << false << -32768 << false;
    QTest::newRow("int32 past bound") << 2147483647.5 << 0 << true << 0 << true;
    QTest::newRow("int32 min even")
        << -2147483648.5 << 0 << true << int(std::numeric_limits<int32_t>::min()) << false;
    QTest::newRow("int32 below min") << -2147483649.0 << 0 << true << 0 << true;
    QTest::newRow("NaN") << std::numeric_limits<double>::quiet_NaN() << 0 << true << 0 << true;
    QTest::newRow("infinity") << inf << 0 << true << 0 << true;
    QTest::newRow("minus infinity") << -inf << 0 << true << 0 << true;
}

void TestNumberText::toIntegers() {
    QFETCH(double, value);
    QFETCH(int, int16);
    QFETCH(bool, int16Overflows);
    QFETCH(int, int32);
    QFETCH(bool, int32Overflows);
    int16_t got16 = 0;
    QCOMPARE(errorOf([&] { got16 = ToInt16(value); }), int16Overflows ? 6 : 0);
    if (!int16Overflows)
        QCOMPARE(int(got16), int16);
    int32_t got32 = 0;
    QCOMPARE(errorOf([&] { got32 = ToInt32(value); }), int32Overflows ? 6 : 0);
    if (!int32Overflows)
        QCOMPARE(int(got32), int32);
}

void TestNumberText::variant() {
    testing::RegionalFormatScope scope(testing::frenchFormat());

    const Variant sum = Variant("1,5").plus(1);
    QVERIFY(sum.isNumber());
    QCOMPARE(sum.toNumber(), 2.5);

    const Variant empty;
    QVERIFY(empty.isEmpty());
    QCOMPARE(empty.plus(1).toNumber(), 1.0);
    QCOMPARE(empty.toText(), QString());

    QCOMPARE(errorOf([] { Variant(QString()).plus(1); }), int(RuntimeError::TypeMismatch));
    QCOMPARE(errorOf([] { Variant("1.5").plus(1); }), int(RuntimeError::TypeMismatch));

    QCOMPARE(Variant(0.1 + 0.2).toText(), QStringLiteral("0,3"));
    QCOMPARE(Variant(1e-5).toText(), QStringLiteral("1E-05"));
    QCOMPARE(Variant("7").plus(1).toText(), QStringLiteral("8"));

    testing::RegionalFormatScope english(testing::englishFormat());
    QCOMPARE(Variant("1,5").plus(1).toNumber(), 16.0);
    QCOMPARE(Variant(2.5).toText(), QStringLiteral("2.5"));
}

TOVALIN_TEST(TestNumberText)
#include "tst_NumberText.moc"
