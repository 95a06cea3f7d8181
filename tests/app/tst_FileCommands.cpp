#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "app/FileCommands.h"
#include "platform/RuntimeError.h"

#include <QFile>

using namespace testing;
using namespace platform;

namespace {

const QByteArray threePoints = "A,1,2,3\r\nB,4,5,6\r\nC,7,8,9\r\n";

// The files the open tests pick from; "drawing" is a DXF file.
const QMap<QString, QByteArray> files{
    {"survey.2024.xyz", threePoints},
    {"second.xyz", "D,1,1,1\r\n"},
    {"n.xyz", "1,2\r\n3,4\r\n"},
    {"points.dxf", "P,5,6,7\r\n"},
    {"drawing", "0\r\nSECTION\r\n2\r\nENTITIES\r\n0\r\nPOINT\r\n8\r\n0\r\n10\r\n1.25\r\n20\r\n"
                "2\r\n30\r\n3\r\n0\r\nENDSEC\r\n0\r\nEOF\r\n"}};

struct Open {
    QStringList steps; // "[Y|N|C] file filterIndex" per open command
    QString names;
    int fixedRows;
    int label;
    QString base;
    bool numbering = false;
};

} // namespace
Q_DECLARE_METATYPE(Open)

class TestFileCommands : public QObject {
    Q_OBJECT
private slots:
    void open_data();
    void open();
    void nothingToOpenOrSave();
    void save_data();
    void save();
};

void TestFileCommands::open_data() {
    Rows<Open> row;
    // The label shows one less than the points read, as it always did; read
    // into an empty list, the header row scrolls with the points.
    row("into an empty list", {{"survey.2024.xyz 1"}, "A & B & C", 0, 2, "survey"});
    row("yes adds", {{"survey.2024.xyz 1", "Y second.xyz 1"}, "A & B & C & D", 1, 3, "second"});
    // Not adding empties only the list: the store keeps every point.
    row("no still shows both",
        {{"survey.2024.xyz 1", "N second.xyz 1"}, "A & B & C & D", 0, 3, "second"});
    row("cancel changes nothing", {{"survey.2024.xyz 1", "C"}, "A & B & C", 0, 2, "survey"});
    row("numbering restarts when not adding",
        {{"n.xyz 1", "Y n.xyz 1", "N n.xyz 1"}, "10 & 10 & 11 & 12 & 10 & 10", 0, 5, "n", true});
    // The filter chooses the reader, whatever the name; a name without a dot
    // has no base name.
    row("DXF filter", {{"drawing 2"}, "1", 0, 0, ""});
    row("XYZ filter", {{"points.dxf 1"}, "P", 0, 0, "points"});
}

void TestFileCommands::open() {
    QFETCH(Open, c);
    RegionalFormatScope scope(frenchFormat());
    CommandFixture f;
    if (c.numbering) {
        f.state.Settings.Inc_Num = QStringLiteral("1");
        f.state.Settings.Num_Premier_Pt = QStringLiteral("10");
    }
    QString opened;
    for (const QString& step : c.steps) {
        QStringList words = step.split(u' ');
        if (words.size() != 2)
            f.boxes.answerMessage(MsgAnswer(QStringLiteral("OYNC").indexOf(words.takeFirst())));
        if (!words.isEmpty()) {
            opened = f.file(words[0], files.value(words[0]));
            f.files.choose(opened, words[1].toInt());
        }
        OpenCommand(f.context);
    }

    const QString question = QStringLiteral(
        "Ajout de fichier: Voulez vous ajouter le fichier à ouvrir ? [none yesnocancel]");
    QCOMPARE(shownBoxes(f.boxes), QStringList(c.steps.size() - 1, question));
    QCOMPARE(f.files.unusedAnswers(), 0u);
    QCOMPARE(f.files.shown().front().filter, QStringLiteral("Fichier de points XYZ [*.*]|*.*|"
                                                            "Fichier d'échange DXF [*.dxf]|*.dxf"));
    QCOMPARE(f.window.captions.mid(0, 2),
             (QStringList{"Chargement en cours...", "Editeur de fichiers XYZ et DXF"}));
    QCOMPARE(gridColumn(f.state, 0), items(c.names));
    QCOMPARE(f.state.Grid.fixedRows(), c.fixedRows);
    QCOMPARE(f.window.labels.last(), QStringLiteral("Nombre de points : %1").arg(c.label));
    QCOMPARE(f.state.CurrentFileName, opened);
    QCOMPARE(f.state.CurrentBaseName, c.base);
    QCOMPARE(f.state.DataModified, false);
}

void TestFileCommands::nothingToOpenOrSave() {
    CommandFixture f;
    // A cancelled dialog's empty name fails to open.
    f.files.cancel();
    int error = 0;
    try {
        OpenCommand(f.context);
    } catch (const RuntimeError& e) {
        error = e.number();
    }
    QVERIFY2(error == 75 || error == 53, qPrintable(QString::number(error)));
    QCOMPARE(f.state.PointCount, 0.0);
    QCOMPARE(f.window.captions, QStringList{"Chargement en cours..."});
    // With an empty list saving shows nothing: a dialog would fail the test.
    SaveCommand(f.context);
    QCOMPARE(f.files.shown().size(), 1u);
    QCOMPARE(f.state.DataModified, false);
}

void TestFileCommands::save_data() {
    QTest::addColumn<int>("filterIndex");
    QTest::addColumn<QString>("height");
    QTest::addColumn<QByteArray>("written"); // XYZ: the whole file, DXF: its start
    // The store still has the point removed from the list.
    QTest::newRow("XYZ, deleted row still saved")
        << 1 << ""
        << QByteArray("A,1.000,2.000,3.000\r\nB,4.000,5.000,6.000\r\nC,7.000,8.000,9.000\r\n");
    QTest::newRow("DXF") << 2 << "1" << QByteArray("0\r\nSECTION");
    // A zero height writes nothing, yet the save still counts.
    QTest::newRow("DXF, height 0") << 2 << "0" << QByteArray();
}

void TestFileCommands::save() {
    QFETCH(int, filterIndex);
    QFETCH(QString, height);
    QFETCH(QByteArray, written);
    RegionalFormatScope scope(englishFormat());
    CommandFixture f;
    f.state.Settings.Fich_Dim = QStringLiteral("3D");
    f.files.choose(f.file(QStringLiteral("survey.2024.xyz"), threePoints), 1);
    OpenCommand(f.context);
    f.state.Grid.removeItem(2);
    const QString target = f.dir.filePath(QStringLiteral("out.file"));
    f.files.choose(target, filterIndex);
    if (!height.isEmpty())
        f.boxes.answerInput(height);
    SaveCommand(f.context);

    const auto& shown = f.files.shown().back();
    QCOMPARE(shown.initialName, QStringLiteral("survey"));
    QCOMPARE(shown.filter, QStringLiteral("Fichier de points XYZ [*.xyz]|*.xyz|"
                                          "Fichier d'échange DXF [*.dxf]|*.dxf"));
    QCOMPARE(QFile::exists(target), !written.isEmpty());
    const QByteArray bytes = readBytes(target);
    QCOMPARE(filterIndex == 1 ? bytes : bytes.left(written.size()), written);
    QCOMPARE(f.state.DataModified, true);
    QCOMPARE(f.state.CurrentFileName, target);
}

TOVALIN_TEST(TestFileCommands)
#include "tst_FileCommands.moc"
