#include "TestRunner.h"
#include "TestSupport.h"
#include "WriterHarness.h"

#include "formats/DxfWriter.h"
#include "platform/NumberText.h"
#include "platform/RuntimeError.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace testing;

namespace {

struct Layers {
    QString point, name, height;
};

void setDxfSettings(GestionDonnee& state, const QString& dim, const QString& nbDec,
                    const Layers& layers) {
    state.Settings.Fich_Dim = dim;
    state.Settings.NbDec = nbDec;
    state.Settings.Calque_Point = layers.point;
    state.Settings.Calque_Matricule = layers.name;
    state.Settings.Calque_Z = layers.height;
    state.Settings.Dxf_Format = QStringLiteral("MS");
}

// The file's lines, CR LF removed; every line must end with CR LF.
QStringList dxfLines(const QString& file) {
    const QByteArray bytes = readBytes(file);
    if (!bytes.endsWith("\r\n"))
        return {QStringLiteral("<no final CR LF>")};
    QStringList lines = QString::fromLatin1(bytes.chopped(2)).split(QStringLiteral("\r\n"));
    return lines;
}

const Layers kNamedLayers{QStringLiteral("PT"), QStringLiteral("MAT"), QStringLiteral("ALT")};

} // namespace

class TestDxfWriter : public QObject {
    Q_OBJECT
private slots:
    void goldenFiles_data();
    void goldenFiles();
    void heightReply_data();
    void heightReply();
    void handlesRunOnInDecimal();
    void fileErrorsPropagate_data();
    void fileErrorsPropagate();
};

void TestDxfWriter::goldenFiles_data() {
    QTest::addColumn<bool>("french");
    // Fich_Dim, NbDec, height reply, Calque_Point, Calque_Matricule, Calque_Z, Dxf_Format
    QTest::addColumn<QStringList>("settings");
    QTest::addColumn<int>("points");
    QTest::addColumn<QString>("golden");
    auto row = [](const char* title, bool french, const QStringList& settings, int points,
                  const char* golden) {
        QTest::newRow(title) << french << settings << points << QString::fromLatin1(golden);
    };
    row("French 3D", true, {"3D", "0.000", "1", "PT", "MAT", "ALT", "MS"}, 3, "writer-fr-3d.dxf");
    // The flavour is not consulted: both give the same bytes.
    row("French 3D, AC flavour", true, {"3D", "0.000", "1", "PT", "MAT", "ALT", "AC"}, 3,
        "writer-fr-3d.dxf");
    row("English 3D", false, {"3D", "0.000", "1", "PT", "MAT", "ALT", "AC"}, 3, "writer-en-3d.dxf");
    // Empty identifier layer stays an empty line; empty height layer is "2".
    row("French 2D, empty layers, reply 2.5", true, {"2D", "0.00", "2.5", "0", "", "", "MS"}, 2,
        "writer-fr-2d.dxf");
    // Anchors read with Val stop at the grouping comma; "2,5" reads as 25 here.
    row("English padded 2D, grouped NbDec, reply 2,5", false,
        {" 2D ", "#,##0.0", "2,5", "PT", "MAT", "ALT", "MS"}, 2, "writer-en-2d.dxf");
    row("empty store", true, {"3D", "0.000", "1", "PT", "MAT", "ALT", "MS"}, 0, "writer-empty.dxf");
}

void TestDxfWriter::goldenFiles() {
    QFETCH(bool, french);
    QFETCH(QStringList, settings);
    QFETCH(int, points);
    QFETCH(QString, golden);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("out.dxf"));

    WriterHarness h;
    setDxfSettings(h.state, settings[0], settings[1],
                   Layers{settings[3], settings[4], settings[5]});
    h.state.Settings.Dxf_Format = settings[6];
    const PointRecord sample[] = {{1000.5, 2000.25, 35.1, QStringLiteral("12")},
                                  {-12.3456, -0.4, 1234567.8915, QStringLiteral("Bé-7")},
                                  {0, 0, 0, QStringLiteral("€ 3")}};
    for (int i = 0; i < points; ++i)
        h.state.AddPoint(sample[i]);
    h.dialogs.answerInput(settings[2]);

    WriteDxfFile(h.context, file);

    QCOMPARE(readBytes(file), readBytes(dataFile(golden)));
    QCOMPARE(h.dialogs.boxes().size(), std::size_t(1));
    const platform::RecordedBox& box = h.dialogs.boxes().front();
    QVERIFY(box.isInput);
    QCOMPARE(box.prompt, QStringLiteral("Entrez la taille de la police\rExemple : 1"));
    QCOMPARE(box.title, QStringLiteral("Taille de la police"));
    QCOMPARE(box.defaultReply, QStringLiteral("1"));
    QCOMPARE(h.window.cursor, (QStringList{"wait", "default"}));
    const QString count(QLatin1Char("0123"[points]));
    QCOMPARE(h.window.labels,
             (QStringList{"Enregistrement DXF : ", "Nombre de points : " + count}));
    QCOMPARE(h.progress.captions, points);
    if (points > 0)
        QCOMPARE(h.progress.last, "Enregistrement DXF : Point " + count + u'/' + count);
}

