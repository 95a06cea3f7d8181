#include "Fixtures.h"
#include "RuntimeErrors.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "formats/DecimalComma.h"
#include "formats/DxfReader.h"
#include "formats/DxfWriter.h"
#include "formats/XyzReader.h"
#include "platform/NumberText.h"
#include "platform/TextFile.h"
#include "platform/TextUtil.h"
#include "state/GestionDonnee.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <bit>
#include <cmath>

// Large random files through the readers and writers, against the rules
// applied one line, one field or one point at a time: the whole-file paths
// (bytes read where they stand, lines and points shared out between threads,
// blocks and batches) must give exactly what the plain rules give, whatever
// the file holds. The first rows of each test are large enough to cross the
// blocks and batches; the others are kept smaller.

using namespace testing;
using namespace platform;

namespace {

// Everything a reader leaves in the store, numbers bit for bit.
QStringList describe(const GestionDonnee& state) {
    QStringList out;
    for (std::size_t i = 0; i < state.Points.size(); ++i) {
        const PointRecord& p = state.Points[i];
        out << p.Matricule + u'|' + QString::number(std::bit_cast<quint64>(p.X), 16) + u'|' +
                   QString::number(std::bit_cast<quint64>(p.Y), 16) + u'|' +
                   QString::number(std::bit_cast<quint64>(p.Z), 16);
    }
    out << QStringLiteral("count ") + QString::number(state.PointCount, 'g', 17);
    out << QStringLiteral("current ") + (state.CurrentMatricule.isNumber() ? u'n' : u't') +
               state.CurrentMatricule.toText();
    out << QStringLiteral("dxf ") + state.Settings.Num_Pt_Dxf.toText();
    return out;
}

class Bytes {
public:
    explicit Bytes(quint32 seed) : random_(seed) {}
    int below(int n) { return int(random_.bounded(n)); }
    bool chance(int percent) { return below(100) < percent; }
    template <typename T> const T& pick(std::initializer_list<T> items) {
        return items.begin()[below(int(items.size()))];
    }
    QByteArray digits(int count) {
        QByteArray text;
        for (int i = 0; i < count; ++i)
            text += char('0' + below(10));
        return text;
    }
    // A coordinate as survey files write it, or now and then something
    // stranger.
    QByteArray number(int oddPercent = 15) {
        if (!chance(oddPercent))
            return (chance(10) ? "-" : "") + digits(1 + below(7)) + '.' + digits(below(4));
        return pick<QByteArray>({"", "1e3", "2.5D-1", "7E", " 1 234.5 ", "1,5", "abc", "1e400",
                                 "1e-400", ".5", "5.", "+3", "-0", "-0.000",
                                 "123456789012345678901234567890", "9.9999999999999999", "\t42\t",
                                 "0.0005", "1\n2"});
    }

private:
    QRandomGenerator random_;
};

// ---------------------------------------------------------------------------
// XYZ

struct XyzCase {
    QString sep, other, incNum, first;
    int lines;
    int oddPercent; // lines made strange on purpose
    bool french;
};

QByteArray xyzFile(Bytes& random, const XyzCase& c, const QByteArray& sep) {
    QByteArray file;
    for (int line = 0; line < c.lines; ++line) {
        if (c.oddPercent > 0 && (line == 10 || line == 11)) {
            // Lines past the scan's 16-bit counters: one within a block, one
            // longer than a block, of which the reader keeps only the start.
            file += "P" + sep + QByteArray(line == 10 ? 40000 : 3 << 20, '1') + sep + "2";
        } else if (random.chance(c.oddPercent)) {
            // Runs of separators, too many or too few fields, blanks, bytes
            // above 127, empty lines.
            const int fields = random.below(6);
            for (int f = 0; f < fields; ++f) {
                if (f > 0)
                    file += random.chance(20) ? sep + sep : sep;
                file += random.pick<QByteArray>({"P", " Q ", "\xe9t\x80", "\t", "", "10"}) +
                        random.number();
            }
        } else {
            const int odd = c.oddPercent;
            if (c.incNum != u"1")
                file +=
                    (!random.chance(odd * 2) ? QByteArray::number(line + 1)
                                             : random.pick<QByteArray>({"P 7", " x", "\xe9", ""})) +
                    sep;
            file += random.number(odd * 3) + sep + random.number(odd * 3);
            if (random.chance(80))
                file += sep + random.number(odd * 3);
        }
        // A lone LF stays inside the line: only odd files have them.
        file += c.oddPercent == 0 ? QByteArray("\r\n")
                                  : random.pick<QByteArray>({"\r\n", "\r\n", "\r", "\n"});
    }
    if (random.chance(50))
        file += "last" + sep + "1" + sep + "2"; // no line break at the end
    else if (c.oddPercent == 0)
        file += "last" + sep + "1" + sep + "2\r\n";
    return file;
}

// ---------------------------------------------------------------------------
// DXF reading by the rules, one field at a time.

bool isName(const Field& field, QStringView name) {
    return !field.isNumber() && TrimSpaces(QStringView(field.text())) == name;
}

double coordinate(const Field& field) {
    const QString pattern = QStringLiteral("##.000");
    const QString text =
        field.isNumber() ? Format(field.number(), pattern) : Format(field.text(), pattern);
    return Val(CommaToPoint(text));
}

void readDxfByTheRules(GestionDonnee& state, const QString& path) {
    FieldReader file(path);
    Field field = file.readField();
    while (!isName(field, u"ENTITIES"))
        field = file.readField();
    while (!isName(field, u"POINT"))
        field = file.readField();
    while (!file.atEnd()) {
        if (TrimSpaces(file.readField().text()) != u"10")
            continue;
        const Field x = file.readField();
        file.readField();
        const Field y = file.readField();
        file.readField();
        const Field z = file.readField();
        state.AddPoint(
            {coordinate(x), coordinate(y), coordinate(z), state.Settings.Num_Pt_Dxf.toText()});
        state.Settings.Num_Pt_Dxf = state.Settings.Num_Pt_Dxf.plus(1);
    }
}

QByteArray dxfField(Bytes& random) {
    // Fields that are, or nearly are, the code 10, and texts.
    static const QList<QByteArray> odd =
        QByteArray("10| 10|10 |\"10\"|\" 10 \"|\"1.5\"|\"1e999\"|10.0|+10|010|1e1|9.99999999999999|"
                   "9.9999999999999999|10.000000000000001|TEXT|E|e5|POINT|\"a,b\"|x,y||\t7|\"open")
            .split('|');
    return random.chance(70) ? random.number() : odd[random.below(int(odd.size()))];
}

QByteArray dxfFile(Bytes& random, int points, bool cut) {
    QByteArray file = "0\r\nSECTION\r\n2\r\nENTITIES\r\n10\r\n1.5\r\n0\r\nPOINT\r\n";
    const char* ends[] = {"\r\n", "\r\n", "\n", "\r"};
    for (int p = 0; p < points; ++p) {
        const char* end = ends[random.below(4)];
        file += QByteArray("5") + end + QByteArray::number(800 + p) + end;
        file += QByteArray("10") + end + random.number() + end + "20" + end + random.number() +
                end + "30" + end + random.number() + end;
        for (int extra = random.below(6); extra > 0; --extra)
            file += dxfField(random) + (random.chance(10) ? "," : end);
        file += QByteArray("0") + end + random.pick<QByteArray>({"POINT", "TEXT", "ENDSEC"}) + end;
    }
    if (cut)
        file += "10\r\n1.25\r\n20\r\n"; // ends inside a point: error 62
    return file;
}

// ---------------------------------------------------------------------------
// DXF writing by the rules, one line at a time.

QByteArray writeDxfByTheRules(const GestionDonnee& state, const QString& reply) {
    const InMemorySettings& s = state.Settings;
    const QString three = QStringLiteral("0.000");
    const double height = CDbl(PointToComma(reply));
    QByteArray out;
    auto lines = [&](const QStringList& texts) {
        for (const QString& text : texts)
            out += EncodeCp1252(text) + "\r\n";
    };
    auto fileCoordinate = [&](const QString& shown) {
        return CommaToPoint(TrimSpaces(CommaToPoint(TrimSpaces(Format(shown, three)))));
    };
    const QString zLayer =
        s.Calque_Z.toText().isEmpty() ? QStringLiteral("2") : s.Calque_Z.toText();
    lines({"0", "SECTION", "2", "ENTITIES"});
    for (int i = 0; i < int(state.PointCount); ++i) {
        const PointRecord& p = state.Points[std::size_t(i)];
        const QString x = Format(p.X, s.NbDec), y = Format(p.Y, s.NbDec), z = Format(p.Z, s.NbDec);
        const double aX = CDbl(Format(Val(x), three));
        const double aY = CDbl(Format(Val(y), three));
        const QString sX = fileCoordinate(x), sY = fileCoordinate(y);
        const QString sZ =
            TrimSpaces(s.Fich_Dim.toText()) == u"2D" ? NumericPrint(0) : fileCoordinate(z);
        QString tX = Format(aX + 0.75 * height, three);
        QString tY2 = Format(aY - (height + 0.75 * height), three);
        if (tX.contains(u',')) {
            tX = CommaToPoint(tX);
            tY2 = CommaToPoint(tY2);
        }
        lines({"0", "POINT", "5", DefaultText(800.0 + 3 * i), "8", s.Calque_Point.toText(), "62",
               "7", "10", sX, "20", sY, "30", sZ});
        lines({"0", "TEXT", "5", DefaultText(801.0 + 3 * i), "8", s.Calque_Matricule.toText(), "62",
               "5", "10", tX, "20", sY, "40", reply, "1", p.Matricule});
        lines({"0", "TEXT", "5", DefaultText(802.0 + 3 * i), "8", zLayer, "62", "1", "40", reply});
        lines({"41", "0.75", "51", "10", "1", sZ, "10", tX, "20", tY2});
    }
    lines({"0", "ENDSEC", "0", "EOF", "\x1A"});
    return out;
}

// Coordinates of every kind: survey values, signs of zero, values either
// side of a rounding half, very small and very large ones.
double randomCoordinate(Bytes& random) {
    switch (random.below(8)) {
    case 0:
        return random.pick({0.0, -0.0, -0.0004, 0.0005, -0.0005, 1e-9, -1e-7});
    case 1:
        return random.pick({1e15, -1e16, 123456789012.5, 1e300, 9.9999999999999e14});
    case 2: {
        const double half = (random.below(2000000) + 0.5) / 1000.0;
        return std::nextafter(half, random.chance(50) ? 0.0 : 1e300);
    }
    default:
        return (random.chance(15) ? -1 : 1) *
               (random.below(1000000000) / 1000.0 + random.below(1000000) * 1000.0);
    }
}

struct DxfWriting {
    QString nbDec, dim, reply;
    int points;
};

} // namespace
Q_DECLARE_METATYPE(XyzCase)
Q_DECLARE_METATYPE(DxfWriting)

