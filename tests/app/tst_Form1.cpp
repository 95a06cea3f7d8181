#include "ProgramFixture.h"
#include "TestRunner.h"

#include "platform/RuntimeError.h"
#include "state/Startup.h"
#include "viewer/Zone.h"

#include <QFile>
#include <QHeaderView>
#include <QTextBrowser>
#include <QTimer>
#include <functional>

using namespace testing;
using namespace platform;

namespace {

// Menu entries as "name:caption:shortcut", "-" for a separator, a menu as
// "name>caption" followed by its entries and "<".
QStringList describe(const QWidget* menu) {
    QStringList out;
    for (QAction* action : menu->actions()) {
        if (action->menu() != nullptr)
            out << action->menu()->objectName() + u'>' + action->text() << describe(action->menu())
                << QStringLiteral("<");
        else if (action->isSeparator())
            out << QStringLiteral("-");
        else
            out << action->objectName() + u':' + action->text() + u':' +
                       action->shortcut().toString(QKeySequence::PortableText);
    }
    return out;
}

QString iniPath() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Tovalin/Tovalin.ini");
}

struct Start {
    QByteArray ini;
    int error;
    QString settings; // with SepSys last
    QString shown;    // 1234.5 as the list shows it; "": start-up stopped before the list
    QString addresses;
    QString box = {};
    QByteArray mail = mailFile; // "-": no mail settings file
};

// An error forced inside a window's command or mouse handler.
struct Fault {
    QString opens;                            // the main menu item that opens the window
    QString window;                           // its name
    std::function<void(ProgramFixture&)> act; // what the user does in it, error forced
    int error;
};

// The view's middle, clicked in the current mode until a box shows (the
// coordinates overflow after some 160 "Zoom -" clicks).
void clickViewUntilBox(ProgramFixture& f, const char* mode) {
    QWidget* view = f.topLevel(QStringLiteral("frmVisualisation"));
    view->findChild<QAction*>(QStringLiteral("MnuRecentrer"))->trigger(); // drawn once
    view->findChild<QAction*>(QString::fromLatin1(mode))->trigger();
    auto* zone = view->findChild<Zone*>();
    for (int i = 0; i < 400 && f.boxes.boxes().empty(); ++i)
        QTest::mouseClick(zone, Qt::LeftButton, {}, zone->rect().center());
}

void settingsFail(ProgramFixture& f) {
    f.settings.onWrite = [] { throw RuntimeError(RuntimeError::PermissionDenied); };
}

void shellFails(ProgramFixture& f) {
    f.shell.onOpen = [] { throw RuntimeError(RuntimeError::FileNotFound); };
}

} // namespace
Q_DECLARE_METATYPE(Start)
Q_DECLARE_METATYPE(Fault)

class TestForm1 : public QObject {
    Q_OBJECT
private slots:
    void init() { QFile::remove(iniPath()); }
    void startUp_data();
    void startUp();
    void startUpLook();
    void openFilesFromCommandLine();
    void quit_data();
    void quit();
    void errorsEndTheCommand_data();
    void errorsEndTheCommand();
};

