#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "app/CommandContext.h"
#include "app/GestionDonnee.h"
#include "formats/DxfReader.h"
#include "platform/Dialogs.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QMap>
#include <QTemporaryDir>
#include <charconv>

using namespace testing;

namespace {

// Settings kept in memory; every write is counted, since reading a DXF file
// must never save anything.
class MemorySettings : public platform::SettingsStore {
public:
    QString value(const QString& section, const QString& key,
                  const QString& defaultValue) const override {
        return values.value(section + u'/' + key, defaultValue);
    }
    void setValue(const QString& section, const QString& key, const QString& value) override {
        values.insert(section + u'/' + key, value);
        ++writes;
    }
    QMap<QString, QString> values;
    int writes = 0;
};

class NoFileDialogs : public platform::FileDialogService {
public:
    platform::FileDialogResult showOpen(const QString&, const QString&) override {
        ++shown;
        return {};
    }
    platform::FileDialogResult showSave(const QString&, const QString&) override {
        ++shown;
        return {};
    }
    int shown = 0;
};

class CountingProgress : public platform::Progress {
public:
    void setCaption(const QString&) override {}
    void tick() override { ++ticks; }
    int ticks = 0;
};

// A fresh run: state, services and the context that binds them.
struct Run {
    explicit Run(const QString& numPtDxf) {
        settings.values.insert(QStringLiteral("Paramètre/Num_Pt_Dxf"), numPtDxf);
        state.Settings.Num_Pt_Dxf = numPtDxf; // as start-up loads it: a text
    }
    GestionDonnee state;
    platform::ScriptedDialogs dialogs;
    NoFileDialogs files;
    MemorySettings settings;
    NoWindowSurface window;
    CountingProgress progress;
    CommandContext context{state, dialogs, dialogs, files, settings, window, progress};
};

QStringList L(std::initializer_list<const char*> items) {
    QStringList list;
    for (const char* item : items)
        list << QString::fromUtf8(item);
    return list;
}

QByteArray joinLines(const QStringList& lines, const char* lineEnd) {
    QByteArray bytes;
    for (const QString& line : lines)
        bytes += line.toLatin1() + lineEnd;
    return bytes;
}

QString writeDxf(const QTemporaryDir& dir, const QByteArray& bytes) {
    const QString path = dir.filePath(QStringLiteral("reader.dxf"));
    writeBytes(path, bytes);
    return path;
}

// Runs the reader and returns the error number it raised, 0 for none.
int readAndCatch(Run& run, const QString& path) {
    try {
        ReadDxfFile(run.context, path);
    } catch (const platform::RuntimeError& error) {
        return error.number();
    }
    return 0;
}

const char* const kLineEnds[] = {"\r\n", "\n", "\r"};

// The head of a file up to its first POINT entity.
QStringList head() {
    return L({"0", "SECTION", "2", "ENTITIES", "0", "POINT", "8", "0"});
}

// A file as the program writes it (two points, text height "1", layers PT,
// MAT and ALT), with the text anchors as the regional format gives them.
// The second point is named 10, like a group code.
QByteArray writerFile(bool french, bool twoD) {
    const QString zA = twoD ? QStringLiteral(" 0 ") : QStringLiteral("35.100");
    const QString zB = twoD ? QStringLiteral(" 0 ") : QStringLiteral("0.000");
    const QString tXA = french ? QStringLiteral("1000.750") : QStringLiteral("1001.250");
    const QString tY2A = french ? QStringLiteral("1998.250") : QStringLiteral("1998.500");
    const QString tXB = french ? QStringLiteral("-11.250") : QStringLiteral("-11.596");
    const QString tY2B = french ? QStringLiteral("-1.750") : QStringLiteral("-1.250");

    QStringList lines = L({"0", "SECTION", "2", "ENTITIES"});
    // First point: 12 at (1000.5, 2000.25, 35.1).
    lines << L({"0", "POINT", "5", "800", "8", "PT", "62", "7", "10", "1000.500", "20", "2000.250",
                "30"})
          << zA;
    lines << L({"0", "TEXT", "5", "801", "8", "MAT", "62", "5", "10"}) << tXA
          << L({"20", "2000.250", "40", "1", "1", "12"});
    lines << L({"0", "TEXT", "5", "802", "8", "ALT", "62", "1", "40", "1", "41", "0.75", "51", "10",
                "1"})
          << zA << "10" << tXA << "20" << tY2A;
    // Second point: 10 at (-12.3456, 0.5, 0).
    lines << L({"0", "POINT", "5", "803", "8", "PT", "62", "7", "10", "-12.346", "20", "0.500",
                "30"})
          << zB;
    lines << L({"0", "TEXT", "5", "804", "8", "MAT", "62", "5", "10"}) << tXB
          << L({"20", "0.500", "40", "1", "1", "10"});
    lines << L({"0", "TEXT", "5", "805", "8", "ALT", "62", "1", "40", "1", "41", "0.75", "51", "10",
                "1"})
          << zB << "10" << tXB << "20" << tY2B;
    lines << L({"0", "ENDSEC", "0", "EOF"}) << QString(QChar(26));
    return joinLines(lines, "\r\n");
}

} // namespace