class TestLargeFiles : public QObject {
    Q_OBJECT
private slots:
    void xyzFileAgreesWithLineByLine_data();
    void xyzFileAgreesWithLineByLine();
    void dxfFileAgreesWithFieldByField_data();
    void dxfFileAgreesWithFieldByField();
    void dxfWriterAgreesWithLineByLine_data();
    void dxfWriterAgreesWithLineByLine();
    void listAgreesWithFormatCoordinate_data();
    void listAgreesWithFormatCoordinate();
};

void TestLargeFiles::xyzFileAgreesWithLineByLine_data() {
    // The XYZ reader takes 2 MiB of lines at a time: the first file spans
    // three blocks, the second (odd lines, every kind of line break) two.
    Rows<XyzCase> row;
    row("survey file, comma", {",", "", "0", "0", 180000, 0, true});
    row("survey file with odd lines", {",", "", "0", "0", 80000, 3, false});
    row("numbering from 100", {",", "", "1", "100", 20000, 2, true});
    row("numbering from a decimal", {";", "", "1", "1,5", 15000, 2, false});
    row("numbering from a text", {",", "", "1", "abc", 10000, 2, true});
    row("tab separator", {"\t", "", "0", "0", 20000, 5, false});
    row("other separator, Windows-1252", {",", "€", "0", "0", 20000, 5, true});
    row("two-character separator", {",", "::", "0", "0", 10000, 5, false});
    row("unknown Inc_Num", {",", "", "2", "0", 10000, 5, true});
}

