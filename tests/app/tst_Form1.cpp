#include "ProgramFixture.h"
#include "TestRunner.h"

#include "app/CommandLine.h"
#include "app/frmImport.h"
#include "info/InfoWindows.h"
#include "platform/RuntimeError.h"
#include "state/Startup.h"
#include "viewer/Zone.h"

#include <QFile>
#include <QHeaderView>
#include <QSpinBox>
#include <QStyle>
#include <QStyleOptionButton>
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

// The platform's report of a run-time error as shownBoxes gives it; none for 0.
QStringList reported(int error) {
    if (error == 0)
        return {};
    return {QStringLiteral("Tovalin: ") + RuntimeError(error).reportText() +
            QStringLiteral(" [critical ok]")};
}

const QString defaults = QStringLiteral(
    "Separateur_Lec=, & Separateur_Ecr=, & Separateur_Autre_Lec= & Separateur_Autre_Ecr= & "
    "Calque_Point=0 & Calque_Matricule=0 & Calque_Z=0 & Num_Premier_Pt=0 & Inc_Num=0 & "
    "Num_Pt_Dxf=1 & Dxf_Format=MS & Fich_Dim=2D & NbDec=0.000 & SepSys=0");

struct Start {
    QByteArray ini;
    int error;
    QString changed; // the settings in memory that differ from the defaults
    QString shown;   // 1234.5 as the list shows it; "": start-up stopped before the list
    QString addresses;
    QString box = {};
    QByteArray mail = mailFile; // "-": no mail settings file
};

// The files the open rows pick from; "drawing" and "plan.DXF" are DXF files.
const QByteArray dxfPoint =
    "0\r\nSECTION\r\n2\r\nENTITIES\r\n0\r\nPOINT\r\n8\r\n0\r\n10\r\n1.25\r\n"
    "20\r\n2\r\n30\r\n3\r\n0\r\nENDSEC\r\n0\r\nEOF\r\n";
const QMap<QString, QByteArray> files{{"survey.2024.xyz", "A,1,2,3\r\nB,4,5,6\r\nC,7,8,9\r\n"},
                                      {"n.xyz", "1,2\r\n3,4\r\n"},
                                      {"points.dxf", "P,5,6,7\r\n"},
                                      {"drawing", dxfPoint},
                                      {"plan.DXF", dxfPoint}};

struct Open {
    // One command a step: "[Y|N|C] file index" chooses "Ouvrir", the question
    // answered first ("-" for a cancelled dialog); "file" alone is named on
    // the command line.
    QStringList steps;
    QString names;
    int fixedRows;
    int label;
    QString base;
    int error = 0; // the run-time error the last step reports
    bool numbering = false;
};

// Carries out the steps of an open row; returns the boxes they should show
// and sets `opened` to the last file read.
QStringList openSteps(WindowFixture& f, const QStringList& steps, QString& opened) {
    QStringList asked;
    for (const QString& step : steps) {
        QStringList words = step.split(u' ');
        if (words[0].size() == 1 && words[0] != u"-") {
            f.boxes.answerMessage(MsgAnswer(QStringLiteral("OYNC").indexOf(words.takeFirst())));
            asked << QStringLiteral("Ajout de fichier: Voulez vous ajouter le fichier à ouvrir ? "
                                    "[none yesnocancel]");
        }
        const QString path = f.dir.filePath(words.value(0));
        if (files.contains(words.value(0))) {
            writeBytes(path, files.value(words[0]));
            opened = path;
        }
        if (words.size() == 1) {
            f.window.OpenFiles({path});
            continue;
        }
        if (words.size() == 2 && words[0] == u"-")
            f.files.cancel();
        else if (words.size() == 2)
            f.files.choose(path, words[1].toInt());
        f.trigger("open");
    }
    return asked;
}

// A window opened from the main menu, and what the user does in it while
// the settings cannot be written and no browser answers.
struct Fault {
    QString opens;  // the menu item, then a button of the window it opens
    QString window; // its name
    std::function<void(ProgramFixture&, QWidget*)> act = {};
    int error = 0; // the run-time error that ends the command
};