class TestDxfReader : public QObject {
    Q_OBJECT
private slots:
    void readPoints_data();
    void readPoints();
    void failures_data();
    void failures();
    void missingFile();
    void fileAsTheProgramWritesIt_data();
    void fileAsTheProgramWritesIt();
    void numberingContinuesAcrossFiles();
};

void TestDxfReader::readPoints_data() {
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QString>("numPtDxf");
    QTest::addColumn<QStringList>("french");
    QTest::addColumn<QStringList>("english");
    QTest::addColumn<QString>("frenchNext");
    QTest::addColumn<QString>("englishNext");
    // Most files read the same under both regional formats.
    const auto same = [](const char* name, const QStringList& lines, const QStringList& points,
                         const QString& next) {
        QTest::newRow(name) << lines << "1" << points << points << next << next;
    };

    same("minimal file",
         L({"0", "SECTION", "2", "ENTITIES", "0", "POINT", "8", "0", "10", "1.25", "20", "2", "30",
            "3.0004", "0", "ENDSEC", "0", "EOF"}),
         L({"1|1.25|2|3"}), "2");

    // The point search starts at ENTITIES: a POINT in the header does not
    // count, and codes 10 before the first POINT of the section (the end of
    // the LINE carries the value 10 too) are passed over.
    same("codes before the first POINT ignored",
         L({"0", "SECTION", "2", "HEADER", "9", "$EXTMIN", "10", "0", "20", "0", "30", "0"}) +
             L({"0", "POINT", "10", "99", "20", "99", "30", "99", "0", "ENDSEC"}) +
             L({"0", "SECTION", "2", "ENTITIES"}) +
             L({"0", "LINE", "10", "5", "20", "6", "30", "7", "11", "8", "21", "9", "31", "10"}) +
             L({"0", "POINT", "10", "1", "20", "2", "30", "3", "0", "ENDSEC", "0", "EOF"}),
         L({"1|1|2|3"}), "2");

    // Section and entity names are matched exactly, case included, with
    // blanks around them (inside quotes) trimmed.
    same("names case-sensitive, blanks trimmed",
         L({"2", "entities", "0", "POINT", "10", "9", "20", "9", "30", "9"}) +
             L({"2", "\" ENTITIES \"", "0", "\"POINT  \"", "10", "1", "20", "2", "30", "3"}),
         L({"1|1|2|3"}), "2");

    // Every code 10 after the first POINT is a point: line ends and objects
    // past ENDSEC included.
    same(
        "ENDSEC does not stop the scan",
        head() + L({"10", "1", "20", "2", "30", "3"}) +
            L({"0", "LINE", "10", "4", "20", "5", "30", "6", "11", "7", "21", "8", "31", "9"}) +
            L({"0", "ENDSEC", "0", "SECTION", "2", "OBJECTS", "10", "11", "20", "12", "30", "13"}) +
            L({"0", "ENDSEC", "0", "EOF"}),
        L({"1|1|2|3", "2|4|5|6", "3|11|12|13"}), "4");

    // Without a group 30 the Z is whatever field comes by position, a text
    // giving 0; a TEXT insertion point is a point too.
    same("no Z: fields taken by position",
         head() + L({"10", "1", "20", "2", "0", "TEXT", "10", "4", "20", "5", "40", "2.5", "1"}) +
             L({"label", "0", "POINT", "10", "abc", "20", "12abc", "30", ""}),
         L({"1|1|2|0", "2|4|5|2.5", "3|0|12|0"}), "4");

    // A code 10 that falls among the five fields of a point is skipped, not
    // a new point.
    same("code 10 inside a point is consumed",
         head() + L({"90", "2", "10", "1.5", "20", "2.5", "10", "3.5", "20", "4.5", "0", "ENDSEC"}),
         L({"1|1.5|2.5|3.5"}), "2");

    // A value 10 is taken for a code (an oblique angle here), and so is any
    // field whose text is "10": the number 10 written otherwise, or a value
    // that shows as 10 in 15 digits. 10.5 is no code.
    same("values that read as 10 are codes",
         head() + L({"10", "1", "20", "2", "30", "3"}) +
             L({"0", "TEXT", "40", "1", "51", "10", "1", "7.5", "10", "4", "20"}) +
             L({"10.0", "5", "20", "6", "30", "0"}) + L({"+10", "7", "20", "8", "30", "0"}) +
             L({"1E1", "9", "20", "9", "30", "0"}) + L({"\" 10 \"", "3", "20", "3", "30", "0"}) +
             L({"9.999999999999999", "1", "20", "1", "30", "0"}) +
             L({"10.5", "4", "20", "4", "30", "4"}),
         L({"1|1|2|3", "2|1|10|20", "3|5|6|0", "4|7|8|0", "5|9|9|0", "6|3|3|0", "7|1|1|0"}), "8");

    same("rounded to three decimals",
         head() + L({"10", "12.34567", "20", "-12.3455", "30", "0.5"}) +
             L({"10", "-0.25", "20", "1234567.8915", "30", "1.5E3"}) +
             L({"10", "-0.0004", "20", "  7  ", "30", "1e-9"}),
         L({"1|12.346|-12.346|0.5", "2|-0.25|1234567.892|1500", "3|0|7|0"}), "4");

    // The comma splits the line: a decimal comma shifts every field after it.
    same("decimal comma splits the value", head() + L({"10", "1,5", "20", "2,5", "30", "3,5"}),
         L({"1|1|20|5"}), "2");

    // Text values go through the regional format: what it cannot read comes
    // back untouched and keeps every decimal; what it reads is rounded, a
    // comma being the decimal mark or a grouping mark as the format says.
    QTest::newRow("text values in the regional format")
        << head() + L({"10", ".12345", "20", "\"1,25\"", "30", "\"12.34567\""}) << "1"
        << L({"1|0.12345|1.25|12.34567"}) << L({"1|0.123|125|12.346"}) << "2"
        << "2";

    // The identifier is added to in the regional format.
    QTest::newRow("fractional first number")
        << head() + L({"10", "1", "20", "2", "30", "3", "10", "4", "20", "5", "30", "6"}) << "1,5"
        << L({"1,5|1|2|3", "2,5|4|5|6"}) << L({"1,5|1|2|3", "16|4|5|6"}) << "3,5"
        << "17";
}

