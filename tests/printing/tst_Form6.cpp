#include "PrivateCups.h"
#include "TestRunner.h"
#include "WindowFixture.h"

#include "platform/NumberText.h"
#include "platform/PdfTextDocument.h"
#include "platform/Printer.h"
#include "printing/Form6.h"
#include "printing/Listing.h"
#include "printing/PrintingCommands.h"

using namespace testing;
using namespace platform;

namespace {

const QString errorBox = QStringLiteral(
    "Erreur: Une erreur est survenu lors de l'impression. Retenter une impression. [critical ok]");
const QString invalidCall = QStringLiteral(
    "Tovalin: Erreur d'ex\u00E9cution '5' :\n\nArgument ou appel de proc\u00E9dure incorrect "
    "[critical ok]");

std::vector<InstalledPrinter> threePrinters() {
    return {{QStringLiteral("Bureau"), QStringLiteral("HP LaserJet 4"), QStringLiteral("LPT1:"),
             OrientationPortrait},
            {QStringLiteral("Plans"), QStringLiteral("Generic PDF"),
             QStringLiteral("file:///tmp/plans.pdf"), OrientationLandscape},
            {QStringLiteral("Atelier"), QStringLiteral("Epson 24"), QStringLiteral("usb://E/1"),
             OrientationPortrait}};
}

std::vector<PointRecord> pointsOf(int count) {
    std::vector<PointRecord> points;
    for (int i = 1; i <= count; ++i)
        points.push_back({100.0 * i, 200.0 * i, 1.5, QStringLiteral("P") + QChar(u'0' + i)});
    return points;
}

// The main window with points, the printing command wired to a scripted
// printer whose current queue is the first.
struct PrintFixture : WindowFixture {
    ScriptedPrinter printer;

    explicit PrintFixture(int points) : WindowFixture(pointsOf(points)) {
        printer.installed = threePrinters();
        printer.current = QStringLiteral("Bureau");
        state.CurrentFileName = QStringLiteral("/terrain/jour1.xyz");
        InstallPrintingCommands(window, printer);
    }
    Form6* dialog() const { return window.findChild<Form6*>(QStringLiteral("Form6")); }
    template <typename T> T* control(const char* name) const { return child<T>(dialog(), name); }

    // One step: "open" (the menu item), "choose N" (a queue picked in the
    // list), "click CommandN", "fail N" (the printer fails at line N, 0 for
    // never; "end": when the document is handed over), "no printer", "no port N" (queue N has an
    // empty port), "restore" (the three queues back).
    void act(const QString& step) {
        const auto n = [&] { return CInt(step.section(u' ', -1)); };
        if (step == u"open") {
            trigger("print");
        } else if ((step.startsWith(u"choose") || step.startsWith(u"click")) && !dialog()) {
            QFAIL(qPrintable(step + QStringLiteral(": no dialog")));
        } else if (step.startsWith(u"choose")) {
            control<QComboBox>("Combo1")->setCurrentIndex(n());
            emit control<QComboBox>("Combo1")->activated(n());
        } else if (step.startsWith(u"click")) {
            control<QPushButton>(qPrintable(step.section(u' ', 1)))->click();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        } else if (step.startsWith(u"fail")) {
            printer.failAtEnd = step == u"fail end";
            printer.failAtLine = printer.failAtEnd ? 0 : n();
        } else if (step == u"no printer") {
            printer.installed.clear();
        } else if (step.startsWith(u"no port")) {
            printer.installed[std::size_t(n())].Port.clear();
        } else if (step == u"restore") {
            printer.installed = threePrinters();
        } else {
            QFAIL(qPrintable(step));
        }
    }
    // What the user sees: the dialog's queue, driver, port and orientation
    // (or "closed"), the queue saved and in use, the documents printed (their
    // line count and file line), those cancelled, the boxes shown.
    QString seen() const {
        QString out;
        if (Form6* d = dialog()) {
            const QString orientation = control<QRadioButton>("Option2")->isChecked()   ? "Paysage"
                                        : control<QRadioButton>("Option1")->isChecked() ? "Portrait"
                                                                                        : "none";
            out = control<QComboBox>("Combo1")->currentText() + u'|' +
                  control<QLabel>("Label2")->text() + u'|' + control<QLabel>("Label3")->text() +
                  u'|' + orientation + (d->isEnabled() ? "" : " disabled");
        } else {
            out = QStringLiteral("closed");
        }
        out += QStringLiteral(" saved=") +
               settings.values.value(QStringLiteral("Divers/NomImp"), QStringLiteral("-")) +
               QStringLiteral(" current=") + printer.current;
        for (const QStringList& lines : printer.ended)
            out += QStringLiteral(" printed=%1:%2").arg(lines.size()).arg(lines.value(3));
        if (printer.killed > 0)
            out += QStringLiteral(" killed=%1").arg(printer.killed);
        for (const QString& box : shownBoxes(boxes))
            out += QStringLiteral(" box=") + box;
        return out;
    }
};

struct Run {
    int points;
    QString stored; // "Section/NomImp=name", or nothing
    QString steps;  // " & " between steps
    QString seen;
};

const char* bureau = "Bureau|Pilote utilis\u00E9 : HP LaserJet 4|Port utilis\u00E9 : LPT1|none";

struct Print {
    QLocale format;
    QDateTime now;
    QString dateLine;
};

struct Pages {
    int count;         // lines "Ligne 1" to "Ligne <count>"
    QStringList extra; // then these
};

} // namespace
Q_DECLARE_METATYPE(Run)
Q_DECLARE_METATYPE(Print)
Q_DECLARE_METATYPE(Pages)

