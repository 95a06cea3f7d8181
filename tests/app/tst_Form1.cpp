#include "TestRunner.h"
#include "TestSupport.h"

#include "app/Form1.h"
#include "app/GestionDonnee.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QAction>
#include <QApplication>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QTableView>
#include <QTemporaryDir>

using namespace testing;
using namespace platform;

namespace {

// A menu as "name:caption:shortcut" entries, "-" for a separator, a submenu
// as "name>" followed by its entries and "<".
QStringList describe(const QMenu* menu) {
    QStringList out;
    for (QAction* action : menu->actions()) {
        if (action->isSeparator()) {
            out << QStringLiteral("-");
        } else if (action->menu() != nullptr) {
            out << action->menu()->objectName() + QStringLiteral(">") + action->text();
            out << describe(action->menu());
            out << QStringLiteral("<");
        } else {
            out << action->objectName() + QLatin1Char(':') + action->text() + QLatin1Char(':') +
                       action->shortcut().toString(QKeySequence::PortableText);
        }
    }
    return out;
}

struct Fixture {
    QTemporaryDir dir;
    ScriptedDialogs boxes;
    ScriptedFileDialog files;
    IniSettingsStore settings;
    GestionDonnee state;
    Form1 window{state, Services{boxes, boxes, files, settings}};

    Fixture() {
        boxes.setThrowOnUnexpected(false);
        writeBytes(dir.filePath(QStringLiteral("atm.bin")),
                   "1\r\n2\r\n3\r\n4\r\n5\r\n6\r\nsite\r\nsupport\r\n");
        window.LoadMainWindow(dir.path());
    }
};

const char* const sample = "1,652345.678,6862104.512,152.304\r\n"
                           "2,652351.902,6862110.047,152.611\r\n"
                           "3,652360.115,6862098.730,153.020\r\n";

} // namespace

class TestForm1 : public QObject {
    Q_OBJECT
private slots:
    void menus();
    void listAndCaptions();
    void openFilesFromCommandLine();
    void quitRightAfterStartAsksNothing();
    void quitAfterChangeAsks();
    void runTimeErrorIsReported();
};

void TestForm1::menus() {
    Fixture f;
    QMenuBar* bar = f.window.menuBar();
    QStringList top;
    for (QAction* action : bar->actions())
        top << (action->menu() ? action->menu()->objectName() : action->objectName()) +
                   QLatin1Char(':') + action->text();
    QCOMPARE(top, (QStringList{"fich:Fichier", "edit:Edition", "view:Visualisation",
                               QString::fromUtf8("Mnu_Format:Format des données"), "what:?"}));

    QCOMPARE(describe(f.window.findChild<QMenu*>(QStringLiteral("fich"))),
             (QStringList{"open:Ouvrir:Ctrl+O", "-", "save:Enregistrer:Ctrl+E", "-",
                          QString::fromUtf8("para:Paramètres de lecture\\Ecriture:Ctrl+A"), "-",
                          "print:Imprimer:Ctrl+P", "-", "exit:Quitter:Ctrl+Q"}));
    QCOMPARE(describe(f.window.findChild<QMenu*>(QStringLiteral("edit"))),
             (QStringList{"ent_pt:Entrer un point:Ctrl+N", "mod_pt:Modifier le point:Ctrl+M",
                          "sup_pt:Supprimer le point:Ctrl+S", "rech:Rechercher:Ctrl+R", "-",
                          "MnuImmatriculation:Immatriculation:"}));
    QCOMPARE(describe(f.window.findChild<QMenu*>(QStringLiteral("what"))),
             (QStringList{"help:Aide:F1", "-", "mnu_Internet>Internet",
                          QString::fromUtf8("mnu_Internet_Maj:Mise à jour:"), "-",
                          QString::fromUtf8("EnvMail:Envoyer un mail à l'auteur:"), "-",
                          "mnu_lien_site:Visiter le site internet:", "<", "-",
                          "apropos:A propos de...:"}));
}