void TestDxfReader::readPoints() {
    QFETCH(QStringList, lines);
    QFETCH(QString, numPtDxf);
    QFETCH(QStringList, french);
    QFETCH(QStringList, english);
    QFETCH(QString, frenchNext);
    QFETCH(QString, englishNext);

    QTemporaryDir dir;
    for (const bool isFrench : {true, false}) {
        RegionalFormatScope scope(isFrench ? frenchFormat() : englishFormat());
        for (const char* lineEnd : kLineEnds) {
            const QByteArray escaped = QByteArray(lineEnd).toPercentEncoding();
            const QString where =
                (isFrench ? QStringLiteral("French, ") : QStringLiteral("English, ")) +
                QString::fromLatin1(escaped);
            Run run(numPtDxf);
            const QString path = writeDxf(dir, joinLines(lines, lineEnd));
            ReadDxfFile(run.context, path);
            const QStringList points = PointsAsText(run.state);
            const QStringList& expected = isFrench ? french : english;
            QVERIFY2(points == expected,
                     qPrintable(where + QStringLiteral(": ") + points.join(QStringLiteral("; ")) +
                                QStringLiteral(" instead of ") +
                                expected.join(QStringLiteral("; "))));
            QCOMPARE(run.state.Settings.Num_Pt_Dxf.toText(), isFrench ? frenchNext : englishNext);
            QCOMPARE(run.progress.ticks, points.size());
            QCOMPARE(run.settings.writes, 0);
            QVERIFY(run.dialogs.boxes().empty());
        }
    }
}