void TestDxfWriter::heightReply_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<int>("error");    // 0: none
    QTest::addColumn<bool>("written"); // false: stopped before the file
    QTest::addColumn<QString>("tX");
    QTest::addColumn<QString>("tY2");

    auto row = [](const char* title, bool french, const char* reply, int error, bool written,
                  const char* tX = "", const char* tY2 = "") {
        QTest::newRow(title) << french << QString::fromLatin1(reply) << error << written
                             << QString::fromLatin1(tX) << QString::fromLatin1(tY2);
    };
    row("0", true, "0", 0, false);
    row("0.0, English", false, "0.0", 0, false);
    row("-0", true, "-0", 0, false);
    row("abc", true, "abc", 13, false);
    row("empty (Cancel)", true, "", 13, false);
    row("1.5.3", true, "1.5.3", 13, false);
    // The point (10.25, 20.5): under French its anchors are 10 and 20.
    row("2.5", true, "2.5", 0, true, "11.875", "15.625");
    row("2,5", true, "2,5", 0, true, "11.875", "15.625");
    row("blanks around 1", true, " 1 ", 0, true, "10.750", "18.250");
    // The point made a comma first: under English that is a grouping character.
    row("2.5, English", false, "2.5", 0, true, "29.000", "-23.250");
    row("1, English", false, "1", 0, true, "11.000", "18.750");
}

void TestDxfWriter::heightReply() {
    QFETCH(bool, french);
    QFETCH(QString, reply);
    QFETCH(int, error);
    QFETCH(bool, written);
    QFETCH(QString, tX);
    QFETCH(QString, tY2);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("out.dxf"));
    WriterHarness h;
    setDxfSettings(h.state, QStringLiteral("3D"), QStringLiteral("0.000"), kNamedLayers);
    h.addPoint(QStringLiteral("P"), 10.25, 20.5, 0);
    h.dialogs.answerInput(reply);

    int raised = 0;
    try {
        WriteDxfFile(h.context, file);
    } catch (const platform::RuntimeError& e) {
        raised = e.number();
    }
    QCOMPARE(raised, error);
    QCOMPARE(QFileInfo::exists(file), written);
    if (!written) {
        QVERIFY(h.window.labels.isEmpty());
        QVERIFY(h.window.cursor.isEmpty());
        return;
    }
    const QStringList lines = dxfLines(file);
    QCOMPARE(lines.size(), 59);
    QCOMPARE(lines.mid(26, 6), (QStringList{"10", tX, "20", "20.500", "40", reply}));
    QCOMPARE(lines.mid(42, 2), (QStringList{"40", reply}));
    QCOMPARE(lines.mid(50, 4), (QStringList{"10", tX, "20", tY2}));
}

void TestDxfWriter::handlesRunOnInDecimal() {
    RegionalFormatScope scope(frenchFormat());
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("out.dxf"));
    WriterHarness h;
    setDxfSettings(h.state, QStringLiteral("3D"), QStringLiteral("0.000"), kNamedLayers);
    for (int i = 0; i < 23; ++i)
        h.addPoint(QStringLiteral("5"), 5, 5, 5);
    h.dialogs.answerInput(QStringLiteral("1"));
    WriteDxfFile(h.context, file);

    // Group code and value alternate up to the end-of-file mark.
    const QStringList lines = dxfLines(file);
    QCOMPARE(lines.size() % 2, 1);
    QCOMPARE(lines.last(), QString(QChar(26)));
    QStringList handles;
    for (int i = 0; i + 1 < lines.size(); i += 2) {
        if (lines[i] == u"5")
            handles << lines[i + 1];
    }
    QCOMPARE(handles.size(), 69);
    const QRegularExpression digits(QStringLiteral("^[1-9][0-9]*$"));
    for (int i = 0; i < handles.size(); ++i) {
        QVERIFY2(digits.match(handles[i]).hasMatch(), qPrintable(handles[i]));
        QCOMPARE(platform::Val(handles[i]), 800.0 + i);
    }
    QCOMPARE(handles[66], QStringLiteral("866"));
}

void TestDxfWriter::fileErrorsPropagate_data() {
    QTest::addColumn<QString>("target");
    QTest::addColumn<int>("error");
    QTest::addColumn<QStringList>("labels");
    QTest::newRow("missing folder")
        << "/nonexistent-folder-for-tests/out.dxf" << 76 << QStringList();
    // Buffered: the write fails when the file is closed, after the last point.
    QTest::newRow("disk full") << "/dev/full" << 61 << QStringList{"Enregistrement DXF : "};
}

void TestDxfWriter::fileErrorsPropagate() {
    QFETCH(QString, target);
    QFETCH(int, error);
    QFETCH(QStringList, labels);
    RegionalFormatScope scope(frenchFormat());
    WriterHarness h;
    setDxfSettings(h.state, QStringLiteral("3D"), QStringLiteral("0.000"), kNamedLayers);
    h.addPoint(QStringLiteral("P1"), 1, 2, 3);
    h.dialogs.answerInput(QStringLiteral("1"));
    try {
        WriteDxfFile(h.context, target);
        QFAIL("no error raised");
    } catch (const platform::RuntimeError& e) {
        QCOMPARE(e.number(), error);
    }
    // The hourglass is still up when the error is reported.
    QCOMPARE(h.window.cursor, QStringList{"wait"});
    QCOMPARE(h.window.labels, labels);
    QCOMPARE(h.dialogs.boxes().size(), std::size_t(1));
}

TOVALIN_TEST(TestDxfWriter)
#include "tst_DxfWriter.moc"
