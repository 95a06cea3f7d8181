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

// The files the open tests pick from; "drawing.xyz" is a DXF file.
const QMap<QString, QByteArray> files{
    {"survey.2024.xyz", threePoints},
    {"second.xyz", "D,1,1,1\r\n"},
    {"n.xyz", "1,2\r\n3,4\r\n"},
    {"points.dxf", "P,5,6,7\r\n"},
    {"drawing.xyz", "0\r\nSECTION\r\n2\r\nENTITIES\r\n0\r\nPOINT\r\n8\r\n0\r\n10\r\n1.25\r\n20\r\n"
                    "2\r\n30\r\n3\r\n0\r\nENDSEC\r\n0\r\nEOF\r\n"}};

struct Open {
    QStringList steps; // "[answer] file filterIndex" per open command
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
    void cancelledOpenFailsToOpen();
    void save_data();
    void save();
    void saveWithEmptyListDoesNothing();
    void namesOfFiles_data();
    void namesOfFiles();
};

void TestFileCommands::open_data() {
    Rows<Open> row;
    // The label shows one less than the points read, as it always did; read
    // into an empty list, the header row scrolls with the points.
    row("into an empty list", {{"survey.2024.xyz 1"}, "A & B & C", 0, 2, "survey"});
    row("yes adds", {{"survey.2024.xyz 1", "yes second.xyz 1"}, "A & B & C & D", 1, 3, "second"});
    // Not adding empties only the list: the store keeps every point.
    row("no still shows both",
        {{"survey.2024.xyz 1", "no second.xyz 1"}, "A & B & C & D", 0, 3, "second"});
    row("cancel changes nothing", {{"survey.2024.xyz 1", "cancel"}, "A & B & C", 0, 2, "survey"});
    row("numbering restarts when not adding",
        {{"n.xyz 1", "yes n.xyz 1", "no n.xyz 1"}, "10 & 10 & 11 & 12 & 10 & 10", 0, 5, "n", true});
    // The filter chooses the reader, whatever the name.
    row("DXF filter", {{"drawing.xyz 2"}, "1", 0, 0, "drawing"});
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
    const QMap<QString, MsgAnswer> answers{
        {"yes", MsgAnswer::Yes}, {"no", MsgAnswer::No}, {"cancel", MsgAnswer::Cancel}};
    QString opened;
    for (const QString& step : c.steps) {
        QStringList words = step.split(u' ');
        if (words.size() != 2)
            f.boxes.answerMessage(answers.value(words.takeFirst()));
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
    const ScriptedFileDialog::Shown& shown = f.files.shown().front();
    QVERIFY(!shown.save);
    QCOMPARE(shown.initialName, QString());
    QCOMPARE(shown.filter, QStringLiteral("Fichier de points XYZ [*.*]|*.*|"
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

void TestFileCommands::cancelledOpenFailsToOpen() {
    CommandFixture f;
    f.files.cancel();
    try {
        OpenCommand(f.context);
        QFAIL("no error");
    } catch (const RuntimeError& error) {
        QVERIFY(error.number() == 75 || error.number() == 53);
    }
    QCOMPARE(f.state.PointCount, 0.0);
    QCOMPARE(f.window.captions, QStringList{"Chargement en cours..."});
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
    QVERIFY(shown.save);
    QCOMPARE(shown.initialName, QStringLiteral("survey"));
    QCOMPARE(shown.filter, QStringLiteral("Fichier de points XYZ [*.xyz]|*.xyz|"
                                          "Fichier d'échange DXF [*.dxf]|*.dxf"));
    QCOMPARE(QFile::exists(target), !written.isEmpty());
    const QByteArray bytes = readBytes(target);
    QCOMPARE(filterIndex == 1 ? bytes : bytes.left(written.size()), written);
    QCOMPARE(f.state.DataModified, true);
    QCOMPARE(f.state.CurrentFileName, target);
}

void TestFileCommands::saveWithEmptyListDoesNothing() {
    CommandFixture f;
    SaveCommand(f.context); // a dialog would fail the test: none is scripted
    QVERIFY(f.files.shown().empty());
    QCOMPARE(f.state.DataModified, false);
}

void TestFileCommands::namesOfFiles_data() {
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("base");
    QTest::addColumn<bool>("dxf"); // as the command line chooses the reader
    auto row = [](const char* title, const char* base, bool dxf) {
        QTest::newRow(title) << QString::fromLatin1(title) << QString::fromLatin1(base) << dxf;
    };
    row("survey.2024.xyz", "survey", false);
    row("survey", "", false);
    row(".hidden", "", false);
    row("a.dxf", "a", true);
    row("A.DXF", "A", true);
    row("dxf", "", false);
    row("a.dxf.txt", "a", false);
}

void TestFileCommands::namesOfFiles() {
    QFETCH(QString, title);
    QFETCH(QString, base);
    QFETCH(bool, dxf);
    QCOMPARE(BaseNameOf(title), base);
    QCOMPARE(FormatOfName(title) == FileFormat::Dxf, dxf);
}

TOVALIN_TEST(TestFileCommands)
#include "tst_FileCommands.moc"