void TestDxfReader::failures_data() {
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QString>("numPtDxf");
    QTest::addColumn<int>("error");
    QTest::addColumn<QStringList>("names");

    QTest::newRow("empty file") << QStringList() << "1" << 62 << QStringList();
    QTest::newRow("no ENTITIES") << L({"0", "SECTION", "2", "HEADER", "0", "POINT", "10", "1", "20",
                                       "2", "30", "3", "0", "ENDSEC", "0", "EOF"})
                                 << "1" << 62 << QStringList();
    // The only POINT stands before ENTITIES.
    QTest::newRow("no POINT after ENTITIES")
        << L({"0", "POINT", "0", "SECTION", "2", "ENTITIES", "0", "LINE", "10", "1", "20", "2",
              "30", "3", "0", "ENDSEC", "0", "EOF"})
        << "1" << 62 << QStringList();
    // The points before stay in the store.
    QTest::newRow("file ends inside a point")
        << head() + L({"10", "1", "20", "2", "30", "3", "0", "POINT", "10", "4", "20", "5"}) << "1"
        << 62 << L({"1"});
    QTest::newRow("value beyond the double range")
        << head() + L({"10", "1", "20", "2", "30", "3", "10", "1e400", "20", "2", "30", "3"}) << "1"
        << 6 << L({"1"});
    // Numbering switched off: the first point is named "", then adding 1 to
    // the empty text fails.
    QTest::newRow("empty Num_Pt_Dxf")
        << head() + L({"10", "1", "20", "2", "30", "3", "10", "4", "20", "5", "30", "6"}) << ""
        << 13 << L({""});
    QTest::newRow("Num_Pt_Dxf not a number")
        << head() + L({"10", "1", "20", "2", "30", "3", "10", "4", "20", "5", "30", "6"}) << "A"
        << 13 << L({"A"});
}

void TestDxfReader::failures() {
    QFETCH(QStringList, lines);
    QFETCH(QString, numPtDxf);
    QFETCH(int, error);
    QFETCH(QStringList, names);

    QTemporaryDir dir;
    for (const bool isFrench : {true, false}) {
        RegionalFormatScope scope(isFrench ? frenchFormat() : englishFormat());
        for (const char* lineEnd : kLineEnds) {
            Run run(numPtDxf);
            const QString path = writeDxf(dir, joinLines(lines, lineEnd));
            QCOMPARE(readAndCatch(run, path), error);
            QStringList read;
            for (int i = 0; i < static_cast<int>(run.state.PointCount); ++i)
                read << run.state.Points[i].Matricule;
            QCOMPARE(read, names);
            QCOMPARE(run.settings.writes, 0);
        }
    }
}

