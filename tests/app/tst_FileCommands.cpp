#include "TestRunner.h"
#include "TestSupport.h"

#include "app/CommandContext.h"
#include "app/FileCommands.h"
#include "app/GestionDonnee.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QFile>
#include <QTemporaryDir>

using namespace testing;
using namespace platform;

namespace {

// Records what the commands show on the main window.
class RecordingSurface : public MainWindowSurface {
public:
    QStringList captions;
    QStringList labels;
    void setCaption(const QString& caption) override { captions << caption; }
    void setCountLabel(const QString& text) override { labels << text; }
    void setWaitCursor(bool) override {}
};

class MemorySettings : public SettingsStore {
public:
    QString value(const QString& section, const QString& key,
                  const QString& defaultValue) const override {
        return values.value(section + u'/' + key, defaultValue);
    }
    void setValue(const QString& section, const QString& key, const QString& value) override {
        values[section + u'/' + key] = value;
    }
    QHash<QString, QString> values;
};

struct Fixture {
    QTemporaryDir dir;
    GestionDonnee state;
    ScriptedDialogs boxes;
    ScriptedFileDialog files;
    MemorySettings settings;
    RecordingSurface window;
    NoProgress progress;
    CommandContext context{state, boxes, boxes, files, settings, window, progress};

    Fixture() {
        state.Settings.Separateur_Lec = QStringLiteral(",");
        state.Settings.Separateur_Ecr = QStringLiteral(",");
        state.Settings.Inc_Num = QStringLiteral("0");
        state.Settings.Num_Pt_Dxf = QStringLiteral("1");
        state.Settings.Fich_Dim = QStringLiteral("3D");
    }
    QString file(const QString& name, const QByteArray& content) {
        const QString path = dir.filePath(name);
        writeBytes(path, content);
        return path;
    }
    QStringList names() const {
        QStringList out;
        for (int row = 1; row < state.Grid.rows(); ++row)
            out << state.Grid.textMatrix(row, 0);
        return out;
    }
};

const QByteArray threePoints = "A,1,2,3\r\nB,4,5,6\r\nC,7,8,9\r\n";

} // namespace

class TestFileCommands : public QObject {
    Q_OBJECT
private slots:
    void openIntoEmptyList();
    void openAgain_data();
    void openAgain();
    void numberingRestartsWhenNotAdding();
    void filterChoosesTheReader();
    void cancelledOpenFailsToOpen();
    void saveWithEmptyListDoesNothing();
    void saveProposesBaseNameAndMarksModified_data();
    void saveProposesBaseNameAndMarksModified();
    void deletedRowIsStillSaved();
    void commandLineNamesChooseByExtension_data();
    void commandLineNamesChooseByExtension();
};

void TestFileCommands::openIntoEmptyList() {
    Fixture f;
    const QString name = f.file(QStringLiteral("survey.2024.xyz"), threePoints);
    f.files.choose(name, 1);
    OpenCommand(f.context);

    QVERIFY(f.boxes.boxes().empty());
    QCOMPARE(f.files.shown().size(), 1u);
    QCOMPARE(f.files.shown()[0].save, false);
    QCOMPARE(f.files.shown()[0].initialName, QString());
    QCOMPARE(f.files.shown()[0].filter,
             QStringLiteral("Fichier de points XYZ [*.*]|*.*|Fichier d'échange DXF [*.dxf]|*.dxf"));
    QCOMPARE(f.window.captions,
             (QStringList{"Chargement en cours...", "Editeur de fichiers XYZ et DXF"}));
    // One less than the points read, as the label always showed.
    QCOMPARE(f.window.labels, QStringList{"Nombre de points : 2"});
    QCOMPARE(f.names(), (QStringList{"A", "B", "C"}));
    // Read into an empty list: the header row scrolls with the points.
    QCOMPARE(f.state.Grid.fixedRows(), 0);
    QCOMPARE(f.state.CurrentFileName, name);
    QCOMPARE(f.state.CurrentBaseName, QStringLiteral("survey"));
    QCOMPARE(f.state.DataModified, false);
}

void TestFileCommands::openAgain_data() {
    QTest::addColumn<int>("answer");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<bool>("dialogShown");
    QTest::newRow("yes adds") << int(MsgAnswer::Yes) << QStringList{"A", "B", "C", "D"} << true;
    // Not adding empties only the list: the store keeps every point.
    QTest::newRow("no still shows both")
        << int(MsgAnswer::No) << QStringList{"A", "B", "C", "D"} << true;
    QTest::newRow("cancel changes nothing")
        << int(MsgAnswer::Cancel) << QStringList{"A", "B", "C"} << false;
}

void TestFileCommands::openAgain() {
    QFETCH(int, answer);
    QFETCH(QStringList, names);
    QFETCH(bool, dialogShown);
    Fixture f;
    f.files.choose(f.file(QStringLiteral("first.xyz"), threePoints), 1);
    OpenCommand(f.context);
    f.boxes.answerMessage(MsgAnswer(answer));
    if (dialogShown)
        f.files.choose(f.file(QStringLiteral("second.xyz"), "D,1,1,1\r\n"), 1);
    OpenCommand(f.context);

    const RecordedBox& box = f.boxes.boxes().at(0);
    QCOMPARE(box.prompt, QStringLiteral("Voulez vous ajouter le fichier à ouvrir ?"));
    QCOMPARE(box.title, QStringLiteral("Ajout de fichier"));
    QCOMPARE(box.buttons, MsgButtons::YesNoCancel);
    QCOMPARE(box.icon, MsgIcon::None);
    QCOMPARE(f.files.shown().size(), dialogShown ? 2u : 1u);
    QCOMPARE(f.names(), names);
    if (dialogShown) {
        QCOMPARE(f.window.labels.last(), QStringLiteral("Nombre de points : 3"));
        // Read into a list that showed points (yes) or an emptied one (no).
        QCOMPARE(f.state.Grid.fixedRows(), answer == int(MsgAnswer::Yes) ? 1 : 0);
    }
}

