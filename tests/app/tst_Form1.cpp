#include "TestRunner.h"
#include "WindowFixture.h"

#include <QFile>

using namespace testing;
using namespace platform;

namespace {

// Menu entries as "name:caption:shortcut", "-" for a separator, a menu as
// "name>caption" followed by its entries and "<".
QStringList describe(const QWidget* menu) {
    QStringList out;
    for (QAction* action : menu->actions()) {
        if (action->isSeparator()) {
            out << QStringLiteral("-");
        } else if (action->menu() != nullptr) {
            out << action->menu()->objectName() + u'>' + action->text() << describe(action->menu())
                << QStringLiteral("<");
        } else {
            out << action->objectName() + u':' + action->text() + u':' +
                       action->shortcut().toString(QKeySequence::PortableText);
        }
    }
    return out;
}

} // namespace

class TestForm1 : public QObject {
    Q_OBJECT
private slots:
    void menus();
    void listAndCaptions();
    void openFilesFromCommandLine();
    void quit_data();
    void quit();
    void runTimeErrorIsReported();
};

void TestForm1::menus() {
    WindowFixture f;
    QCOMPARE(
        describe(f.window.menuBar()),
        items("fich>Fichier & open:Ouvrir:Ctrl+O & - & save:Enregistrer:Ctrl+E & - & "
              "para:Paramètres de lecture\\Ecriture:Ctrl+A & - & print:Imprimer:Ctrl+P & - & "
              "exit:Quitter:Ctrl+Q & < & edit>Edition & ent_pt:Entrer un point:Ctrl+N & "
              "mod_pt:Modifier le point:Ctrl+M & sup_pt:Supprimer le point:Ctrl+S & "
              "rech:Rechercher:Ctrl+R & - & MnuImmatriculation:Immatriculation: & < & "
              "view:Visualisation: & Mnu_Format:Format des données: & what>? & "
              "help:Aide:F1 & - & mnu_Internet>Internet & mnu_Internet_Maj:Mise à jour: & - & "
              "EnvMail:Envoyer un mail à l'auteur: & - & "
              "mnu_lien_site:Visiter le site internet: & < & - & apropos:A propos de...: & <"));
}

void TestForm1::listAndCaptions() {
    WindowFixture f;
    QCOMPARE(f.window.windowTitle(), QStringLiteral("Editeur de fichier XYZ et DXF"));
    auto* frame = child<QGroupBox>(&f.window, "Frame1");
    QCOMPARE(frame->title(), QStringLiteral("Liste des points XYZ"));
    auto* grid = child<QTableView>(frame, "Grid");
    QCOMPARE(grid->model(), &f.state.Grid);
    QCOMPARE(grid->model()->headerData(0, Qt::Horizontal).toString(), QStringLiteral("Matricule"));
    QCOMPARE(grid->model()->rowCount(), 0);
    QCOMPARE(grid->columnWidth(1), 100); // 1500 twips at 96 dots per inch
    QCOMPARE(child<QListWidget>(frame, "List1")->font().family(), QStringLiteral("Courier"));
    QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points :"));
}

void TestForm1::openFilesFromCommandLine() {
    RegionalFormatScope scope(frenchFormat());
    WindowFixture f;
    const QString first = f.dir.filePath(QStringLiteral("a.b.xyz"));
    const QString second = f.dir.filePath(QStringLiteral("second.xyz"));
    writeBytes(first, "1,1,2,3\r\n2,1,2,3\r\n3,4,5,6\r\n");
    writeBytes(second, "9,1,2,3\r\n");
    f.window.OpenFiles({first, second});

    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
    QCOMPARE(gridColumn(f.state, 0), items("1 & 2 & 3 & 9"));
    QCOMPARE(f.window.windowTitle(), QStringLiteral("Editeur de fichiers XYZ et DXF"));
    QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points : 3"));
    QCOMPARE(f.state.CurrentBaseName, QStringLiteral("second"));
}

void TestForm1::quit_data() {
    QTest::addColumn<bool>("modified");
    QTest::addColumn<int>("answer"); // -1: nothing asked
    QTest::newRow("unchanged: nothing asked") << false << -1;
    QTest::newRow("yes saves") << true << int(MsgAnswer::Yes);
    QTest::newRow("no") << true << int(MsgAnswer::No);
    QTest::newRow("cancel still closes") << true << int(MsgAnswer::Cancel);
}

void TestForm1::quit() {
    QFETCH(bool, modified);
    QFETCH(int, answer);
    WindowFixture f({{1, 2, 3, "A"}});
    f.window.show();
    f.state.DataModified = modified;
    const QString saved = f.dir.filePath(QStringLiteral("saved.xyz"));
    if (answer >= 0)
        f.boxes.answerMessage(MsgAnswer(answer));
    if (answer == int(MsgAnswer::Yes))
        f.files.choose(saved, 1);
    f.window.QuitCommand();
    const QString question = QStringLiteral(
        "Enregistrement: Voulez vous enregistrer les modifications ? [question yesnocancel]");
    QCOMPARE(shownBoxes(f.boxes), answer < 0 ? QStringList() : QStringList{question});
    QCOMPARE(QFile::exists(saved), answer == int(MsgAnswer::Yes));
    QVERIFY(!f.window.isVisible());
}

void TestForm1::runTimeErrorIsReported() {
    WindowFixture f;
    f.boxes.answerMessage(MsgAnswer::Ok);
    f.window.OpenFiles({f.dir.filePath(QStringLiteral("missing.xyz"))});
    QCOMPARE(
        shownBoxes(f.boxes),
        QStringList{"Tovalin: Erreur d'exécution '53' :\n\nFichier introuvable [critical ok]"});
    QCOMPARE(f.state.PointCount, 0.0);
    QVERIFY(f.window.menuBar()->isEnabled()); // usable again after the error
}

TOVALIN_TEST(TestForm1)
#include "tst_Form1.moc"
