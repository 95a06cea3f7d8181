#include "PrivateCups.h"
#include "TestRunner.h"
#include "WindowFixture.h"

#include "platform/CupsPrinter.h"
#include "platform/NumberText.h"
#include "platform/PdfTextDocument.h"
#include "platform/Printer.h"
#include "printing/Form6.h"
#include "printing/Listing.h"
#include "printing/PrintingCommands.h"

#include <QElapsedTimer>
#include <QTimer>
#include <memory>

using namespace testing;
using namespace platform;

namespace {

const QString errorBox = QStringLiteral(
    "Erreur: Une erreur est survenu lors de l'impression. Retenter une impression. [critical ok]");
const QString invalidCall = QStringLiteral(
    "Tovalin: Erreur d'ex\u00E9cution '5' :\n\nArgument ou appel de proc\u00E9dure incorrect "
    "[critical ok]");
const QString driver = QStringLiteral("Generic PDF Printer");

std::vector<InstalledPrinter> threePrinters() {
    return {{QStringLiteral("Bureau"), QStringLiteral("HP LaserJet 4"), QStringLiteral("LPT1:"),
             OrientationPortrait},
            {QStringLiteral("Plans"), QStringLiteral("Generic PDF"),
             QStringLiteral("file:///tmp/plans.pdf"), OrientationLandscape},
            {QStringLiteral("Atelier"), QStringLiteral("Epson 24"), QStringLiteral("usb://E/1"),
             OrientationPortrait}};
}

// Points whose identifiers have characters that matter in a PDF string.
std::vector<PointRecord> points(int count) {
    std::vector<PointRecord> out;
    out.reserve(std::size_t(count));
    for (int i = 1; i <= count; ++i) {
        QString name = QString::fromLatin1(QByteArray::number(i));
        if (i % 7 == 0)
            name += QStringLiteral("(b)");
        out.push_back({1000 + i * 0.125, 2000 - i * 0.5, (i % 3) * 1.005, name});
    }
    return out;
}

// The main window with points, its print command wired to that printer.
template <typename Printer> struct PrintingWindow : WindowFixture {
    Printer printer;
    template <typename... Args>
    explicit PrintingWindow(const std::vector<PointRecord>& list, Args... args)
        : WindowFixture(list), printer(args...) {
        InstallPrintingCommands(window, printer);
    }
    Form6* dialog() const { return window.findChild<Form6*>(QStringLiteral("Form6")); }
    template <typename T> T* control(const char* name) const {
        return dialog() ? child<T>(dialog(), name) : nullptr;
    }
};

// Three queues of a scripted printer, the first in use.
struct PrintFixture : PrintingWindow<ScriptedPrinter> {
    explicit PrintFixture(int count) : PrintingWindow(points(count)) {
        printer.installed = threePrinters();
        printer.current = QStringLiteral("Bureau");
        state.CurrentFileName = QStringLiteral("/terrain/jour1.xyz");
    }