void TestFileCommands::numberingRestartsWhenNotAdding() {
    RegionalFormatScope scope(frenchFormat());
    Fixture f;
    f.state.Settings.Inc_Num = QStringLiteral("1");
    f.state.Settings.Num_Premier_Pt = QStringLiteral("10");
    const QString name = f.file(QStringLiteral("n.xyz"), "1,2\r\n3,4\r\n");
    f.files.choose(name, 1);
    OpenCommand(f.context);
    f.boxes.answerMessage(MsgAnswer::Yes);
    f.files.choose(name, 1);
    OpenCommand(f.context);
    f.boxes.answerMessage(MsgAnswer::No);
    f.files.choose(name, 1);
    OpenCommand(f.context);
    QCOMPARE(f.names(), (QStringList{"10", "10", "11", "12", "10", "10"}));
}

void TestFileCommands::filterChoosesTheReader() {
    Fixture f;
    // A DXF file named .xyz, read with the DXF filter.
    const QString dxf = f.file(QStringLiteral("drawing.xyz"),
                               "0\r\nSECTION\r\n2\r\nENTITIES\r\n0\r\nPOINT\r\n8\r\n0\r\n10\r\n"
                               "1.25\r\n20\r\n2\r\n30\r\n3.0004\r\n0\r\nENDSEC\r\n0\r\nEOF\r\n");
    f.files.choose(dxf, 2);
    OpenCommand(f.context);
    QCOMPARE(f.names(), QStringList{"1"});
    QCOMPARE(f.state.Points[0].X, 1.25);
    QCOMPARE(f.state.Points[0].Z, 3.0);

    // The first filter reads any file as XYZ, whatever its name.
    f.boxes.answerMessage(MsgAnswer::Yes);
    f.files.choose(f.file(QStringLiteral("points.dxf"), "P,5,6,7\r\n"), 1);
    OpenCommand(f.context);
    QCOMPARE(f.names(), (QStringList{"1", "P"}));
}

void TestFileCommands::cancelledOpenFailsToOpen() {
    Fixture f;
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

void TestFileCommands::saveWithEmptyListDoesNothing() {
    Fixture f;
    SaveCommand(f.context); // a dialog would fail the test: none is scripted
    QVERIFY(f.files.shown().empty());
    QCOMPARE(f.state.DataModified, false);
}

void TestFileCommands::saveProposesBaseNameAndMarksModified_data() {
    QTest::addColumn<int>("filterIndex");
    QTest::addColumn<QString>("height");
    QTest::addColumn<bool>("written");
    QTest::newRow("XYZ") << 1 << "" << true;
    QTest::newRow("DXF") << 2 << "1" << true;
    // A zero height writes nothing, yet the save still counts.
    QTest::newRow("DXF, height 0") << 2 << "0" << false;
}

void TestFileCommands::saveProposesBaseNameAndMarksModified() {
    QFETCH(int, filterIndex);
    QFETCH(QString, height);
    QFETCH(bool, written);
    Fixture f;
    f.files.choose(f.file(QStringLiteral("survey.2024.xyz"), threePoints), 1);
    OpenCommand(f.context);
    const QString target = f.dir.filePath(QStringLiteral("out.file"));
    f.files.choose(target, filterIndex);
    if (!height.isEmpty())
        f.boxes.answerInput(height);
    SaveCommand(f.context);

    const auto& shown = f.files.shown().back();
    QCOMPARE(shown.save, true);
    QCOMPARE(shown.initialName, QStringLiteral("survey"));
    QCOMPARE(
        shown.filter,
        QStringLiteral("Fichier de points XYZ [*.xyz]|*.xyz|Fichier d'échange DXF [*.dxf]|*.dxf"));
    QCOMPARE(QFile::exists(target), written);
    QCOMPARE(f.state.DataModified, true);
    QCOMPARE(f.state.CurrentFileName, target);
    if (written) {
        const QByteArray bytes = readBytes(target);
        QCOMPARE(bytes.startsWith("0\r\nSECTION"), filterIndex == 2);
    }
}

void TestFileCommands::deletedRowIsStillSaved() {
    RegionalFormatScope scope(englishFormat());
    Fixture f;
    f.files.choose(f.file(QStringLiteral("p.xyz"), threePoints), 1);
    OpenCommand(f.context);
    f.state.Grid.removeItem(2);
    const QString target = f.dir.filePath(QStringLiteral("p2.xyz"));
    f.files.choose(target, 1);
    SaveCommand(f.context);
    // The store still has the point removed from the list.
    QCOMPARE(readBytes(target), QByteArray("A,1.000,2.000,3.000\r\nB,4.000,5.000,6.000\r\n"
                                           "C,7.000,8.000,9.000\r\n"));
}

void TestFileCommands::commandLineNamesChooseByExtension_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("dxf");
    QTest::newRow("xyz") << "a.xyz" << false;
    QTest::newRow("dxf") << "a.dxf" << true;
    QTest::newRow("DXF capitals") << "A.DXF" << true;
    QTest::newRow("no extension") << "dxf" << false;
    QTest::newRow("dxf in the middle") << "a.dxf.txt" << false;
}

void TestFileCommands::commandLineNamesChooseByExtension() {
    QFETCH(QString, name);
    QFETCH(bool, dxf);
    QCOMPARE(FormatOfName(name) == FileFormat::Dxf, dxf);
}

TOVALIN_TEST(TestFileCommands)
#include "tst_FileCommands.moc"