void TestForm1::listAndCaptions() {
    Fixture f;
    QCOMPARE(f.window.objectName(), QStringLiteral("Form1"));
    QCOMPARE(f.window.windowTitle(), QStringLiteral("Editeur de fichier XYZ et DXF"));
    auto* frame = f.window.findChild<QGroupBox*>(QStringLiteral("Frame1"));
    QVERIFY(frame);
    QCOMPARE(frame->title(), QStringLiteral("Liste des points XYZ"));
    auto* grid = frame->findChild<QTableView*>(QStringLiteral("Grid"));
    QVERIFY(grid);
    QCOMPARE(grid->model(), &f.state.Grid);
    // The header row is the view's header while it is fixed.
    QCOMPARE(grid->model()->headerData(0, Qt::Horizontal).toString(), QStringLiteral("Matricule"));
    QCOMPARE(grid->model()->rowCount(), 0);
    // 1500 twips at 96 dots per inch.
    QCOMPARE(grid->columnWidth(1), 100);
    auto* list = frame->findChild<QListWidget*>(QStringLiteral("List1"));
    QVERIFY(list);
    QCOMPARE(list->font().family(), QStringLiteral("Courier"));
    auto* label = frame->findChild<QLabel*>(QStringLiteral("Label1"));
    QVERIFY(label);
    QCOMPARE(label->text(), QStringLiteral("Nombre de points :"));
}

void TestForm1::openFilesFromCommandLine() {
    RegionalFormatScope scope(frenchFormat());
    Fixture f;
    const QString first = f.dir.filePath(QStringLiteral("a.b.xyz"));
    const QString second = f.dir.filePath(QStringLiteral("second.xyz"));
    writeBytes(first, sample);
    writeBytes(second, "9,1,2,3\r\n");
    f.window.OpenFiles({first, second});

    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
    QCOMPARE(f.state.PointCount, 4.0);
    QCOMPARE(f.state.Grid.rows(), 5);
    // Read into an empty list the header was not fixed; the second file was
    // read into a list that shows points.
    QCOMPARE(f.state.Grid.fixedRows(), 1);
    QCOMPARE(f.state.Grid.textMatrix(1, 1), QStringLiteral("652345,678"));
    QCOMPARE(f.state.Grid.textMatrix(4, 0), QStringLiteral("9"));
    QCOMPARE(f.window.windowTitle(), QStringLiteral("Editeur de fichiers XYZ et DXF"));
    QCOMPARE(f.window.findChild<QLabel*>(QStringLiteral("Label1"))->text(),
             QStringLiteral("Nombre de points : 3"));
    QCOMPARE(f.state.CurrentFileName, second);
    QCOMPARE(f.state.CurrentBaseName, QStringLiteral("second"));
    QCOMPARE(f.state.DataModified, false);
}

void TestForm1::quitRightAfterStartAsksNothing() {
    Fixture f;
    f.window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&f.window));
    f.window.QuitCommand();
    QVERIFY(f.boxes.boxes().empty());
    QVERIFY(!f.window.isVisible());
}

void TestForm1::quitAfterChangeAsks() {
    Fixture f;
    f.window.show();
    f.state.DataModified = true;
    f.boxes.answerMessage(MsgAnswer::Cancel);
    f.window.QuitCommand();
    QCOMPARE(f.boxes.boxes().size(), 1u);
    QCOMPARE(f.boxes.boxes().front().title, QStringLiteral("Enregistrement"));
    // Cancel does not keep the window open.
    QVERIFY(!f.window.isVisible());
}

void TestForm1::runTimeErrorIsReported() {
    Fixture f;
    f.boxes.answerMessage(MsgAnswer::Ok);
    f.window.OpenFiles({f.dir.filePath(QStringLiteral("missing.xyz"))});
    QCOMPARE(f.boxes.boxes().size(), 1u);
    const RecordedBox& box = f.boxes.boxes().front();
    QCOMPARE(box.prompt, QStringLiteral("Erreur d'exécution '53' :\n\nFichier introuvable"));
    QCOMPARE(box.icon, MsgIcon::Critical);
    QCOMPARE(box.title, QStringLiteral("Tovalin"));
    QCOMPARE(f.state.PointCount, 0.0);
    // The menu is usable again after the error.
    QVERIFY(f.window.menuBar()->isEnabled());
}

TOVALIN_TEST(TestForm1)
#include "tst_Form1.moc"