class tst_Form6 : public QObject {
    Q_OBJECT
private slots:
    void init() { QLocale::setDefault(frenchFormat()); }

    // Every control, in its order on the form, with its caption; the printer
    // table is there but never shown.
    void controls() {
        PrintFixture f(2);
        f.trigger("print");
        Form6* dialog = f.dialog();
        QVERIFY(dialog != nullptr);
        QVERIFY(dialog->isVisible() && !dialog->isModal());
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Impression"));
        QStringList shown;
        for (QWidget* widget : dialog->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            QString caption;
            if (auto* button = qobject_cast<QAbstractButton*>(widget))
                caption = button->text();
            else if (auto* box = qobject_cast<QGroupBox*>(widget))
                caption = box->title();
            else if (auto* label = qobject_cast<QLabel*>(widget))
                caption = label->pixmap().isNull() ? label->text() : QStringLiteral("picture");
            shown << widget->objectName() + u'=' + caption;
        }
        QCOMPARE(shown, QStringList({"Command2=Annuler", "Command1=Imprimer", "Frame1=Orientation",
                                     "List1=", "Combo1=", "Label3=Port utilis\u00E9 : LPT1",
                                     "Label2=Pilote utilis\u00E9 : HP LaserJet 4",
                                     "Label1=Imprimante : ", "Image1=picture"}));
        QCOMPARE(f.control<QRadioButton>("Option2")->text(), QStringLiteral("Paysage"));
        QCOMPARE(f.control<QRadioButton>("Option1")->text(), QStringLiteral("Portrait"));
        QCOMPARE(f.control<QRadioButton>("Option1")->parent(), f.control<QGroupBox>("Frame1"));
        QVERIFY(!f.control<QListWidget>("List1")->isVisible());
    }

    void run_data() {
        Rows<Run> row;
        const QString plans = "Plans|Pilote utilis\u00E9 : Generic PDF|Port utilis\u00E9 : "
                              "file:///tmp/plans.pd|Paysage";
        const QString atelier = "Atelier|Pilote utilis\u00E9 : Epson 24|Port utilis\u00E9 : "
                                "usb://E/|Portrait";
        const QString printed = " printed=7:Fichier : /terrain/jour1.xyz";
        // Opening shows the queue remembered under "Paramètre", else the
        // first; it saves nothing and leaves the printer in use alone.
        row("nothing remembered", {2, "", "open", bureau + QString(" saved=- current=Bureau")});
        row("remembered under Paramètre",
            {2, "Param\u00E8tre/NomImp=Atelier", "open",
             "Atelier|Pilote utilis\u00E9 : Epson 24|Port utilis\u00E9 "
             ": usb://E/|none saved=- current=Bureau"});
        row("names match exactly", {2, "Param\u00E8tre/NomImp=atelier", "open",
                                    bureau + QString(" saved=- current=Bureau")});
        // Choosing shows the queue and its orientation, saves it under
        // "Divers" and makes it the printer in use, which it stays; the next
        // opening still shows the first.
        row("landscape queue chosen",
            {2, "", "open & choose 1", plans + " saved=Plans current=Plans"});
        row("portrait queue chosen",
            {2, "", "open & choose 2", atelier + " saved=Atelier current=Atelier"});
        row("chosen, closed, opened", {2, "", "open & choose 1 & click Command2 & open",
                                       bureau + QString(" saved=Plans current=Plans")});
        // An error cancels the document and keeps the dialog for another try,
        // which prints it whole and closes the dialog.
        row("error on a line, then printed",
            {3, "", "fail 3 & open & click Command1 & fail 0 & click Command1",
             "closed saved=- current=Bureau" + printed + " killed=1 box=" + errorBox});
        row("error when handed over, then printed",
            {3, "", "fail end & open & click Command1 & fail 0 & click Command1",
             "closed saved=- current=Bureau" + printed + " killed=1 box=" + errorBox});
        // An empty list: nothing at all, not even a message.
        row("empty list", {0, "", "open", "closed saved=- current=Bureau"});
        // A load that fails reports the error and leaves no dialog; the menu
        // still answers. A queue chosen with an empty port fails the same way.
        row("no printer",
            {2, "", "no printer & open", "closed saved=- current=Bureau box=" + invalidCall});
        row("first port empty", {2, "", "no port 0 & open & restore & open",
                                 bureau + QString(" saved=- current=Bureau box=") + invalidCall});
        row("chosen port empty",
            {2, "", "no port 2 & open & choose 2",
             "Atelier|Pilote utilis\u00E9 : Epson 24|Port utilis\u00E9 : LPT1|none "
             "saved=- current=Bureau box=" +
                 invalidCall});
    }
    void run() {
        QFETCH(Run, c);
        PrintFixture f(c.points);
        if (!c.stored.isEmpty())
            f.settings.values.insert(c.stored.section(u'=', 0, 0), c.stored.section(u'=', 1));
        const QString caption = f.window.windowTitle();
        for (const QString& step : items(c.steps)) {
            f.act(step);
            if (QTest::currentTestFailed())
                return;
        }
        QCOMPARE(f.seen(), c.seen);
        QCOMPARE(f.window.windowTitle(), caption);
        QVERIFY(f.window.menuBar()->isEnabled());
        QCOMPARE(f.state.Grid.rows(), c.points + 1);
    }

