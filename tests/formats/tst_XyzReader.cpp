#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "app/GestionDonnee.h"
#include "formats/XyzReader.h"
#include "platform/RuntimeError.h"

#include <QTemporaryDir>
#include <charconv>

using namespace testing;

namespace {

struct ReadSettings {
    QString sep = QStringLiteral(",");
    QString other;
    QString incNum = QStringLiteral("0");
    QString first = QStringLiteral("0");
};

void apply(GestionDonnee& state, const ReadSettings& s) {
    state.Settings.Separateur_Lec = s.sep;
    state.Settings.Separateur_Autre_Lec = s.other;
    state.Settings.Inc_Num = s.incNum;
    state.Settings.Num_Premier_Pt = s.first;
}

} // namespace

class TestXyzReader : public QObject {
    Q_OBJECT
private slots:
    void readLines_data();
    void readLines();
    void numberingFollowsTheList_data();
    void numberingFollowsTheList();
    void identifierKeptFromRejectedLine();
    void longLinesOverflow_data();
    void longLinesOverflow();
    void commaConversions_data();
    void commaConversions();
    void readFile();
    void missingFileIsRunTimeError();
};

void TestXyzReader::readLines_data() {
    QTest::addColumn<QString>("sep");
    QTest::addColumn<QString>("other");
    QTest::addColumn<QString>("incNum");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QStringList>("expected");

    const QString comma = QStringLiteral(",");
    auto L = [](std::initializer_list<const char*> items) {
        QStringList list;
        for (const char* item : items)
            list << QString::fromUtf8(item);
        return list;
    };
    QTest::newRow("four fields") << comma << ""
                                 << "0" << L({"P1,100.5,200.25,10"}) << L({"P1|100.5|200.25|10"});
    QTest::newRow("no Z") << comma << ""
                          << "0" << L({"P2,100,200"}) << L({"P2|100|200|0"});
    QTest::newRow("two fields and empty line rejected")
        << comma << ""
        << "0" << L({"P3,100", "", "nothing here"}) << QStringList();
    QTest::newRow("runs of spaces") << " "
                                    << ""
                                    << "0" << L({"A   1.5   2.5   3.5"}) << L({"A|1.5|2.5|3.5"});
    QTest::newRow("run before first coordinate") << comma << ""
                                                 << "0" << L({"A,,,1,2,3"}) << L({"A|1|2|3"});
    QTest::newRow("four separators rejected") << comma << ""
                                              << "0" << L({"A,1,2,3,4"}) << QStringList();
    QTest::newRow("decimal comma with semicolon")
        << ";"
        << ""
        << "0" << L({"B;12,5;3;12,5,7"}) << L({"B|12.5|3|12.5"});
    QTest::newRow("blanks inside numbers")
        << ";"
        << ""
        << "0" << L({"C; 1 234.5 ;-2 0; 1,234.5"}) << L({"C|1234.5|-20|1.234"});
    // The run scan skips what follows a collapsed run, so the second run is
    // kept; the field search never looks right after a separator, so its
    // second comma stays in the Y text, which reads as ",2" -> ".2".
    QTest::newRow("second run after skip kept") << comma << ""
                                                << "0" << L({"A,,1,,2"}) << L({"A|1|0.2|0"});
    QTest::newRow("leading separator kept") << comma << ""
                                            << "0" << L({",,5,6,7"}) << L({"|5|6|7"});
    QTest::newRow("tab separator") << "\t"
                                   << ""
                                   << "0" << L({"T1\t1.25\t2.5\t-3"}) << L({"T1|1.25|2.5|-3"});
    QTest::newRow("other separator wins") << comma << "/"
                                          << "0" << L({"X/1,5/2/3", "Y,1,2,3"}) << L({"X|1.5|2|3"});
    // A two-character separator is found as a whole but cut after its first
    // character, so its second one stays in front of every field.
    QTest::newRow("two-char separator")
        << comma << "::"
        << "0" << L({"M::1::2::3", "N::::1::2", "P::1::2::3::4"}) << L({"M|0|0|0", "N|0|0|0"});
    QTest::newRow("text coordinates read as zero") << comma << ""
                                                   << "0" << L({"Q,abc,2x,e5"}) << L({"Q|0|2|0"});
    QTest::newRow("exponents") << comma << ""
                               << "0" << L({"E,1e3,2.5D-1,7E"}) << L({"E|1000|0.25|7"});
    QTest::newRow("overflowing value rejects the line")
        << comma << ""
        << "0" << L({"O,1e400,1,1", "K,1e-400,1,1"}) << L({"K|0|1|1"});
    QTest::newRow("identifier trimmed, spaces only")
        << comma << ""
        << "0" << L({"  P 7  ,1,2,3", "\tQ\t,1,2,3"}) << L({"P 7|1|2|3", "\tQ\t|1|2|3"});
    QTest::newRow("numbering on: fourth field goes into Z")
        << comma << ""
        << "1" << L({"1,2,3,4"}) << L({"0|1|2|3.4"});
    QTest::newRow("numbering on: two fields") << comma << ""
                                              << "1" << L({"1,2", "5"}) << L({"0|1|2|0"});
    QTest::newRow("unknown Inc_Num takes no field")
        << comma << ""
        << "2" << L({"A,1,2,3", "x"}) << L({"|0|0|0", "|0|0|0"});
    QTest::newRow("unknown Inc_Num still rejects many separators")
        << comma << ""
        << "oui" << L({"A,1,2,3,4"}) << QStringList();
}

