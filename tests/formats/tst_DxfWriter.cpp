#include "Fixtures.h"
#include "RuntimeErrors.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "formats/DxfWriter.h"

#include <QFileInfo>
#include <QRandomGenerator>
#include <cmath>

using namespace testing;

namespace {

struct DxfGolden {
    bool french;
    QString dim, nbDec, reply, pointLayer, nameLayer, heightLayer, flavour;
    int points;
    QString file;
};

struct DxfStop {
    bool french;
    QString reply;
    QString target; // null: a file in the fixture's folder
    int error;      // 0: none
    QString window; // wait cursor and labels, " & " between them
};

struct DxfMany {
    QString nbDec, dim, reply;
    int points;
};

// Coordinates of every kind: survey values, signs of zero, values either side
// of a rounding half, very small and very large ones.
double coordinate(QRandomGenerator& random) {
    static const double odd[] = {0.0,   -0.0, -0.0004, 0.0005,         -0.0005, 1e-9,
                                 -1e-7, 1e15, -1e16,   123456789012.5, 1e300,   9.9999999999999e14};
    switch (random.bounded(4)) {
    case 0:
        return odd[random.bounded(int(std::size(odd)))];
    case 1:
        return std::nextafter((random.bounded(2000000) + 0.5) / 1000.0, random.bounded(2) * 1e300);
    default:
        return (random.bounded(7) ? 1 : -1) *
               (random.bounded(1000000000) / 1000.0 + random.bounded(1000000) * 1000.0);
    }
}

// 3D, three decimals, named layers.
void setDxfSettings(GestionDonnee& state) {
    state.Settings.Fich_Dim = QStringLiteral("3D");
    state.Settings.NbDec = QStringLiteral("0.000");
    state.Settings.Calque_Point = QStringLiteral("PT");
    state.Settings.Calque_Matricule = QStringLiteral("MAT");
    state.Settings.Calque_Z = QStringLiteral("ALT");
    state.Settings.Dxf_Format = QStringLiteral("MS");
}

} // namespace
Q_DECLARE_METATYPE(DxfGolden)
Q_DECLARE_METATYPE(DxfStop)
Q_DECLARE_METATYPE(DxfMany)

class TestDxfWriter : public QObject {
    Q_OBJECT
private slots:
    void goldenFiles_data();
    void goldenFiles();
    void stops_data();
    void stops();
    void quickWayAgrees_data();
    void quickWayAgrees();
};

void TestDxfWriter::goldenFiles_data() {
    Rows<DxfGolden> row;
    row("French 3D", {true, "3D", "0.000", "1", "PT", "MAT", "ALT", "MS", 3, "writer-fr-3d.dxf"});
    // The flavour is not consulted: both give the same bytes.
    row("AC flavour", {true, "3D", "0.000", "1", "PT", "MAT", "ALT", "AC", 3, "writer-fr-3d.dxf"});
    row("English 3D", {false, "3D", "0.000", "1", "PT", "MAT", "ALT", "AC", 3, "writer-en-3d.dxf"});
    // Empty identifier layer stays an empty line; empty height layer is "2".
    row("French 2D", {true, "2D", "0.00", "2.5", "0", "", "", "MS", 2, "writer-fr-2d.dxf"});
    // Anchors read with Val stop at the grouping comma; "2,5" reads as 25 here.
    row("English 2D",
        {false, " 2D ", "#,##0.0", "2,5", "PT", "MAT", "ALT", "MS", 2, "writer-en-2d.dxf"});
    row("empty store", {true, "3D", "0.000", "1", "PT", "MAT", "ALT", "MS", 0, "writer-empty.dxf"});
}

