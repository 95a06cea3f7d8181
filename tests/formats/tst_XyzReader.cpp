#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "formats/XyzReader.h"
#include "platform/TextFile.h"
#include "state/GestionDonnee.h"

#include <QTemporaryDir>

using namespace testing;

namespace {

struct XyzLines {
    QString sep, other, incNum;
    QStringList lines;
    QString points;         // "identifier|x|y|z", " & " between points; null: as line by line
    bool listShown = false; // the list shows a point before the reading
};

struct XyzNumbering {
    QString first;
    QString steps; // " & " between steps
    QString points;
};

void setReadSettings(GestionDonnee& state, const QString& sep, const QString& other,
                     const QString& incNum, const QString& first) {
    state.Settings.Separateur_Lec = sep;
    state.Settings.Separateur_Autre_Lec = other;
    state.Settings.Inc_Num = incNum;
    state.Settings.Num_Premier_Pt = first;
}

// A line of the given length: head, blanks (trimmed away when read), tail.
QString padded(const QString& head, int length, const QString& tail) {
    return head + QString(length - head.size() - tail.size(), u' ') + tail;
}

// The lines as a file: CR LF and CR breaks in turn, none after the last.
QByteArray fileOf(const QStringList& lines) {
    QByteArray bytes;
    for (qsizetype i = 0; i < lines.size(); ++i)
        bytes += platform::EncodeCp1252(lines[i]) + (i + 1 == lines.size() ? ""
                                                     : i % 2               ? "\r"
                                                                           : "\r\n");
    return bytes;
}

} // namespace
Q_DECLARE_METATYPE(XyzLines)
Q_DECLARE_METATYPE(XyzNumbering)

class TestXyzReader : public QObject {
    Q_OBJECT
private slots:
    void readLines_data();
    void readLines();
    void numbering_data();
    void numbering();
};

void TestXyzReader::readLines_data() {
    Rows<XyzLines> row;
    row("four fields", {",", "", "0", {"P1,100.5,200.25,10"}, "P1|100.5|200.25|10"});
    row("no Z", {",", "", "0", {"P2,100,200"}, "P2|100|200|0"});
    row("too few fields", {",", "", "0", {"P3,100", "", "nothing here"}, ""});
    row("space runs", {" ", "", "0", {"A   1.5   2.5   3.5"}, "A|1.5|2.5|3.5"});
    row("run before X", {",", "", "0", {"A,,,1,2,3"}, "A|1|2|3"});
    row("four separators", {",", "", "0", {"A,1,2,3,4"}, ""});
    row("decimal comma", {";", "", "0", {"B;12,5;3;12,5,7"}, "B|12.5|3|12.5"});
    row("blanks in numbers", {";", "", "0", {"C; 1 234.5 ;-2 0; 1,234.5"}, "C|1234.5|-20|1.234"});
    // The run scan skips what follows a collapsed run, so the second run is
    // kept; the field search never looks right after a separator, so its
    // second comma stays in the Y text, which reads as ",2" -> ".2".
    row("second run kept", {",", "", "0", {"A,,1,,2"}, "A|1|0.2|0"});
    row("leading separator", {",", "", "0", {",,5,6,7"}, "|5|6|7"});
    row("tab", {"\t", "", "0", {"T1\t1.25\t2.5\t-3"}, "T1|1.25|2.5|-3"});
    row("other separator wins", {",", "/", "0", {"X/1,5/2/3", "Y,1,2,3"}, "X|1.5|2|3"});
    // A two-character separator is found as a whole but cut after its first
    // character, so its second one stays in front of every field.
    row("two-char separator",
        {",", "::", "0", {"M::1::2::3", "N::::1::2", "P::1::2::3::4"}, "M|0|0|0 & N|0|0|0"});
    row("text coordinates", {",", "", "0", {"Q,abc,2x,e5"}, "Q|0|2|0"});
    row("exponents", {",", "", "0", {"E,1e3,2.5D-1,7E"}, "E|1000|0.25|7"});
    row("overflow", {",", "", "0", {"O,1e400,1,1", "K,1e-400,1,1"}, "K|0|1|1"});
    row("identifier trimmed",
        {",", "", "0", {"  P 7  ,1,2,3", "\tQ\t,1,2,3"}, "P 7|1|2|3 & \tQ\t|1|2|3"});
    // Numbered automatically, the rest of the line goes into Z.
    row("auto, four fields", {",", "", "1", {"1,2,3,4"}, "0|1|2|3.4"});
    row("auto, two fields", {",", "", "1", {"1,2", "5"}, "0|1|2|0"});
    // With the list showing points, the identifier never given counts as 0.
    row("auto, list shown", {",", "", "1", {"1,2,3", "4,5"}, "1|1|2|3 & 2|4|5|0", true});
    // Any other Inc_Num takes no field, yet still counts the separators.
    row("Inc_Num 2", {",", "", "2", {"A,1,2,3", "x"}, "|0|0|0 & |0|0|0"});
    row("Inc_Num oui", {",", "", "oui", {"A,1,2,3,4"}, ""});
    // The scan's 16-bit positions: the loop's last step overflows at 32,767
    // characters, and ending on a separator the position jumps one further.
    row("32,766 chars", {",", "", "0", {padded("A,1,2,", 32766, "3")}, "A|1|2|3"});
    row("32,767 chars", {",", "", "0", {padded("A,1,2,", 32767, "3")}, ""});
    row("40,000 chars", {",", "", "0", {padded("A,1,2,", 40000, "3")}, ""});
    row("32,765 + sep", {",", "", "0", {padded("A,1,", 32765, "2,")}, "A|1|2|0"});
    row("32,766 + sep", {",", "", "0", {padded("A,1,", 32766, "2,")}, ""});
    // Windows-1252 bytes, an empty line, a lone LF kept inside its line (the
    // Z text stops there).
    const QStringList breaks{"Bé1,1,2,3", "C2,4,5,6", "D3,7,8,9\n10", "", "E4,1,1,1"};
    row("line breaks", {",", "", "0", breaks, "Bé1|1|2|3 & C2|4|5|6 & D3|7|8|9 & E4|1|1|1"});
    // The file is read 2 MiB at a time and its lines shared out side by side:
    // read whole it gives what its lines give one by one, across the blocks.
    // A block of common lines (a survey file's) takes a quicker way.
    QStringList survey, odd;
    for (int i = 0; i < 130000; ++i)
        survey << (i % 7 == 0    ? QStringLiteral("Ov%1,1e400,1,1")
                   : i % 11 == 0 ? QStringLiteral("Bé%1,1,2")
                                 : QStringLiteral("%1,6%1.5,-%1.25,1 2%1"))
                      .arg(i);
    for (int i = 0; i < 20000; ++i)
        odd << breaks << "bad"
            << "A,,,1,2,3"
            << "Q,-0.5,2e3,1 234.5";
    odd.insert(1000, padded("P,1,", 3 << 20, "2")); // longer than a block
    row("survey file, many blocks", {",", "", "0", survey, {}});
    row("odd lines, many blocks, numbered on", {",", "", "1", odd, {}, true});
}