void TestLargeFiles::xyzFileAgreesWithLineByLine() {
    QFETCH(XyzCase, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    Bytes random(qHash(QByteArray(QTest::currentDataTag())));
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("points.xyz"));
    writeBytes(path, xyzFile(random, c, EncodeCp1252(c.other.isEmpty() ? c.sep : c.other)));

    // The automatic numbering depends on whether the list shows points.
    const bool automatic = c.incNum == u"1";
    for (bool listShown : {false, true}) {
        if (listShown && !automatic)
            break;
        GestionDonnee whole, byLine;
        for (GestionDonnee* state : {&whole, &byLine}) {
            state->Settings.Separateur_Lec = c.sep;
            state->Settings.Separateur_Autre_Lec = c.other;
            state->Settings.Inc_Num = c.incNum;
            state->Settings.Num_Premier_Pt = c.first;
            if (listShown)
                state->Grid.addItem(QStringLiteral("shown"));
        }
        ReadXyzFile(whole, path);
        LineReader lines(path);
        while (!lines.atEnd())
            ReadXyzLine(byLine, lines.readLine());
        QCOMPARE(describe(whole), describe(byLine));
    }
}

void TestLargeFiles::dxfFileAgreesWithFieldByField_data() {
    QTest::addColumn<QString>("numbering");
    QTest::addColumn<bool>("cut");
    QTest::addColumn<int>("points");
    // The reader scans 32,768 points at a time.
    QTest::newRow("numbered from 1") << "1" << false << 40000;
    QTest::newRow("numbered from a decimal, cut short") << "1,5" << true << 35000;
    QTest::newRow("numbering switched off") << "" << false << 1000;
}