void TestForm1::startUp_data() {
    const QString defaults = QStringLiteral(
        "Separateur_Lec=, & Separateur_Ecr=, & Separateur_Autre_Lec= & Separateur_Autre_Ecr= & "
        "Calque_Point=0 & Calque_Matricule=0 & Calque_Z=0 & Num_Premier_Pt=0 & Inc_Num=0 & "
        "Num_Pt_Dxf=1 & Dxf_Format=MS & Fich_Dim=2D & NbDec=0.000 & SepSys=0");
    Rows<Start> row;
    row("first run", {"", 0, defaults, "1234,500", "site|mail"});
    // Absent keys keep their defaults; NbDec and SepSys drive the list's format.
    row("hand written",
        {"[Param\xc3\xa8tre]\nSeparateur_Lec=;\nCalque_Point=POINTS\nInc_Num=1\n"
         "Num_Premier_Pt=100\nFich_Dim=3D\n[App]\nNbDec=0.00\nSepSys=1\n",
         0,
         "Separateur_Lec=; & Separateur_Ecr=, & Separateur_Autre_Lec= & Separateur_Autre_Ecr= & "
         "Calque_Point=POINTS & Calque_Matricule=0 & Calque_Z=0 & Num_Premier_Pt=100 & "
         "Inc_Num=1 & Num_Pt_Dxf=1 & Dxf_Format=MS & Fich_Dim=3D & NbDec=0.00 & SepSys=1",
         "1\u202f234,50", "site|mail"});
    // SepSys is read strictly: one that is no number stops start-up before
    // the list and the mail file.
    row("SepSys text", {"[App]\nSepSys=oui\n", 13, "", "", "|"});
    // Values only a hand-written file holds: only a SepSys of 1 groups; read
    // as the locale-aware conversion to a 16-bit integer, half to even.
    for (const char* flag : {"2", "-1", "1,5"}) {
        QString settings = defaults;
        settings.replace(QStringLiteral("SepSys=0"),
                         QStringLiteral("SepSys=") + (flag[0] == '1' ? "2" : flag));
        row((QByteArray("SepSys ") + flag).constData(),
            {QByteArray("[App]\nSepSys=") + flag + '\n', 0, settings, "1234,500", "site|mail"});
    }
    row("SepSys beyond 16 bits", {"[App]\nSepSys=40000\n", 6, "", "", "|"});
    // A value in quotes keeps its blanks, and the writers compare it as it is.
    row("Fich_Dim with blanks",
        {"[Param\xc3\xa8tre]\nFich_Dim=\" 2D \"\n", 0,
         QString(defaults).replace(QStringLiteral("Fich_Dim=2D"), QStringLiteral("Fich_Dim= 2D ")),
         "1234,500", "site|mail"});
    row("no mail file",
        {"", 0, defaults, "1234,500", "|",
         "Tovalin: Une erreur c'est produite\r\nVous devez réinstaller Tovalin [critical ok]",
         "-"});
    row("short mail file",
        {"", 62, defaults, "1234,500", "site|", "", "1\r\n2\r\n3\r\n4\r\n5\r\n6\r\nsite\r\n"});
}

void TestForm1::startUp() {
    QFETCH(Start, c);
    RegionalFormatScope scope(frenchFormat());
    if (!c.ini.isEmpty())
        writeBytes(iniPath(), c.ini);
    QTemporaryDir dir;
    if (c.mail != "-")
        writeBytes(dir.filePath(QStringLiteral("atm.bin")), c.mail);
    IniSettingsStore store;
    ScriptedDialogs boxes;
    boxes.setThrowOnUnexpected(false);
    GestionDonnee state;
    state.DataModified = true;
    int raised = 0;
    try {
        LoadMainWindow(state, store, boxes, dir.path());
    } catch (const RuntimeError& e) {
        raised = e.number();
    }
    QCOMPARE(raised, c.error);
    const bool started = !c.shown.isEmpty();
    if (started) {
        QCOMPARE(memorySettings(state.Settings), items(c.settings));
        QCOMPARE(state.FormatCoordinate(1234.5), c.shown);
    }
    QCOMPARE(gridRow(state, 0), started ? items("Matricule & X & Y & Z") : QStringList(4, ""));
    QCOMPARE(state.DataModified, !started);
    QCOMPARE(state.WebSiteAddress + u'|' + state.SupportAddress, c.addresses);
    QCOMPARE(shownBoxes(boxes), items(c.box));
    // The program's folder is written at every start, and nothing else.
    IniSettingsStore reread;
    QCOMPARE(reread.value(sections::app(), QStringLiteral("Path"), QString()),
             started ? dir.path() : QString());
    QCOMPARE(reread.value(sections::parametre(), "Separateur_Ecr", "-"), QStringLiteral("-"));
}

void TestForm1::startUpLook() {
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
    // "fichier" here, "fichiers" once a file is open.
    QCOMPARE(f.window.windowTitle(), QStringLiteral("Editeur de fichier XYZ et DXF"));
    // 1000, 1500, 1500 and 1100 twips at 96 dots per inch.
    const QTableView* grid = f.window.grid();
    QCOMPARE(QList<int>({grid->columnWidth(0), grid->columnWidth(1), grid->columnWidth(2),
                         grid->columnWidth(3)}),
             QList<int>({67, 100, 100, 73}));
}