// Every row read line by line and as a file, under both regional formats.
void TestXyzReader::readLines() {
    QFETCH(XyzLines, c);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("points.xyz"));
    writeBytes(path, fileOf(c.lines));
    for (const QLocale& locale : {frenchFormat(), englishFormat()}) {
        RegionalFormatScope scope(locale);
        GestionDonnee byLine, whole;
        for (GestionDonnee* state : {&byLine, &whole}) {
            setReadSettings(*state, c.sep, c.other, c.incNum, QStringLiteral("0"));
            if (c.listShown)
                state->Grid.addItem(QStringLiteral("shown"));
        }
        for (const QString& line : c.lines)
            ReadXyzLine(byLine, line);
        ReadXyzFile(whole, path);
        const QStringList expected = c.points.isNull() ? PointsAsText(byLine) : items(c.points);
        QCOMPARE(whole.CurrentMatricule.toText(), byLine.CurrentMatricule.toText());
        for (const GestionDonnee* state : {&byLine, &whole}) {
            QCOMPARE(PointsAsText(*state), expected);
            // The store keeps its empty slot behind the last point.
            QCOMPARE(state->Points.size(),
                     state->PointCount == 0 ? 0u : std::size_t(state->PointCount) + 1);
        }
    }
}

void TestXyzReader::numbering_data() {
    // Each step reads a line with Inc_Num set to its first character, or
    // ("list") refreshes the list so that it shows the points read.
    Rows<XyzNumbering> row;
    // Read into an empty list every line gets the first number; once the
    // list shows points the count goes on, in the regional format.
    const char* twice = "1:1,2,3 & 1:4,5 & list & 1:1,2,3 & 1:4,5";
    row("decimal", {"1,5", twice, "1,5|1|2|3 & 1,5|4|5|0 & 2,5|1|2|3 & 3,5|4|5|0"});
    // A rejected line still leaves its identifier behind; a text one cannot
    // be counted on, a numeric one can.
    row("after rejected line", {"0", "0:7,1,2,3 & 0:P3,100 & list & 1:1,2,3 & 0:41,1,2,3 & 1:1,2,3",
                                "7|1|2|3 & 41|1|2|3 & 42|1|2|3"});
}

void TestXyzReader::numbering() {
    QFETCH(XyzNumbering, c);
    RegionalFormatScope scope(frenchFormat());
    GestionDonnee state;
    setReadSettings(state, QStringLiteral(","), QString(), QStringLiteral("0"), c.first);
    for (const QString& step : items(c.steps)) {
        if (step == u"list") {
            state.RefreshPointList();
            continue;
        }
        state.Settings.Inc_Num = step.left(1);
        ReadXyzLine(state, step.mid(2));
    }
    QCOMPARE(PointsAsText(state), items(c.points));
}

TOVALIN_TEST(TestXyzReader)
#include "tst_XyzReader.moc"