void TestXyzReader::readLines() {
    QFETCH(QString, sep);
    QFETCH(QString, other);
    QFETCH(QString, incNum);
    QFETCH(QStringList, lines);
    QFETCH(QStringList, expected);

    for (const QLocale& locale : {frenchFormat(), englishFormat()}) {
        RegionalFormatScope scope(locale);
        GestionDonnee state;
        apply(state, ReadSettings{sep, other, incNum, QStringLiteral("0")});
        for (const QString& line : lines)
            ReadXyzLine(state, line);
        QCOMPARE(PointsAsText(state), expected);
        // The store keeps its empty slot behind the last point.
        QCOMPARE(state.Points.size(),
                 state.PointCount == 0 ? 0u : std::size_t(state.PointCount) + 1);
    }
}

void TestXyzReader::numberingFollowsTheList_data() {
    QTest::addColumn<QString>("first");
    QTest::addColumn<QStringList>("firstRead");
    QTest::addColumn<QStringList>("secondRead");

    QTest::newRow("whole number") << "100" << QStringList{"100", "100", "100"}
                                  << QStringList{"101", "102", "103"};
    // The first number is a text: it is added to in the regional format.
    QTest::newRow("decimal first number")
        << "1,5" << QStringList{"1,5", "1,5", "1,5"} << QStringList{"2,5", "3,5", "4,5"};
}

void TestXyzReader::numberingFollowsTheList() {
    QFETCH(QString, first);
    QFETCH(QStringList, firstRead);
    QFETCH(QStringList, secondRead);
    RegionalFormatScope scope(frenchFormat());

    GestionDonnee state;
    apply(state, ReadSettings{QStringLiteral(","), QString(), QStringLiteral("1"), first});
    const QStringList lines{QStringLiteral("1,2,3"), QStringLiteral("4,5"),
                            QStringLiteral("6,7,8")};
    // Read into an empty list: every line gets the first number.
    for (const QString& line : lines)
        ReadXyzLine(state, line);
    // The list now shows points: the next read counts on.
    state.RefreshPointList();
    for (const QString& line : lines)
        ReadXyzLine(state, line);

    QStringList names;
    for (int i = 0; i < 6; ++i)
        names << state.Points[i].Matricule;
    QCOMPARE(names, firstRead + secondRead);
    QCOMPARE(state.Points[1].Z, 0.0);
}