void TestForm1::openFilesFromCommandLine() {
    RegionalFormatScope scope(frenchFormat());
    WindowFixture f;
    // The name chooses the reader: DXF for ".dxf" in any case.
    const QString first = f.dir.filePath(QStringLiteral("a.b.xyz"));
    const QString second = f.dir.filePath(QStringLiteral("second.DXF"));
    writeBytes(first, "7,1,2,3\r\n8,1,2,3\r\n9,4,5,6\r\n");
    writeBytes(second, "0\r\nSECTION\r\n2\r\nENTITIES\r\n0\r\nPOINT\r\n8\r\n0\r\n10\r\n1\r\n20\r\n"
                       "2\r\n30\r\n3\r\n0\r\nENDSEC\r\n0\r\nEOF\r\n");
    // Read into an empty list, the header row is not fixed and scrolls with the
    // points: it is the list's first row, and the view's own header is hidden.
    f.window.OpenFiles({first});
    QCOMPARE(f.state.Grid.fixedRows(), 0);
    QVERIFY(f.window.grid()->horizontalHeader()->isHidden());
    QCOMPARE(gridRow(f.state, 0), items("Matricule & X & Y & Z"));
    f.window.OpenFiles({second});
    QCOMPARE(f.state.Grid.fixedRows(), 1);

    QCOMPARE(gridColumn(f.state, 0), items("7 & 8 & 9 & 1"));
    QCOMPARE(f.window.windowTitle(), QStringLiteral("Editeur de fichiers XYZ et DXF"));
    QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points : 3"));
    QCOMPARE(f.state.CurrentBaseName, QStringLiteral("second"));

    // A missing file is reported, and the window is usable again.
    f.boxes.answerMessage(MsgAnswer::Ok);
    f.window.OpenFiles({f.dir.filePath(QStringLiteral("missing.xyz"))});
    QCOMPARE(
        shownBoxes(f.boxes),
        QStringList{"Tovalin: Erreur d'exécution '53' :\n\nFichier introuvable [critical ok]"});
    QCOMPARE(f.state.PointCount, 4.0);
    QVERIFY(f.window.menuBar()->isEnabled());
}

void TestForm1::quit_data() {
    QTest::addColumn<bool>("modified");
    QTest::addColumn<int>("answer");     // -1: nothing asked
    QTest::addColumn<QString>("during"); // the work going on when the close comes
    QTest::newRow("unchanged: nothing asked") << false << -1 << "";
    QTest::newRow("yes saves") << true << int(MsgAnswer::Yes) << "";
    QTest::newRow("cancel still closes") << true << int(MsgAnswer::Cancel) << "";
    QTest::newRow("while printing: once printed") << true << int(MsgAnswer::No) << "print";
    QTest::newRow("while the view loads: once loaded") << true << int(MsgAnswer::No) << "view";
}

void TestForm1::quit() {
    QFETCH(bool, modified);
    QFETCH(int, answer);
    QFETCH(QString, during);
    std::vector<PointRecord> points{{1, 2, 3, "A"}};
    // Enough points for the work to let events in while it goes on.
    for (int i = 0; !during.isEmpty() && i < 300000; ++i)
        points.push_back({double(i % 1000), double(i / 1000), 0, QString::number(i)});
    ProgramFixture f(points);
    f.state.DataModified = modified;
    const QString saved = f.dir.filePath(QStringLiteral("saved.xyz"));
    if (answer >= 0)
        f.boxes.answerMessage(MsgAnswer(answer));
    if (answer == int(MsgAnswer::Yes))
        f.files.choose(saved, 1);
    if (during.isEmpty()) {
        f.window.QuitCommand();
    } else {
        // The close box, while the list is printed or the view loads.
        if (during == u"print")
            f.trigger("print");
        bool working = false;
        QTimer::singleShot(0, &f.window, [&] {
            working = !f.window.menuBar()->isEnabled();
            f.window.close();
        });
        if (during == u"print")
            child<QPushButton>(f.topLevel(QStringLiteral("Form6")), "Command1")->click();
        else
            f.trigger("view");
        QVERIFY(working);
        QTRY_VERIFY(!f.window.isVisible());
        if (during == u"print")
            QCOMPARE(f.printer.ended.size(), std::size_t(1));
    }
    const QString question = QStringLiteral(
        "Enregistrement: Voulez vous enregistrer les modifications ? [question yesnocancel]");
    QCOMPARE(shownBoxes(f.boxes), answer < 0 ? QStringList() : QStringList{question});
    QCOMPARE(QFile::exists(saved), answer == int(MsgAnswer::Yes));
    QVERIFY(!f.window.isVisible());
}