    // One step: "open" (the menu item), "choose N" (a queue picked in the
    // list), "click CommandN", "fail N" (the printer fails at line N, 0 for
    // never; "end": when the document is handed over), "no printer", "no
    // port N" (queue N has an empty port), "restore" (the three queues back).
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

// The scheduler's queues; room for a slow machine, well short of the
// program's half minute.
struct CupsFixture : PrintingWindow<CupsPrinter> {
    explicit CupsFixture(const std::vector<PointRecord>& list)
        : PrintingWindow(list, std::chrono::seconds(8)) {}
    void choose(const QString& queue) {
        QComboBox* combo = control<QComboBox>("Combo1");
        const int index = combo->findText(queue);
        QVERIFY(index >= 0);
        combo->setCurrentIndex(index);
        emit combo->activated(index);
    }
    // Opens the dialog, chooses the queue, prints; the job handed over.
    int print(const QString& queue) {
        trigger("print");
        if (dialog() == nullptr)
            return -1;
        choose(queue);
        const int before = printer.lastJob();
        control<QPushButton>("Command1")->click();
        return printer.lastJob() != before ? printer.lastJob() : 0;
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

// Printing through a real CUPS scheduler, started by the test on a socket of
// its own (PrivateCups): the queues the dialog lists are the scheduler's, and
// the documents go through CUPS's own filters to a file, read back with
// poppler's pdftotext. The test fails, saying why, when the scheduler cannot
// be started; it never passes without one.
class tst_CupsPrinting : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<PrivateCups> cups_;

private slots:
    void initTestCase() {
        QLocale::setDefault(frenchFormat());
        cups_ = std::make_unique<PrivateCups>();
        if (!cups_->failure().isEmpty())
            QFAIL(
                qPrintable(QStringLiteral("no CUPS scheduler for the test: ") + cups_->failure()));
        QVERIFY2(cups_->addQueue(QStringLiteral("Bureau")), "lpadmin: portrait queue");
        QVERIFY2(cups_->addQueue(QStringLiteral("Plans"), 4), "lpadmin: landscape queue");
        QVERIFY2(cups_->addQueue(QStringLiteral("Rouleau"), 5), "lpadmin: reverse landscape");
    }
    void cleanupTestCase() { cups_.reset(); }

    // The dialog lists the scheduler's queues, each with its driver, port and
    // orientation; a reverse landscape one is landscape, "Paysage" when chosen.
    // The queue prints the four header lines once, then one line per point as
    // the grid shows it, pages following on without the header again.
    void listsAndPrints() {
        const int count = 300;
        CupsFixture f(points(count));
        f.state.CurrentFileName = QStringLiteral("/terrain/lev\u00E9.xyz");
        f.trigger("print");
        QVERIFY(f.dialog() != nullptr);
        QStringList table;
        QListWidget* list = f.control<QListWidget>("List1");
        for (int i = 0; i < list->count(); ++i)
            table << list->item(i)->text();
        const auto port = [&](const char* queue) {
            return QStringLiteral("file://") + cups_->outputOf(QString::fromLatin1(queue));
        };
        QCOMPARE(table, QStringList({"Bureau", driver, port("Bureau"), "1", "Plans", driver,
                                     port("Plans"), "2", "Rouleau", driver, port("Rouleau"), "2"}));
        f.choose(QStringLiteral("Rouleau"));
        QVERIFY(f.control<QRadioButton>("Option2")->isChecked());
        QCOMPARE(f.printer.currentPrinter(), QStringLiteral("Rouleau"));

        const int job = f.print(QStringLiteral("Bureau"));
        QVERIFY2(job > 0, "no job handed to the queue");
        QVERIFY(f.boxes.boxes().empty());
        QTRY_VERIFY(f.dialog() == nullptr);
        QVERIFY2(cups_->waitForJob(job), "the job was not printed");
        QStringList expected =
            ListingHeader(programVersion(), QDateTime(), f.state.CurrentFileName);
        for (int row = 1; row <= count; ++row)
            expected << ListingLine(f.state.Grid, row);

        // The document as the program handed it over, kept in the spool:
        // every line exactly, blanks included, in Courier 10 points.
        const std::vector<QStringList> pages = PdfPages(readBytes(cups_->spooledDocument(job)), 6);
        QVERIFY2(pages.size() >= 5, qPrintable(QString::number(pages.size())));
        QStringList spooled;
        for (const QStringList& page : pages)
            spooled << page;
        // The date line is only checked for its shape.
        QVERIFY2(spooled.value(2).startsWith(QStringLiteral("Imprimer le ")) &&
                     spooled.value(2).contains(QStringLiteral(" \u00E0 ")),
                 qPrintable(spooled.value(2)));
        expected[2] = spooled[2];
        QCOMPARE(spooled, expected);

        // What the queue printed, through its filters: they may scale the page
        // to the paper, so runs of blanks are compared as one.
        QStringList printed;
        for (const QStringList& page :
             PdfPages(readBytes(cups_->outputOf(QStringLiteral("Bureau")))))
            for (const QString& line : page)
                printed << line.simplified();
        for (QString& line : expected)
            line = line.simplified();
        QCOMPARE(printed, expected);
    }

    // A queue stopped by its administrator, then one refusing jobs: the
    // message, no job, and the program prints on another queue afterwards.
    void stoppedQueue_data() {
        QTest::addColumn<QString>("how");
        QTest::newRow("stopped") << "cupsdisable";
        QTest::newRow("refusing jobs") << "cupsreject";
        QTest::newRow("scheduler not answering") << "SIGSTOP";
    }
    void stoppedQueue() {
        QFETCH(QString, how);
        const bool paused = how == u"SIGSTOP";
        const QString queue = paused ? QStringLiteral("Bureau") : QStringLiteral("Arret_") + how;
        if (!paused) {
            QVERIFY(cups_->addQueue(queue));
            QVERIFY(cups_->command(how, {queue}));
        }
        CupsFixture f(points(3));
        f.trigger("print");
        f.choose(queue);
        f.boxes.answerMessage(MsgAnswer::Ok);
        // Not answered, the program paints and answers while it waits, then
        // gives up with the message; the scheduler's late answer prints nothing.
        QVERIFY(cups_->pause(paused));
        QElapsedTimer sinceEvent;
        qint64 longest = 0;
        QTimer events;
        QObject::connect(&events, &QTimer::timeout,
                         [&] { longest = std::max(longest, sinceEvent.restart()); });
        events.start(5);
        sinceEvent.start();
        QElapsedTimer waited;
        waited.start();
        f.control<QPushButton>("Command1")->click();
        longest = std::max(longest, sinceEvent.elapsed()); // up to the end of the wait
        events.stop();
        QVERIFY(cups_->pause(false));
        QCOMPARE(shownBoxes(f.boxes), QStringList{errorBox});
        QCOMPARE(f.printer.lastJob(), 0);
        if (paused)
            QVERIFY2(waited.elapsed() >= 8000, qPrintable(QString::number(waited.elapsed())));
        QVERIFY2(longest < 100, qPrintable(QStringLiteral("%1 ms without events").arg(longest)));
        QVERIFY(f.dialog() != nullptr);
        f.choose(QStringLiteral("Bureau"));
        f.control<QPushButton>("Command1")->click();
        QTRY_VERIFY(f.dialog() == nullptr);
        QVERIFY(cups_->waitForJob(f.printer.lastJob()));
        if (!paused)
            QVERIFY(cups_->command(QStringLiteral("lpadmin"), {QStringLiteral("-x"), queue}));
    }
};

TOVALIN_TEST(tst_Form6)
TOVALIN_TEST(tst_CupsPrinting)
#include "tst_Printing.moc"