void TestXyzReader::identifierKeptFromRejectedLine() {
    RegionalFormatScope scope(frenchFormat());
    GestionDonnee state;
    apply(state, ReadSettings{});
    ReadXyzLine(state, QStringLiteral("7,1,2,3"));
    ReadXyzLine(state, QStringLiteral("P3,100"));
    QCOMPARE(state.PointCount, 1.0);
    QCOMPARE(state.CurrentMatricule.toText(), QStringLiteral("P3"));

    // Numbering switched on afterwards into a non-empty list: a text
    // identifier cannot be counted on, every line is rejected...
    state.RefreshPointList();
    state.Settings.Inc_Num = QStringLiteral("1");
    ReadXyzLine(state, QStringLiteral("1,2,3"));
    QCOMPARE(state.PointCount, 1.0);
    // ...while a numeric one continues the count.
    state.Settings.Inc_Num = QStringLiteral("0");
    ReadXyzLine(state, QStringLiteral("41,1,2,3"));
    state.Settings.Inc_Num = QStringLiteral("1");
    ReadXyzLine(state, QStringLiteral("1,2,3"));
    QCOMPARE(state.PointCount, 3.0);
    QCOMPARE(state.Points[2].Matricule, QStringLiteral("42"));
}

void TestXyzReader::longLinesOverflow_data() {
    QTest::addColumn<QString>("head");
    QTest::addColumn<int>("length");
    QTest::addColumn<QString>("tail");
    QTest::addColumn<bool>("accepted");
    // Blanks pad the last field up to the given length; they are trimmed away.
    QTest::newRow("32,766 characters") << "A,1,2," << 32766 << "3" << true;
    QTest::newRow("32,767 characters: the loop's last step overflows")
        << "A,1,2," << 32767 << "3" << false;
    QTest::newRow("40,000 characters") << "A,1,2," << 40000 << "3" << false;
    // Ending on a separator, the scan's position jumps past 32,767.
    QTest::newRow("32,766 ending on a separator") << "A,1," << 32766 << "2," << false;
    QTest::newRow("32,765 ending on a separator") << "A,1," << 32765 << "2," << true;
}

void TestXyzReader::longLinesOverflow() {
    QFETCH(QString, head);
    QFETCH(int, length);
    QFETCH(QString, tail);
    QFETCH(bool, accepted);
    RegionalFormatScope scope(frenchFormat());
    GestionDonnee state;
    apply(state, ReadSettings{});
    const QString line = head + QString(length - head.size() - tail.size(), u' ') + tail;
    QCOMPARE(line.size(), length);
    ReadXyzLine(state, line);
    QCOMPARE(state.PointCount, accepted ? 1.0 : 0.0);
}

void TestXyzReader::commaConversions_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("toPoint");
    QTest::addColumn<QString>("toComma");
    QTest::newRow("one comma") << "12,5"
                               << "12.5"
                               << "12,5";
    QTest::newRow("two commas") << "1,2,3"
                                << "1.2,3"
                                << "1,2,3";
    QTest::newRow("two points") << "1.2.3"
                                << "1.2.3"
                                << "1,2.3";
    QTest::newRow("none") << "42"
                          << "42"
                          << "42";
    QTest::newRow("empty") << ""
                           << ""
                           << "";
}

void TestXyzReader::commaConversions() {
    QFETCH(QString, text);
    QFETCH(QString, toPoint);
    QFETCH(QString, toComma);
    QCOMPARE(CommaToPoint(text), toPoint);
    QCOMPARE(PointToComma(text), toComma);
}

void TestXyzReader::readFile() {
    RegionalFormatScope scope(englishFormat());
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("points.xyz"));
    // CR LF, a lone CR, a lone LF inside a line (the Z text stops there),
    // Windows-1252 bytes, no final line break.
    writeBytes(file, QByteArray("B\xe9"
                                "1,1,2,3\r\nC2,4,5,6\rD3,7,8,9\n10\r\n\r\nE4,1,1,1"));
    GestionDonnee state;
    apply(state, ReadSettings{});
    ReadXyzFile(state, file);
    QCOMPARE(PointsAsText(state),
             (QStringList{QString::fromUtf8("Bé1|1|2|3"), "C2|4|5|6", "D3|7|8|9", "E4|1|1|1"}));
}

void TestXyzReader::missingFileIsRunTimeError() {
    GestionDonnee state;
    apply(state, ReadSettings{});
    try {
        ReadXyzFile(state, QStringLiteral("/nonexistent-folder-for-tests/none.xyz"));
        QFAIL("no error raised");
    } catch (const platform::RuntimeError& error) {
        QCOMPARE(error.number(), 76);
    }
    QCOMPARE(state.PointCount, 0.0);
}

TOVALIN_TEST(TestXyzReader)
#include "tst_XyzReader.moc"