// An error that nothing traps, forced inside any window's command or mouse
// handler, ends that command with the report; the program and the window go
// on, and the points are as they were.
void TestForm1::errorsEndTheCommand_data() {
    Rows<Fault> row;
    const auto click = [](const char* window, const char* name) {
        return [=](ProgramFixture& f) {
            settingsFail(f);
            child<QAbstractButton>(f.topLevel(QString::fromLatin1(window)), name)->click();
        };
    };
    const auto choose = [](const char* window) {
        return [=](ProgramFixture& f) {
            settingsFail(f);
            emit child<QComboBox>(f.topLevel(QString::fromLatin1(window)), "Combo1")->activated(0);
        };
    };
    row("view: Zoom - clicks overflow",
        {"view", "frmVisualisation", [](ProgramFixture& f) { clickViewUntilBox(f, "MnuZoomm"); },
         RuntimeError::Overflow});
    row("view: Zoom - clicks overflow, context menu",
        {"view", "frmVisualisation",
         [](ProgramFixture& f) { clickViewUntilBox(f, "Mnu_Commande_Zoomm"); },
         RuntimeError::Overflow});
    row("Form2: Ok, settings not written",
        {"para", "Form2", click("Form2", "Command1"), RuntimeError::PermissionDenied});
    row("FormatDonnee: separator box, settings not written",
        {"Mnu_Format", "FormatDonnee", click("FormatDonnee", "Check1"),
         RuntimeError::PermissionDenied});
    row("FormatDonnee: decimals, settings not written",
        {"Mnu_Format", "FormatDonnee", choose("FormatDonnee"), RuntimeError::PermissionDenied});
    row("Form6: printer choice, settings not written",
        {"print", "Form6", choose("Form6"), RuntimeError::PermissionDenied});
    row("frmAide: a web link, no browser",
        {"help", "frmAide",
         [](ProgramFixture& f) {
             shellFails(f);
             emit f.topLevel(QStringLiteral("frmAide"))
                 ->findChild<QTextBrowser*>()
                 ->anchorClicked(QUrl(QStringLiteral("https://www.example.org/")));
         },
         RuntimeError::FileNotFound});
    row("Form4: the site link, no browser",
        {"apropos", "Form4",
         [](ProgramFixture& f) {
             shellFails(f);
             QTest::mouseClick(child<QLabel>(f.topLevel(QStringLiteral("Form4")), "Label3"),
                               Qt::LeftButton);
         },
         RuntimeError::FileNotFound});
}

void TestForm1::errorsEndTheCommand() {
    QFETCH(Fault, c);
    ProgramFixture f({{0, 0, 1, "A"}, {1000, 500, 2, "B"}, {400, 300, 3, "C"}});
    const QStringList points = PointsAsText(f.state);
    const QStringList rows = gridColumn(f.state, 0);
    f.window.menuItem(c.opens)->trigger();
    QVERIFY(f.topLevel(c.window));
    f.boxes.clear();
    f.boxes.setThrowOnUnexpected(false);
    c.act(f);
    QCOMPARE(shownBoxes(f.boxes),
             QStringList{QStringLiteral("Tovalin: ") + RuntimeError(c.error).reportText() +
                         QStringLiteral(" [critical ok]")});
    QVERIFY(f.window.isVisible() && f.window.menuBar()->isEnabled());
    QVERIFY(f.topLevel(c.window));
    QCOMPARE(PointsAsText(f.state), points);
    QCOMPARE(gridColumn(f.state, 0), rows);
}

TOVALIN_TEST(TestForm1)
#include "tst_Form1.moc"