void TestLargeFiles::dxfFileAgreesWithFieldByField() {
    QFETCH(QString, numbering);
    QFETCH(bool, cut);
    QFETCH(int, points);
    for (const QLocale& locale : {frenchFormat(), englishFormat()}) {
        RegionalFormatScope scope(locale);
        Bytes random(points);
        CommandFixture f;
        const QString path = f.file(QStringLiteral("points.dxf"), dxfFile(random, points, cut));
        GestionDonnee byField;
        f.state.Settings.Num_Pt_Dxf = numbering;
        byField.Settings.Num_Pt_Dxf = numbering;
        const int wholeError = errorOf([&] { ReadDxfFile(f.context, path); });
        QCOMPARE(wholeError, errorOf([&] { readDxfByTheRules(byField, path); }));
        QCOMPARE(describe(f.state), describe(byField));
        // The same through a small buffer, which the fields of a batch
        // outlive many times over.
        CommandFixture small;
        small.state.Settings.Num_Pt_Dxf = numbering;
        QCOMPARE(errorOf([&] { ReadDxfFile(small.context, path, 4096); }), wholeError);
        QCOMPARE(describe(small.state), describe(byField));
    }
}

void TestLargeFiles::dxfWriterAgreesWithLineByLine_data() {
    // The writer formats 16,384 points at a time.
    Rows<DxfWriting> row;
    row("0.000, 3D", {"0.000", "3D", "1", 20000});
    row("0.000, 2D, 1.5", {"0.000", "2D", "1.5", 5000});
    row("0, 3D, 2,5", {"0", "3D", "2,5", 5000});
    row("0.00, 3D", {"0.00", "3D", "0.25", 5000});
    row("0.0000, 3D", {"0.0000", "3D", "1", 5000});
    row("#.##, 3D", {"#.##", "3D", "1", 5000});
    row("0.000 m, 3D, blanks", {"0.000 m", "3D", " 1 ", 5000});
}

