#include "TestRunner.h"
#include "TestSupport.h"
#include "WriterHarness.h"

#include "app/GestionDonnee.h"
#include "formats/DxfReader.h"
#include "formats/DxfWriter.h"
#include "formats/XyzReader.h"
#include "platform/NumberText.h"
#include "platform/RuntimeError.h"
#include "platform/TextFile.h"
#include "platform/TextUtil.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <bit>
#include <cmath>

// Large random files through the readers and writers, against the rules
// applied one line, one field or one point at a time: the whole-file paths
// (bytes read where they stand, lines and points shared out between threads,
// blocks and batches) must give exactly what the plain rules give, whatever
// the file holds.

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

// The first difference of two descriptions, for the failure message.
QString firstDifference(const QStringList& actual, const QStringList& expected) {
    for (qsizetype i = 0; i < std::min(actual.size(), expected.size()); ++i) {
        if (actual[i] != expected[i])
            return QStringLiteral("entry %1: %2 instead of %3").arg(i).arg(actual[i], expected[i]);
    }
    return QStringLiteral("%1 entries instead of %2").arg(actual.size()).arg(expected.size());
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
    const char* name;
    const char* sep;
    const char* other;
    const char* incNum;
    const char* first;
    int lines;
    int oddPercent; // lines made strange on purpose
};

const XyzCase kXyzCases[] = {
    {"survey file, comma", ",", "", "0", "0", 110000, 0},
    {"survey file with odd lines", ",", "", "0", "0", 80000, 3},
    {"numbering from 100", ",", "", "1", "100", 60000, 2},
    {"numbering from a decimal", ";", "", "1", "1,5", 30000, 2},
    {"numbering from a text", ",", "", "1", "abc", 20000, 2},
    {"tab separator", "\t", "", "0", "0", 60000, 5},
    {"other separator, Windows-1252", ",", "\xe2\x82\xac", "0", "0", 60000, 5},
    {"two-character separator", ",", "::", "0", "0", 20000, 5},
    {"unknown Inc_Num", ",", "", "2", "0", 20000, 5},
};

QByteArray xyzFile(Bytes& random, const XyzCase& c, const QByteArray& sep) {
    QByteArray file;
    for (int line = 0; line < c.lines; ++line) {
        if (random.chance(c.oddPercent)) {
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
            if (QByteArray(c.incNum) != "1")
                file += !random.chance(odd * 2)
                            ? QByteArray::number(line + 1)
                            : random.pick<QByteArray>({"P 7", " x", "\xe9", ""});
            if (QByteArray(c.incNum) != "1")
                file += sep;
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

void setXyzSettings(GestionDonnee& state, const XyzCase& c) {
    state.Settings.Separateur_Lec = QString::fromUtf8(c.sep);
    state.Settings.Separateur_Autre_Lec = QString::fromUtf8(c.other);
    state.Settings.Inc_Num = QString::fromUtf8(c.incNum);
    state.Settings.Num_Premier_Pt = QString::fromUtf8(c.first);
}

// ---------------------------------------------------------------------------
// DXF reading by the rules, one field at a time.

bool isName(const Field& field, QStringView name) {
    return !field.isNumber() && TrimSpaces(QStringView(field.text())) == name;
}

bool isCode10(const Field& field) {
    return TrimSpaces(field.text()) == u"10";
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
        if (!isCode10(file.readField()))
            continue;
        const Field x = file.readField();
        file.readField();
        const Field y = file.readField();
        file.readField();
        const Field z = file.readField();
        PointRecord record;
        record.X = coordinate(x);
        record.Y = coordinate(y);
        record.Z = coordinate(z);
        record.Matricule = state.Settings.Num_Pt_Dxf.toText();
        state.AddPoint(record);
        state.Settings.Num_Pt_Dxf = state.Settings.Num_Pt_Dxf.plus(1);
    }
}

QByteArray dxfField(Bytes& random) {
    if (random.chance(70))
        return random.number();
    return random.pick<QByteArray>({"10",
                                    " 10",
                                    "10 ",
                                    "\"10\"",
                                    "\" 10 \"",
                                    "\"1.5\"",
                                    "\"1e999\"",
                                    "10.0",
                                    "+10",
                                    "010",
                                    "1e1",
                                    "9.99999999999999",
                                    "9.9999999999999999",
                                    "10.000000000000001",
                                    "TEXT",
                                    "E",
                                    "e5",
                                    "POINT",
                                    "\"a,b\"",
                                    "x,y",
                                    "",
                                    "\t7",
                                    "\"open"});
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
    auto line = [&](const QString& text) { out += EncodeCp1252(text) + "\r\n"; };
    double handle = 800;
    auto start = [&](const char* type, const QString& layer) {
        line(QStringLiteral("0"));
        line(QString::fromLatin1(type));
        line(QStringLiteral("5"));
        line(DefaultText(handle));
        handle += 1;
        line(QStringLiteral("8"));
        line(layer);
    };
    auto fileCoordinate = [&](const QString& shown) {
        return CommaToPoint(TrimSpaces(CommaToPoint(TrimSpaces(Format(shown, three)))));
    };
    line(QStringLiteral("0"));
    line(QStringLiteral("SECTION"));
    line(QStringLiteral("2"));
    line(QStringLiteral("ENTITIES"));
    const QString zLayer =
        s.Calque_Z.toText().isEmpty() ? QStringLiteral("2") : s.Calque_Z.toText();
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
        start("POINT", s.Calque_Point.toText());
        for (const QString& text : {QStringLiteral("62"), QStringLiteral("7"), QStringLiteral("10"),
                                    sX, QStringLiteral("20"), sY, QStringLiteral("30"), sZ})
            line(text);
        start("TEXT", s.Calque_Matricule.toText());
        for (const QString& text : {QStringLiteral("62"), QStringLiteral("5"), QStringLiteral("10"),
                                    tX, QStringLiteral("20"), sY, QStringLiteral("40"), reply,
                                    QStringLiteral("1"), p.Matricule})
            line(text);
        start("TEXT", zLayer);
        for (const QString& text : {QStringLiteral("62"), QStringLiteral("1"), QStringLiteral("40"),
                                    reply, QStringLiteral("41"), QStringLiteral("0.75"),
                                    QStringLiteral("51"), QStringLiteral("10"), QStringLiteral("1"),
                                    sZ, QStringLiteral("10"), tX, QStringLiteral("20"), tY2})
            line(text);
    }
    for (const char* text : {"0", "ENDSEC", "0", "EOF", "\x1A"})
        line(QString::fromLatin1(text));
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

} // namespace

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
    QTest::addColumn<int>("index");
    for (int i = 0; i < int(std::size(kXyzCases)); ++i)
        QTest::newRow(kXyzCases[i].name) << i;
}