// The view's middle, clicked in the current mode until a box shows (the
// coordinates overflow after some 160 "Zoom -" clicks).
void clickViewUntilBox(ProgramFixture& f, QWidget* view, const char* mode) {
    view->findChild<QAction*>(QStringLiteral("MnuRecentrer"))->trigger(); // drawn once
    view->findChild<QAction*>(QString::fromLatin1(mode))->trigger();
    auto* zone = view->findChild<Zone*>();
    for (int i = 0; i < 400 && f.boxes.boxes().empty(); ++i)
        QTest::mouseClick(zone, Qt::LeftButton, {}, zone->rect().center());
}

// The room a caption needs beyond its text in a push button: the style's
// margin and frame on both sides. The size hint would also count the
// style's least button width, which a narrow "Ok" does not need.
int buttonRoom(const QPushButton* button) {
    QStyleOptionButton option;
    option.initFrom(button);
    const QStyle* style = button->style();
    return 2 * (style->pixelMetric(QStyle::PM_ButtonMargin, &option, button) / 2 +
                style->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, button));
}

// Every visible caption of the window whose text does not fit its widget,
// as "name \"text\" needs W x H, has w x h".
QStringList cutCaptions(QWidget* window) {
    QStringList cut;
    auto check = [&](const QWidget* widget, const QString& text, QSize needed) {
        if (text.isEmpty() || !widget->isVisibleTo(window))
            return;
        if (needed.width() > widget->width() || needed.height() > widget->height())
            cut << QStringLiteral("%1 \"%2\" needs %3 x %4, has %5 x %6")
                       .arg(widget->objectName(), text)
                       .arg(needed.width())
                       .arg(needed.height())
                       .arg(widget->width())
                       .arg(widget->height());
    };
    for (const QLabel* label : window->findChildren<QLabel*>()) {
        if (label->pixmap().isNull())
            check(label, label->text(),
                  label->wordWrap() ? QSize(label->minimumSizeHint().width(),
                                            label->heightForWidth(label->width()))
                                    : label->sizeHint());
    }
    for (const QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
        const QFontMetrics metrics(button->font());
        if (auto* push = qobject_cast<const QPushButton*>(button))
            check(button, button->text(),
                  QSize(metrics.horizontalAdvance(button->text()) + buttonRoom(push),
                        metrics.height()));
        else
            check(button, button->text(), button->sizeHint());
    }
    for (const QGroupBox* frame : window->findChildren<QGroupBox*>()) {
        const QFontMetrics metrics(frame->font());
        // The title stands inside the frame's border, a few pixels in.
        check(frame, frame->title(),
              QSize(metrics.horizontalAdvance(frame->title()) + 16, metrics.height()));
    }
    return cut;
}

struct Import {
    QString files;    // in tests/data/import, shown in turn
    QString steps;    // " / " between: "CONTROL KEYS" typed into a control, "Ok [Y|N|C]", "Annuler"
    bool listed;      // a point A is listed before
    QString count;    // lines giving a point and lines left aside, as the last window counts them
    QString rejected; // the rows it lists as left aside
    QString points;   // the store at the end
    bool stillOpen = false;
    QString boxes = {}; // error reports shown
};

} // namespace
Q_DECLARE_METATYPE(Import)
Q_DECLARE_METATYPE(Start)
Q_DECLARE_METATYPE(Open)
Q_DECLARE_METATYPE(Fault)

class TestForm1 : public QObject {
    Q_OBJECT
private slots:
    void init() { QFile::remove(iniPath()); }