void TestDxfWriter::goldenFiles() {
    QFETCH(DxfGolden, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    CommandFixture f;
    InMemorySettings& s = f.state.Settings;
    s.Fich_Dim = c.dim;
    s.NbDec = c.nbDec;
    s.Calque_Point = c.pointLayer;
    s.Calque_Matricule = c.nameLayer;
    s.Calque_Z = c.heightLayer;
    s.Dxf_Format = c.flavour;
    const PointRecord sample[] = {{1000.5, 2000.25, 35.1, QStringLiteral("12")},
                                  {-12.3456, -0.4, 1234567.8915, QStringLiteral("Bé-7")},
                                  {0, 0, 0, QStringLiteral("€ 3")}};
    for (int i = 0; i < c.points; ++i)
        f.state.AddPoint(sample[i]);
    f.boxes.answerInput(c.reply);
    const QString file = f.dir.filePath(QStringLiteral("out.dxf"));

    WriteDxfFile(f.context, file);

    QCOMPARE(readBytes(file), readBytes(dataFile(c.file)));
    QCOMPARE(f.boxes.boxes().size(), std::size_t(1));
    const platform::RecordedBox& box = f.boxes.boxes().front();
    QVERIFY(box.isInput);
    QCOMPARE(box.prompt, QStringLiteral("Entrez la taille de la police\rExemple : 1"));
    QCOMPARE(box.title, QStringLiteral("Taille de la police"));
    QCOMPARE(box.defaultReply, QStringLiteral("1"));
    QCOMPARE(f.window.cursor, (QStringList{"wait", "default"}));
    const QString count = QString::number(c.points);
    QCOMPARE(f.window.labels,
             (QStringList{"Enregistrement DXF : ", "Nombre de points : " + count}));
    QCOMPARE(f.progress.captions, c.points);
    if (c.points > 0)
        QCOMPARE(f.progress.last, "Enregistrement DXF : Point " + count + u'/' + count);
}

void TestDxfWriter::stops_data() {
    Rows<DxfStop> row;
    // A zero height writes nothing; a reply that is no number (Cancel gives
    // "") is a type mismatch. Both come before the file is made.
    row("0", {true, "0", {}, 0, ""});
    row("0.0, English", {false, "0.0", {}, 0, ""});
    row("abc", {true, "abc", {}, 13, ""});
    row("Cancel", {true, "", {}, 13, ""});
    row("1.5.3", {true, "1.5.3", {}, 13, ""});
    // File errors leave the hourglass up while they are reported.
    row("missing folder", {true, "1", "/nonexistent-folder-for-tests/out.dxf", 76, "wait"});
    // Buffered: the write fails when the file is closed, after the last point.
    row("disk full", {true, "1", "/dev/full", 61, "wait & Enregistrement DXF : "});
}

void TestDxfWriter::stops() {
    QFETCH(DxfStop, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    CommandFixture f;
    setDxfSettings(f.state);
    f.state.AddPoint({1, 2, 3, QStringLiteral("P1")});
    f.boxes.answerInput(c.reply);
    const QString file = c.target.isNull() ? f.dir.filePath(QStringLiteral("out.dxf")) : c.target;
    QCOMPARE(errorOf([&] { WriteDxfFile(f.context, file); }), c.error);
    QCOMPARE(f.window.cursor + f.window.labels, items(c.window));
    if (c.target.isNull())
        QVERIFY(!QFileInfo::exists(file));
}

void TestDxfWriter::quickWayAgrees_data() {
    // Points are put into text 16,384 at a time, side by side.
    Rows<DxfMany> row;
    row("0.000, 3D", {"0.000", "3D", "1", 20000});
    row("0.000, 2D, 1.5", {"0.000", "2D", "1.5", 5000});
    row("0, 3D, 2,5", {"0", "3D", "2,5", 5000});
    row("0.00, 3D", {"0.00", "3D", "0.25", 5000});
}

// A display pattern of plain digits takes a quick way to the texts; the same
// pattern followed by a blank takes the long way (the blank is gone once the
// text is read back as a number) and must give the same bytes. Handles run
// on in file order whichever part wrote them.
void TestDxfWriter::quickWayAgrees() {
    QFETCH(DxfMany, c);
    for (const bool french : {true, false}) {
        RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
        QByteArray written[2];
        for (const int longWay : {0, 1}) {
            CommandFixture f;
            setDxfSettings(f.state);
            f.state.Settings.NbDec = c.nbDec + QString(longWay, u' ');
            f.state.Settings.Fich_Dim = c.dim;
            QRandomGenerator random(7);
            for (int i = 0; i < c.points; ++i)
                f.state.AddPoint(
                    {coordinate(random), coordinate(random), coordinate(random),
                     i % 20 ? QString::number(i + 1) : QStringLiteral("P\u00e9\u20ac")});
            f.boxes.answerInput(c.reply);
            WriteDxfFile(f.context, f.dir.filePath(QStringLiteral("out.dxf")));
            written[longWay] = readBytes(f.dir.filePath(QStringLiteral("out.dxf")));
            QCOMPARE(f.progress.captions, c.points);
        }
        // Line by line, so that a failure shows the first line that differs.
        QCOMPARE(written[0].split('\n'), written[1].split('\n'));
        qsizetype at = 0;
        for (int handle = 800; handle < 800 + 3 * c.points && at >= 0; ++handle)
            at = written[0].indexOf("\n5\r\n" + QByteArray::number(handle) + "\r\n", at);
        QVERIFY(at > 0);
    }
}

TOVALIN_TEST(TestDxfWriter)
#include "tst_DxfWriter.moc"