void TestLargeFiles::xyzFileAgreesWithLineByLine() {
    QFETCH(int, index);
    const XyzCase& c = kXyzCases[index];
    RegionalFormatScope scope(index % 2 ? englishFormat() : frenchFormat());
    Bytes random(1000 + index);
    const QString sep = QString::fromUtf8(*c.other ? c.other : c.sep);
    const QByteArray sepBytes = EncodeCp1252(sep);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("points.xyz"));
    writeBytes(path, xyzFile(random, c, sepBytes));

    for (bool listShown : {false, true}) {
        // The automatic numbering depends on whether the list shows points.
        GestionDonnee whole, byLine;
        for (GestionDonnee* state : {&whole, &byLine}) {
            setXyzSettings(*state, c);
            if (listShown)
                state->Grid.addItem(QStringLiteral("shown"));
        }
        ReadXyzFile(whole, path);
        LineReader lines(path);
        while (!lines.atEnd())
            ReadXyzLine(byLine, lines.readLine());
        const QStringList actual = describe(whole), expected = describe(byLine);
        if (actual != expected)
            QFAIL(qPrintable(firstDifference(actual, expected)));
    }
}

void TestLargeFiles::dxfFileAgreesWithFieldByField_data() {
    QTest::addColumn<QString>("numbering");
    QTest::addColumn<bool>("cut");
    QTest::addColumn<int>("points");
    QTest::newRow("numbered from 1") << "1" << false << 50000;
    QTest::newRow("numbered from a decimal, cut short") << "1,5" << true << 40000;
    QTest::newRow("numbering switched off") << "" << false << 1000;
}

void TestLargeFiles::dxfFileAgreesWithFieldByField() {
    QFETCH(QString, numbering);
    QFETCH(bool, cut);
    QFETCH(int, points);
    for (const QLocale& locale : {frenchFormat(), englishFormat()}) {
        RegionalFormatScope scope(locale);
        Bytes random(points);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("points.dxf"));
        writeBytes(path, dxfFile(random, points, cut));

        WriterHarness whole;
        GestionDonnee byField;
        whole.state.Settings.Num_Pt_Dxf = numbering;
        byField.Settings.Num_Pt_Dxf = numbering;
        int wholeError = 0, byFieldError = 0;
        try {
            ReadDxfFile(whole.context, path);
        } catch (const RuntimeError& error) {
            wholeError = error.number();
        }
        try {
            readDxfByTheRules(byField, path);
        } catch (const RuntimeError& error) {
            byFieldError = error.number();
        }
        QCOMPARE(wholeError, byFieldError);
        const QStringList actual = describe(whole.state), expected = describe(byField);
        if (actual != expected)
            QFAIL(qPrintable(firstDifference(actual, expected)));
    }
}

void TestLargeFiles::dxfWriterAgreesWithLineByLine_data() {
    QTest::addColumn<QString>("nbDec");
    QTest::addColumn<QString>("dim");
    QTest::addColumn<QString>("reply");
    QTest::newRow("0.000, 3D") << "0.000"
                               << "3D"
                               << "1";
    QTest::newRow("0.000, 2D, decimal height") << "0.000"
                                               << "2D"
                                               << "1.5";
    QTest::newRow("0, 3D") << "0"
                           << "3D"
                           << "2,5";
    QTest::newRow("0.00, 3D") << "0.00"
                              << "3D"
                              << "0.25";
    QTest::newRow("0.0000, 3D") << "0.0000"
                                << "3D"
                                << "1";
    QTest::newRow("#.##, 3D") << "#.##"
                              << "3D"
                              << "1";
    QTest::newRow("0.000 m, 3D") << "0.000 m"
                                 << "3D"
                                 << "1";
}