    void startUp_data() {
        Rows<Start> row;
        row("first run", {"", 0, "", "1234,500", "site|mail"});
        // Absent keys keep their defaults; NbDec and SepSys drive the list's format.
        row("hand written",
            {"[Param\xc3\xa8tre]\nSeparateur_Lec=;\nCalque_Point=POINTS\nInc_Num=1\n"
             "Num_Premier_Pt=100\nFich_Dim=3D\n[App]\nNbDec=0.00\nSepSys=1\n",
             0,
             "Separateur_Lec=; & Calque_Point=POINTS & Num_Premier_Pt=100 & Inc_Num=1 & "
             "Fich_Dim=3D & "
             "NbDec=0.00 & SepSys=1",
             "1\u202f234,50", "site|mail"});
        // SepSys is read strictly, as the locale-aware conversion to a 16-bit
        // integer (half to even): one that is no number stops start-up before the
        // list and the mail file. Only a SepSys of 1 groups.
        row("SepSys text", {"[App]\nSepSys=oui\n", 13, "", "", "|"});
        row("SepSys 1,5", {"[App]\nSepSys=1,5\n", 0, "SepSys=2", "1234,500", "site|mail"});
        row("SepSys beyond 16 bits", {"[App]\nSepSys=40000\n", 6, "", "", "|"});
        // A value in quotes keeps its blanks, and the writers compare it as it is.
        row("Fich_Dim with blanks", {"[Param\xc3\xa8tre]\nFich_Dim=\" 2D \"\n", 0, "Fich_Dim= 2D ",
                                     "1234,500", "site|mail"});
        row("no mail file",
            {"", 0, "", "1234,500", "|",
             "Tovalin: Une erreur c'est produite\r\nVous devez réinstaller Tovalin [critical ok]",
             "-"});
        row("short mail file",
            {"", 62, "", "1234,500", "site|", "", "1\r\n2\r\n3\r\n4\r\n5\r\n6\r\nsite\r\n"});
    }
    void startUp() {
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
        ScriptedFileDialog files;
        GestionDonnee state;
        state.DataModified = true;
        Form1 window{state, Services{boxes, boxes, files, store}};
        window.LoadMainWindow(dir.path());
        QCOMPARE(shownBoxes(boxes), items(c.box) + reported(c.error));
        const bool started = !c.shown.isEmpty();
        if (started) {
            QStringList settings = items(defaults);
            for (const QString& changed : items(c.changed))
                for (QString& setting : settings)
                    if (setting.section(u'=', 0, 0) == changed.section(u'=', 0, 0))
                        setting = changed;
            QCOMPARE(memorySettings(state.Settings), settings);
            QCOMPARE(state.FormatCoordinate(1234.5), c.shown);
            // 1000, 1500, 1500 and 1100 twips at 96 dots per inch.
            const QTableView* grid = window.grid();
            QCOMPARE(QList<int>({grid->columnWidth(0), grid->columnWidth(1), grid->columnWidth(2),
                                 grid->columnWidth(3)}),
                     QList<int>({67, 100, 100, 73}));
        }
        QCOMPARE(gridRow(state, 0), started ? items("Matricule & X & Y & Z") : QStringList(4, ""));
        QCOMPARE(state.DataModified, !started);
        QCOMPARE(state.WebSiteAddress + u'|' + state.SupportAddress, c.addresses);
        // The program's folder is written at every start, and nothing else.
        IniSettingsStore reread;
        QCOMPARE(reread.value(sections::app(), QStringLiteral("Path"), QString()),
                 started ? dir.path() : QString());
        QCOMPARE(reread.value(sections::parametre(), "Separateur_Ecr", "-"), QStringLiteral("-"));
        QCOMPARE(
            describe(window.menuBar()),
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
        QCOMPARE(window.windowTitle(), QStringLiteral("Editeur de fichier XYZ et DXF"));
    }

    void open_data() {
        Rows<Open> row;
        // The label shows one less than the points read, as it always did; read
        // into an empty list (no question), the header row scrolls with the
        // points. Cancel then changes nothing.
        row("cancel changes nothing", {{"survey.2024.xyz 1", "C"}, "A & B & C", 0, 2, "survey"});
        // Yes adds; not adding empties only the list: the store keeps every
        // point, and numbering starts again.
        row("numbering restarts when not adding", {{"n.xyz 1", "Y n.xyz 1", "N n.xyz 1"},
                                                   "10 & 10 & 11 & 12 & 10 & 10",
                                                   0,
                                                   5,
                                                   "n",
                                                   0,
                                                   true});
        // The filter chooses the reader, whatever the name; a name without a dot
        // has no base name.
        row("DXF filter", {{"drawing 2"}, "1", 0, 0, ""});
        row("XYZ filter", {{"points.dxf 1"}, "P", 0, 0, "points"});
        // Named on the command line, the name chooses: DXF for ".dxf" in any case.
        row("by name", {{"survey.2024.xyz", "plan.DXF"}, "A & B & C & 1", 1, 3, "plan"});
        // A file that cannot be read is reported and the window is usable again;
        // a cancelled dialog's empty name is such a file.
        row("by name, missing",
            {{"survey.2024.xyz", "missing.xyz"}, "A & B & C", 0, 2, "survey", 53});
        row("cancelled dialog", {{"survey.2024.xyz 1", "Y - 1"}, "A & B & C", 0, 2, "survey", 75});
    }
    void open() {
        QFETCH(Open, c);
        RegionalFormatScope scope(frenchFormat());
        WindowFixture f;
        if (c.numbering) {
            f.state.Settings.Inc_Num = QStringLiteral("1");
            f.state.Settings.Num_Premier_Pt = QStringLiteral("10");
        }
        QString opened;
        const QStringList asked = openSteps(f, c.steps, opened);
        QCOMPARE(shownBoxes(f.boxes), asked + reported(c.error));
        QCOMPARE(f.files.unusedAnswers(), 0u);
        for (const auto& shown : f.files.shown())
            QCOMPARE(shown.filter, QStringLiteral("Fichier de points XYZ [*.*]|*.*|"
                                                  "Fichier d'échange DXF [*.dxf]|*.dxf"));
        QCOMPARE(f.window.windowTitle(), c.error != 0
                                             ? QStringLiteral("Chargement en cours...")
                                             : QStringLiteral("Editeur de fichiers XYZ et DXF"));
        QCOMPARE(gridColumn(f.state, 0), items(c.names));
        QCOMPARE(f.state.Grid.fixedRows(), c.fixedRows);
        QCOMPARE(f.window.grid()->horizontalHeader()->isHidden(), c.fixedRows == 0);
        QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points : %1").arg(c.label));
        QCOMPARE(f.state.CurrentFileName, opened);
        QCOMPARE(f.state.CurrentBaseName, c.base);
        QCOMPARE(f.state.DataModified, false);
        QVERIFY(f.window.menuBar()->isEnabled());
    }

    void save_data() {
        QTest::addColumn<int>("filterIndex"); // 0: nothing listed
        QTest::addColumn<QString>("height");
        QTest::addColumn<QByteArray>("written");
        // With only the header row, saving shows nothing: a dialog would fail the test.
        QTest::newRow("nothing listed") << 0 << "" << QByteArray();
        // The store still has the point removed from the list.
        QTest::newRow("XYZ, deleted row still saved")
            << 1 << ""
            << QByteArray("A,1.000,2.000,3.000\r\nB,4.000,5.000,6.000\r\nC,7.000,8.000,9.000\r\n");
        // A zero height writes nothing, yet the save still counts.
        QTest::newRow("DXF, height 0") << 2 << "0" << QByteArray();
    }
    void save() {
        QFETCH(int, filterIndex);
        QFETCH(QString, height);
        QFETCH(QByteArray, written);
        RegionalFormatScope scope(englishFormat());
        WindowFixture f;
        f.state.Settings.Fich_Dim = QStringLiteral("3D");
        const QString target = f.dir.filePath(QStringLiteral("out.file"));
        if (filterIndex > 0) {
            QString opened;
            openSteps(f, {"survey.2024.xyz 1"}, opened);
            f.state.Grid.removeItem(2);
            f.files.choose(target, filterIndex);
        }
        if (!height.isEmpty())
            f.boxes.answerInput(height);
        f.trigger("save");

        QCOMPARE(f.files.shown().size(), filterIndex > 0 ? 2u : 0u);
        if (filterIndex > 0) {
            const auto& shown = f.files.shown().back();
            QVERIFY(shown.save);
            QCOMPARE(shown.initialName, QStringLiteral("survey"));
            QCOMPARE(shown.filter, QStringLiteral("Fichier de points XYZ [*.xyz]|*.xyz|"
                                                  "Fichier d'échange DXF [*.dxf]|*.dxf"));
        }
        QCOMPARE(QFile::exists(target), !written.isEmpty());
        QCOMPARE(readBytes(target), written);
        QCOMPARE(f.state.DataModified, filterIndex > 0);
        QCOMPARE(f.state.CurrentFileName, filterIndex > 0 ? target : QString());
        QCOMPARE(f.boxes.unusedAnswers(), 0u);
    }

    void quit_data() {
        QTest::addColumn<bool>("modified");
        QTest::addColumn<int>("answer");     // -1: nothing asked
        QTest::addColumn<QString>("during"); // the work going on when the close comes
        QTest::newRow("unchanged: nothing asked") << false << -1 << "";
        QTest::newRow("yes saves") << true << int(MsgAnswer::Yes) << "";
        QTest::newRow("cancel still closes") << true << int(MsgAnswer::Cancel) << "";
        QTest::newRow("while printing: once printed") << true << int(MsgAnswer::No) << "print";
        QTest::newRow("while the view loads: once loaded") << true << int(MsgAnswer::No) << "view";
    }
    void quit() {
        QFETCH(bool, modified);
        QFETCH(int, answer);
        QFETCH(QString, during);
        std::vector<PointRecord> points{{1, 2, 3, "A"}};
        // Enough points for the work to let events in while it goes on.
        for (int i = 0; !during.isEmpty() && i < 1000000; ++i)
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

    // Every window: each caption fits at the default font, none cut off ("\um :"
    // for "Num : "); an error that nothing traps, forced inside one of its
    // commands or mouse handlers, ends that command with the report, and the
    // program, the window and the points go on as they were.
    void windows_data() {
        Rows<Fault> row;
        const auto click = [](const char* name) {
            return [=](ProgramFixture&, QWidget* window) {
                child<QAbstractButton>(window, name)->click();
            };
        };
        const auto choose = [](ProgramFixture&, QWidget* window) {
            emit child<QComboBox>(window, "Combo1")->activated(0);
        };
        row("Form1", {"", "Form1"});
        row("frmIntro", {"", "frmIntro"});
        row("Form3 enter", {"ent_pt", "Form3"});
        row("Form3 modify", {"mod_pt", "Form3"});
        row("Form3 search", {"rech", "Form3"});
        row("Form5", {"MnuImmatriculation", "Form5"});
        row("frmHistorique", {"apropos Command2", "frmHistorique"});
        row("frmMail", {"EnvMail", "frmMail"});
        row("view: Zoom - clicks overflow",
            {"view", "frmVisualisation",
             [](ProgramFixture& f, QWidget* view) { clickViewUntilBox(f, view, "MnuZoomm"); },
             RuntimeError::Overflow});
        row("Form2: Ok", {"para", "Form2", click("Command1"), RuntimeError::PermissionDenied});
        row("FormatDonnee: separator box",
            {"Mnu_Format", "FormatDonnee", click("Check1"), RuntimeError::PermissionDenied});
        row("FormatDonnee: decimals",
            {"Mnu_Format", "FormatDonnee", choose, RuntimeError::PermissionDenied});
        row("Form6: printer choice", {"print", "Form6", choose, RuntimeError::PermissionDenied});
        row("frmAide: a web link", {"help", "frmAide",
                                    [](ProgramFixture&, QWidget* help) {
                                        emit help->findChild<QTextBrowser*>()->anchorClicked(
                                            QUrl(QStringLiteral("https://www.example.org/")));
                                    },
                                    RuntimeError::FileNotFound});
        row("Form4: the site link", {"apropos", "Form4",
                                     [](ProgramFixture&, QWidget* about) {
                                         QTest::mouseClick(child<QLabel>(about, "Label3"),
                                                           Qt::LeftButton);
                                     },
                                     RuntimeError::FileNotFound});
    }
    void windows() {
        QFETCH(Fault, c);
        ProgramFixture f({{1234.5, 6862104.512, 152.3, "A1"}, {0, 0, 1, "A"}, {1000, 500, 2, "B"}});
        frmIntro splash([] {});
        splash.show();
        const QStringList points = PointsAsText(f.state);
        const QStringList rows = gridColumn(f.state, 0);
        const QStringList opens = c.opens.split(u' ', Qt::SkipEmptyParts);
        if (!opens.isEmpty())
            f.window.menuItem(opens[0])->trigger();
        if (opens.size() > 1)
            child<QPushButton>(f.topLevel(QStringLiteral("Form4")), qPrintable(opens[1]))->click();
        QWidget* window = f.topLevel(c.window);
        QVERIFY(window);
        const QStringList cut = cutCaptions(window);
        QVERIFY2(cut.isEmpty(), qPrintable(cut.join(u'\n')));

        f.boxes.clear();
        f.settings.onWrite = [] { throw RuntimeError(RuntimeError::PermissionDenied); };
        f.shell.onOpen = [] { throw RuntimeError(RuntimeError::FileNotFound); };
        if (c.act) {
            c.act(f, window);
            QVERIFY(f.window.menuBar()->isEnabled());
        }
        QCOMPARE(shownBoxes(f.boxes), reported(c.error));
        QVERIFY(f.window.isVisible() && f.topLevel(c.window));
        QCOMPARE(PointsAsText(f.state), points);
        QCOMPARE(gridColumn(f.state, 0), rows);
    }

    // What the started program does with its arguments, "|" between files:
    // opened, then imported, or the usage error; "help" when the arguments are
    // answered before any window.
    void filesNamed_data() {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("files") << QStringList{"a.xyz", "b.dxf", "-"} << "a.xyz|b.dxf|- ; ";
        QTest::newRow("import") << QStringList{"a.xyz", "--import", "r.csv", "s.txt"}
                                << "a.xyz ; r.csv|s.txt";
        QTest::newRow("-- ends options")
            << QStringList{"--", "-a.xyz", "--import", "--help"} << "-a.xyz|--import|--help ; ";
        QTest::newRow("import, then --") << QStringList{"--import", "--", "-r.csv"} << " ; -r.csv";
        QTest::newRow("unknown option") << QStringList{"a.xyz", "-a.xyz"} << "error -a.xyz";
        QTest::newRow("help") << QStringList{"a.xyz", "--help", "--", "b"} << "help";
    }
    void filesNamed() {
        QFETCH(QStringList, args);
        QFETCH(QString, outcome);
        std::vector<QByteArray> bytes{"tovalin"};
        for (const QString& arg : args)
            bytes.push_back(arg.toUtf8());
        std::vector<const char*> argv;
        for (const QByteArray& arg : bytes)
            argv.push_back(arg.constData());
        std::FILE* out = std::tmpfile();
        const bool answered = AnswerWithoutWindow(int(argv.size()), argv.data(), out).has_value();
        std::fclose(out);
        const ProgramFiles files = ParseProgramArguments(args);
        QString got = answered
                          ? QStringLiteral("help")
                          : files.open.join(u'|') + QStringLiteral(" ; ") + files.import.join(u'|');
        if (!answered && !files.error.isEmpty()) {
            QVERIFY2(
                files.error.contains(QStringLiteral("option inconnue « %1 »").arg(args.last())),
                qPrintable(files.error));
            got = QStringLiteral("error ") + args.last();
        }
        QCOMPARE(got, outcome);
    }

    // The import window driven as a user would, over the sample files of other
    // programs: the layout it finds, the user's corrections, and "Ok" adding the
    // points as "Ouvrir" does.
    void importWindow_data() {
        const QString codigo =
            QStringLiteral("P1|350123.456|4650123.789|512.3 & P2|350130.001|4650130.002|513.04");
        Rows<Import> row;
        // A role given to a column leaves the column that had it.
        row("user swaps X and Y",
            {"header-codigo.csv", "Role1 Y / Role2 X / Ok", false, "2 0", "",
             "P1|4650123.789|350123.456|512.3 & P2|4650130.002|350130.001|513.04"});
        row("user skips a data line", {"header-codigo.csv", "Spin1 2 / Ok", false, "1 0", "",
                                       "P2|350130.001|4650130.002|513.04"});
        row("Annuler", {"header-codigo.csv", "Annuler", false, "2 0", "", ""});
        // Every change counts the whole file again; the rows left aside are listed.
        row("decimal point forced on a comma file",
            {"decimal-comma.csv", "Combo2 P", false, "0 2",
             "Ligne 1 : X n'est pas un nombre : « 1234,567 » / "
             "Ligne 2 : X n'est pas un nombre : « 1235,5 »",
             "", true});
        // The open command's question, with its answers.
        row("listed points, Cancel keeps the window",
            {"header-codigo.csv", "Ok C", true, "2 0", "", "A|1|2|3", true});
        // One window after the other; an unreadable file is reported and passed
        // over. The header's names give the roles; the code and description are
        // left aside.
        row("two files in turn",
            {"header-codigo.csv point-northing-easting.csv", "Ok / Ok Y", false, "2 0", "",
             codigo + " & 1000|3000.5|5000.125|250.25 & 1001|3010.25|5010.875|251.5"});
        row("unreadable file",
            {"missing.csv header-codigo.csv", "Ok", false, "2 0", "", codigo, false,
             "Tovalin: Erreur d'exécution '53' :\n\nFichier introuvable [critical ok]"});
    }
    void importWindow() {
        QFETCH(Import, c);
        RegionalFormatScope scope(frenchFormat());
        WindowFixture f(c.listed ? std::vector<PointRecord>{{1, 2, 3, QStringLiteral("A")}}
                                 : std::vector<PointRecord>{});
        f.window.show();
        QStringList fileNames;
        for (const QString& name : c.files.split(u' '))
            fileNames << QStringLiteral(TOVALIN_TEST_DATA "/import/") + name;
        if (!c.boxes.isEmpty())
            f.boxes.answerMessage(MsgAnswer::Ok);
        ShowImportWindows(f.window, fileNames);
        QPointer<QDialog> window = child<QDialog>(&f.window, "frmImport");
        QVERIFY(window);
        QCOMPARE(window->windowTitle(), QStringLiteral("Importer un relevé"));

        // What the window shows before its buttons are pressed.
        QString count, rejected;
        auto look = [&] {
            count = child<QLabel>(window, "Label1")->text();
            const auto* list = child<QListWidget>(window, "List1");
            QStringList rows;
            for (int i = 0; i < list->count(); ++i)
                rows << list->item(i)->text();
            rejected = rows.join(QStringLiteral(" / "));
        };
        const QStringList steps = c.steps.split(QStringLiteral(" / "));
        for (const QString& step : steps) {
            QVERIFY2(window, qPrintable(step));
            const QStringList words = step.split(u' ');
            if (words[0] == u"Ok" || words[0] == u"Annuler") {
                look();
                if (words.size() > 1)
                    f.boxes.answerMessage(MsgAnswer(QStringLiteral("OYNC").indexOf(words[1])));
                QTest::mouseClick(
                    child<QPushButton>(window, words[0] == u"Ok" ? "Command1" : "Command2"),
                    Qt::LeftButton);
            } else if (auto* spin = child<QSpinBox>(window, qPrintable(words[0]))) {
                spin->setFocus();
                QTest::keyClick(spin, Qt::Key_A, Qt::ControlModifier);
                QTest::keyClicks(spin, words[1]);
                QTest::keyClick(spin, Qt::Key_Return);
            } else {
                // A closed combo box chooses the entry whose text starts with what is typed.
                auto* combo = child<QComboBox>(window, qPrintable(words[0]));
                QVERIFY2(combo, qPrintable(step));
                QTest::keyClicks(combo, words[1]);
            }
            QCoreApplication::processEvents();
            // A closed window makes way for the next file's.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            if (!window)
                window = child<QDialog>(&f.window, "frmImport");
        }
        if (window)
            look();
        const QStringList counted = c.count.split(u' ');
        QCOMPARE(count, QStringLiteral("Lignes donnant un point : %1    Lignes écartées : %2")
                            .arg(counted[0], counted[1]));
        QCOMPARE(rejected, c.rejected);
        QCOMPARE(!window.isNull(), c.stillOpen);

        QCOMPARE(PointsAsText(f.state).join(QStringLiteral(" & ")), c.points);
        QCOMPARE(gridColumn(f.state, 0), storedNames(f.state));
        const bool added = !c.stillOpen && steps.last().startsWith(u"Ok");
        QCOMPARE(f.state.CurrentFileName, added ? fileNames.last() : QString());
        QCOMPARE(
            shownBoxes(f.boxes).filter(QStringLiteral("Tovalin: ")).join(QStringLiteral(" / ")),
            c.boxes);
        QCOMPARE(f.boxes.unusedAnswers(), 0u);
        QCOMPARE(f.boxes.unexpectedBoxes(), 0);
    }
};

TOVALIN_TEST(TestForm1)
#include "tst_Form1.moc"