void TestLargeFiles::dxfWriterAgreesWithLineByLine() {
    QFETCH(DxfWriting, c);
    for (const QLocale& locale : {frenchFormat(), englishFormat()}) {
        RegionalFormatScope scope(locale);
        CommandFixture f;
        InMemorySettings& s = f.state.Settings;
        s.NbDec = c.nbDec;
        s.Fich_Dim = c.dim;
        s.Calque_Point = QStringLiteral("PT");
        s.Calque_Matricule = QStringLiteral("\u0152uvre \u2603");
        s.Calque_Z = QString();
        Bytes random(qHash(c.nbDec + c.dim));
        for (int i = 0; i < c.points; ++i)
            f.state.AddPoint(
                {randomCoordinate(random), randomCoordinate(random), randomCoordinate(random),
                 random.chance(95) ? QString::number(i + 1) : QStringLiteral("P\u00e9\u20ac")});
        const QString path = f.dir.filePath(QStringLiteral("out.dxf"));
        f.boxes.answerInput(c.reply);
        WriteDxfFile(f.context, path);
        // Line by line, so that a failure shows the first line that differs.
        QCOMPARE(readBytes(path).split('\n'), writeDxfByTheRules(f.state, c.reply).split('\n'));
        QCOMPARE(f.progress.captions, c.points);
        QCOMPARE(f.progress.last, QStringLiteral("Enregistrement DXF : Point %1/%1").arg(c.points));
    }
}

void TestLargeFiles::listAgreesWithFormatCoordinate_data() {
    QTest::addColumn<QString>("nbDec");
    QTest::addColumn<int>("sepSys");
    QTest::addColumn<int>("points");
    // The list is made 65,536 rows at a time.
    QTest::newRow("0.000") << "0.000" << 0 << 70000;
    QTest::newRow("0.000 grouped") << "0.000" << 1 << 10000;
    QTest::newRow("#.##") << "#.##" << 0 << 10000;
    QTest::newRow("blanks and a tab around") << " 0.0\t m " << 0 << 10000;
}

void TestLargeFiles::listAgreesWithFormatCoordinate() {
    QFETCH(QString, nbDec);
    QFETCH(int, sepSys);
    QFETCH(int, points);
    for (const QLocale& locale : {frenchFormat(), englishFormat()}) {
        RegionalFormatScope scope(locale);
        GestionDonnee state;
        state.Settings.NbDec = nbDec;
        state.Settings.SepSys = int16_t(sepSys);
        Bytes random(sepSys + 7);
        const QString odd[] = {QStringLiteral("a\tb"), QString(), QStringLiteral("\U0001F600 x"),
                               QString(QChar(0xD800)), QStringLiteral(" \u00e9 ")};
        for (int i = 0; i < points; ++i)
            state.AddPoint({randomCoordinate(random), randomCoordinate(random),
                            randomCoordinate(random),
                            random.chance(90) ? QString::number(i) : odd[random.below(5)]});
        state.RefreshPointList();
        QCOMPARE(state.Grid.rows(), points + 1);
        QStringList shown, expected;
        QList<QByteArray> utf8, expectedUtf8;
        for (int i = 0; i < points; ++i) {
            const PointRecord& p = state.Points[std::size_t(i)];
            // The row as the list has always been filled: one text, cut at tabs.
            const QStringList cells =
                (p.Matricule + u'\t' + state.FormatCoordinate(p.X) + u'\t' +
                 state.FormatCoordinate(p.Y) + u'\t' + state.FormatCoordinate(p.Z))
                    .split(u'\t')
                    .mid(0, 4);
            expected << cells.join(u'|');
            expectedUtf8 << cells.join(u'\t').toUtf8();
            QStringList row;
            for (int c = 0; c < 4; ++c)
                row << state.Grid.textMatrix(i + 1, c);
            shown << row.join(u'|');
            std::string text;
            state.Grid.appendRowUtf8(i + 1, 4, '\t', text);
            utf8 << QByteArray::fromStdString(text);
        }
        QCOMPARE(shown, expected);
        QCOMPARE(utf8, expectedUtf8);
    }
}

TOVALIN_TEST(TestLargeFiles)
#include "tst_LargeFiles.moc"