void TestLargeFiles::dxfWriterAgreesWithLineByLine() {
    QFETCH(QString, nbDec);
    QFETCH(QString, dim);
    QFETCH(QString, reply);
    for (const QLocale& locale : {frenchFormat(), englishFormat()}) {
        RegionalFormatScope scope(locale);
        WriterHarness h;
        h.state.Settings.NbDec = nbDec;
        h.state.Settings.Fich_Dim = dim;
        h.state.Settings.Calque_Point = QStringLiteral("PT");
        h.state.Settings.Calque_Matricule = QStringLiteral("\u0152uvre \u2603");
        h.state.Settings.Calque_Z = QString();
        Bytes random(qHash(nbDec + dim));
        for (int i = 0; i < 25000; ++i)
            h.addPoint(random.chance(95) ? QString::number(i + 1) : QStringLiteral("P\u00e9\u20ac"),
                       randomCoordinate(random), randomCoordinate(random),
                       randomCoordinate(random));
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("out.dxf"));
        h.dialogs.answerInput(reply);
        WriteDxfFile(h.context, path);
        const QByteArray actual = readBytes(path);
        const QByteArray expected = writeDxfByTheRules(h.state, reply);
        if (actual != expected) {
            qsizetype at = 0;
            while (at < std::min(actual.size(), expected.size()) && actual[at] == expected[at])
                ++at;
            QFAIL(qPrintable(QStringLiteral("differs at byte %1: %2 instead of %3")
                                 .arg(at)
                                 .arg(QString::fromLatin1(actual.mid(at - 40, 80)),
                                      QString::fromLatin1(expected.mid(at - 40, 80)))));
        }
        QCOMPARE(h.progress.captions, 25000);
        QCOMPARE(h.progress.last, QStringLiteral("Enregistrement DXF : Point 25000/25000"));
    }
}

void TestLargeFiles::listAgreesWithFormatCoordinate_data() {
    QTest::addColumn<QString>("nbDec");
    QTest::addColumn<int>("sepSys");
    QTest::newRow("0.000") << "0.000" << 0;
    QTest::newRow("0.000 grouped") << "0.000" << 1;
    QTest::newRow("#.##") << "#.##" << 0;
    QTest::newRow("blanks and a tab around") << " 0.0\t m " << 0;
}

void TestLargeFiles::listAgreesWithFormatCoordinate() {
    QFETCH(QString, nbDec);
    QFETCH(int, sepSys);
    for (const QLocale& locale : {frenchFormat(), englishFormat()}) {
        RegionalFormatScope scope(locale);
        GestionDonnee state;
        state.Settings.NbDec = nbDec;
        state.Settings.SepSys = int16_t(sepSys);
        Bytes random(sepSys + 7);
        for (int i = 0; i < 50000; ++i) {
            PointRecord point;
            point.X = randomCoordinate(random);
            point.Y = randomCoordinate(random);
            point.Z = randomCoordinate(random);
            point.Matricule =
                random.chance(90)
                    ? QString::number(i)
                    : random.pick<QString>({QStringLiteral("a\tb"), QString(),
                                            QStringLiteral("\U0001F600 x"), QString(QChar(0xD800)),
                                            QStringLiteral(" \u00e9 ")});
            state.AddPoint(point);
        }
        state.RefreshPointList();
        QCOMPARE(state.Grid.rows(), 50001);
        for (int i = 0; i < 50000; ++i) {
            const PointRecord& p = state.Points[std::size_t(i)];
            // The row as the list has always been filled: one text, cut at tabs.
            const QStringList cells =
                (p.Matricule + u'\t' + state.FormatCoordinate(p.X) + u'\t' +
                 state.FormatCoordinate(p.Y) + u'\t' + state.FormatCoordinate(p.Z))
                    .split(u'\t');
            QStringList shown;
            QByteArray utf8;
            state.Grid.appendRowUtf8(i + 1, 4, '\t', utf8);
            QByteArray joined;
            for (int c = 0; c < 4; ++c) {
                shown << state.Grid.textMatrix(i + 1, c);
                joined += (c > 0 ? "\t" : "") + state.Grid.textMatrix(i + 1, c).toUtf8();
            }
            if (shown != cells.mid(0, 4))
                QFAIL(qPrintable(QStringLiteral("row %1: %2 instead of %3")
                                     .arg(i + 1)
                                     .arg(shown.join(u'|'), cells.mid(0, 4).join(u'|'))));
            QCOMPARE(utf8, joined);
        }
    }
}

TOVALIN_TEST(TestLargeFiles)
#include "tst_LargeFiles.moc"