void TestDxfReader::missingFile() {
    QTemporaryDir dir;
    Run run(QStringLiteral("1"));
    QCOMPARE(readAndCatch(run, dir.filePath(QStringLiteral("absent.dxf"))), 53);
    QCOMPARE(run.state.PointCount, 0.0);
    QCOMPARE(run.state.Settings.Num_Pt_Dxf.toText(), QStringLiteral("1"));
}

void TestDxfReader::fileAsTheProgramWritesIt_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<bool>("twoD");
    QTest::addColumn<QStringList>("expected");

    // Two points written give seven: each POINT, each identifier TEXT (its Z
    // is the text height), each elevation TEXT through its oblique angle 10,
    // and the identifier "10" read as a code.
    QTest::newRow("3D, French") << true << false
                                << L({"1|1000.5|2000.25|35.1", "2|1000.75|2000.25|1", "3|1|10|20",
                                      "4|-12.346|0.5|0", "5|-11.25|0.5|1", "6|0|5|8", "7|1|10|20"});
    QTest::newRow("3D, English") << false << false
                                 << L({"1|1000.5|2000.25|35.1", "2|1001.25|2000.25|1", "3|1|10|20",
                                       "4|-12.346|0.5|0", "5|-11.596|0.5|1", "6|0|5|8",
                                       "7|1|10|20"});
    QTest::newRow("2D, French") << true << true
                                << L({"1|1000.5|2000.25|0", "2|1000.75|2000.25|1", "3|1|10|20",
                                      "4|-12.346|0.5|0", "5|-11.25|0.5|1", "6|0|5|8", "7|1|10|20"});
}

void TestDxfReader::fileAsTheProgramWritesIt() {
    QFETCH(bool, french);
    QFETCH(bool, twoD);
    QFETCH(QStringList, expected);

    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    QTemporaryDir dir;
    Run run(QStringLiteral("1"));
    ReadDxfFile(run.context, writeDxf(dir, writerFile(french, twoD)));
    QCOMPARE(PointsAsText(run.state), expected);
    QCOMPARE(run.state.Settings.Num_Pt_Dxf.toText(), QStringLiteral("8"));
}

void TestDxfReader::numberingContinuesAcrossFiles() {
    RegionalFormatScope scope(frenchFormat());
    QTemporaryDir dir;
    const QString first = dir.filePath(QStringLiteral("first.dxf"));
    const QString second = dir.filePath(QStringLiteral("second.dxf"));
    writeBytes(first, joinLines(head() + L({"10", "1", "20", "2", "30", "3", "0", "POINT", "10",
                                            "4", "20", "5", "30", "6"}),
                                "\r\n"));
    writeBytes(second, joinLines(head() + L({"10", "7", "20", "8", "30", "9"}), "\n"));

    Run run(QStringLiteral("7"));
    ReadDxfFile(run.context, first);
    ReadDxfFile(run.context, second);
    QCOMPARE(PointsAsText(run.state), L({"7|1|2|3", "8|4|5|6", "9|7|8|9"}));
    QCOMPARE(run.state.Settings.Num_Pt_Dxf.toText(), QStringLiteral("10"));

    // A failing third file keeps what was read before and the count so far.
    QCOMPARE(readAndCatch(run, dir.filePath(QStringLiteral("absent.dxf"))), 53);
    QCOMPARE(run.state.PointCount, 3.0);
    ReadDxfFile(run.context, second);
    QCOMPARE(run.state.Points[3].Matricule, QStringLiteral("10"));

    // Counted in memory only: the stored setting still holds 7.
    QCOMPARE(run.settings.writes, 0);
    QCOMPARE(run.settings.value(QStringLiteral("Paramètre"), QStringLiteral("Num_Pt_Dxf"),
                                QStringLiteral("1")),
             QStringLiteral("7"));
}

TOVALIN_TEST(TestDxfReader)
#include "tst_DxfReader.moc"