    void print_data() {
        Rows<Print> row;
        // Names in the regional format's language, hours and minutes on two
        // digits, 24-hour time.
        const QDateTime monday(QDate(2026, 11, 23), QTime(7, 5));
        const QString french = QStringLiteral("Imprimer le lundi 23 novembre 2026 \u00E0 07:05");
        row("printed", {frenchFormat(), monday, french});
        row("English names", {englishFormat(), QDateTime(QDate(2027, 2, 1), QTime(23, 59)),
                              "Imprimer le Monday 01 February 2027 \u00E0 23:59"});
    }
    // Each point line is the grid's row as the grid shows it, not the store:
    // the first row's X and Z are patched in the grid only.
    void print() {
        QFETCH(Print, c);
        RegionalFormatScope scope(frenchFormat());
        CommandFixture f;
        f.state.CurrentFileName = QStringLiteral("/data/lev\u00E9 1.xyz");
        f.state.AddPoint({1000.5, 2000.125, -3, QStringLiteral("12")});
        f.state.AddPoint({0.123, 123456.789, 0, QStringLiteral("B7")});
        f.state.RefreshPointList();
        f.state.Grid.setTextMatrix(1, 1, QStringLiteral("1000,5"));
        f.state.Grid.setTextMatrix(1, 3, QStringLiteral("-3"));
        RegionalFormatScope printing(c.format);
        ScriptedPrinter printer;
        QVERIFY(PrintPointList(f.state, printer, f.boxes, f.progress, c.now));
        QCOMPARE(printer.ended.size(), std::size_t(1));
        // The version printed is the project's, major.minor, each number whole.
        const QStringList version = QStringLiteral(TOVALIN_VERSION_TEXT).split(u'.');
        QCOMPARE(printer.ended.front(),
                 QStringList({"Tovalin version " + version[0] + u'.' + version[1], "", c.dateLine,
                              "Fichier : /data/lev\u00E9 1.xyz",
                              "Matricule : 12     X : 1000,5     Y : 2000,125     Z : -3",
                              "Matricule : B7     X : 0,123     Y : 123456,789     Z : 0,000"}));
        QCOMPARE(printer.killed, 0);
        QVERIFY(f.boxes.boxes().empty());
        // The progress counted every point line.
        QVERIFY(f.progress.history.contains(QStringLiteral("Impression en cours... 2/2 points")));
    }

    // The page builder read back by poppler: every line once, in order, a new
    // page when the page is full, the characters that mean something in a
    // PDF string printed as themselves.
    void pdfPages_data() {
        Rows<Pages> row;
        // 100 points of paper, 10 of margin, 12 of leading: 6 lines a page.
        row("a page exactly full", {6, {}});
        row("one line more starts a page", {7, {}});
        row("brackets, backslash, accents, euro, grouping, runs of blanks",
            {1, {"(a) \\b\\ c)", "\u00E9t\u00E9 \u20AC 5", "1\u202F234,5", "  X :     1     Z"}});
    }
    void pdfPages() {
        QFETCH(Pages, c);
        TextPageGeometry geometry;
        geometry.width = 400;
        geometry.height = 100;
        geometry.margin = 10;
        geometry.fontSize = 8;
        geometry.leading = 12;
        PdfTextDocument document(geometry);
        QStringList lines;
        for (int i = 1; i <= c.count; ++i)
            lines << QStringLiteral("Ligne ") + QString::fromLatin1(QByteArray::number(i));
        lines << c.extra;
        for (const QString& line : lines)
            document.addLine(line);
        // Courier 8 points: 4.8 points a character.
        const std::vector<QStringList> pages = PdfPages(document.finish(), 4.8);
        QStringList read;
        for (const QStringList& page : pages)
            read << page.join(u'\n');
        // Six lines a page; the grouping character goes to paper as a
        // (no-break) space.
        QStringList expected;
        for (int i = 0; i < lines.size(); i += 6)
            expected << lines.mid(i, 6).join(u'\n').replace(QChar(0x202F), QChar(u' '));
        QCOMPARE(read, expected);
    }
};

TOVALIN_TEST(tst_Form6)
#include "tst_Form6.moc"
