// Printing through a real CUPS scheduler, started by the test on a socket of
// its own (PrivateCups): the queues the dialog lists are the scheduler's, and
// the documents go through CUPS's own filters to a file, read back with
// poppler's pdftotext. The test fails, saying why, when the scheduler cannot
// be started; it never passes without one.

#include "PrivateCups.h"
#include "TestRunner.h"
#include "WindowFixture.h"

#include "platform/CupsPrinter.h"
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
const QString driver = QStringLiteral("Generic PDF Printer");

// A point list as the grid shows it under two decimals, with identifiers
// whose characters matter in a PDF string.
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

// The lines of a PDF's text, page after page, runs of blanks made one.
QStringList linesOf(const QString& text) {
    QStringList split = text.split(u'\f');
    if (!split.isEmpty() && split.last().trimmed().isEmpty())
        split.removeLast();
    QStringList lines;
    for (const QString& page : split) {
        QStringList pageLines = page.split(u'\n');
        while (!pageLines.isEmpty() && pageLines.last().trimmed().isEmpty())
            pageLines.removeLast();
        for (const QString& line : pageLines)
            lines << line.simplified();
    }
    return lines;
}

// "" when the lines are the listing expected (its date line, the one starting
// "Imprimer le ", only checked for its shape); else the first difference.
QString compareListing(const QStringList& lines, const QStringList& expected) {
    if (lines.size() != expected.size())
        return QStringLiteral("%1 lines instead of %2, from: %3")
            .arg(lines.size())
            .arg(expected.size())
            .arg(lines.mid(0, 12).join(QStringLiteral(" | ")));
    for (int i = 0; i < lines.size(); ++i) {
        if (expected[i].startsWith(QStringLiteral("Imprimer le "))) {
            if (!lines[i].startsWith(QStringLiteral("Imprimer le ")) ||
                !lines[i].contains(QStringLiteral(" \u00E0 ")))
                return QStringLiteral("date line: ") + lines[i];
        } else if (lines[i] != expected[i]) {
            return QStringLiteral("line %1: \"%2\" instead of \"%3\"")
                .arg(i + 1)
                .arg(lines[i], expected[i]);
        }
    }
    return QString();
}

struct CupsFixture : WindowFixture {
    // Room for a slow machine, well short of the program's half minute.
    CupsPrinter printer{std::chrono::seconds(8)};
    explicit CupsFixture(const std::vector<PointRecord>& list) : WindowFixture(list) {
        InstallPrintingCommands(window, printer);
    }
    Form6* dialog() const { return window.findChild<Form6*>(QStringLiteral("Form6")); }
    template <typename T> T* control(const char* name) const {
        return dialog() ? child<T>(dialog(), name) : nullptr;
    }
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

} // namespace

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

    // The dialog lists the scheduler's queues, each with its driver and port;
    // choosing a landscape one, reverse landscape too, selects "Paysage".
    void listsTheQueues() {
        CupsFixture f(points(2));
        f.trigger("print");
        QVERIFY(f.dialog() != nullptr);
        QStringList table;
        QListWidget* list = f.control<QListWidget>("List1");
        for (int i = 0; i < list->count(); ++i)
            table << list->item(i)->text();
        const QString bureau =
            QStringLiteral("file://") + cups_->outputOf(QStringLiteral("Bureau"));
        const QString plans = QStringLiteral("file://") + cups_->outputOf(QStringLiteral("Plans"));
        const QString roll = QStringLiteral("file://") + cups_->outputOf(QStringLiteral("Rouleau"));
        QCOMPARE(table, QStringList({"Bureau", driver, bureau, "1", "Plans", driver, plans, "2",
                                     "Rouleau", driver, roll, "2"}));
        QCOMPARE(f.control<QComboBox>("Combo1")->currentText(), QStringLiteral("Bureau"));
        QCOMPARE(f.control<QLabel>("Label3")->text(),
                 QStringLiteral("Port utilis\u00E9 : ") + bureau.chopped(1));
        f.choose(QStringLiteral("Plans"));
        QVERIFY(f.control<QRadioButton>("Option2")->isChecked());
        QVERIFY(!f.control<QRadioButton>("Option1")->isChecked());
        QCOMPARE(f.control<QLabel>("Label2")->text(),
                 QStringLiteral("Pilote utilis\u00E9 : ") + driver);
        QCOMPARE(f.printer.currentPrinter(), QStringLiteral("Plans"));
        QCOMPARE(f.settings.values.value(QStringLiteral("Divers/NomImp")), QStringLiteral("Plans"));
        f.choose(QStringLiteral("Bureau"));
        QVERIFY(f.control<QRadioButton>("Option1")->isChecked());
        f.choose(QStringLiteral("Rouleau"));
        QVERIFY(f.control<QRadioButton>("Option2")->isChecked());
    }

    void printsTheList_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("queue");
        QTest::newRow("3 points") << 3 << "Bureau";
        QTest::newRow("5,000 points over many pages") << 5000 << "Bureau";
        QTest::newRow("3 points, landscape queue") << 3 << "Plans";
    }
    // The document the queue printed: the four header lines once, then one
    // line per point as the grid shows it, pages following on without the
    // header again.
    void printsTheList() {
        QFETCH(int, count);
        QFETCH(QString, queue);
        CupsFixture f(points(count));
        f.state.CurrentFileName = QStringLiteral("/terrain/lev\u00E9.xyz");
        f.settings.values.insert(QStringLiteral("App/NbDec"), QStringLiteral("0.00"));
        f.state.Settings.NbDec = QStringLiteral("0.00");
        f.state.RefreshPointList();
        QFile::remove(cups_->outputOf(queue));
        const int job = f.print(queue);
        QVERIFY2(job > 0, "no job handed to the queue");
        QVERIFY(f.boxes.boxes().empty());
        QTRY_VERIFY(f.dialog() == nullptr);
        QVERIFY2(cups_->waitForJob(job), "the job was not printed");

        QStringList expected =
            ListingHeader(programVersion(), QDateTime(), f.state.CurrentFileName);
        for (int row = 1; row <= count; ++row)
            expected << ListingLine(f.state.Grid, row);

        // The document as the program handed it over, kept in the spool:
        // every line exactly, blanks included.
        const std::vector<QStringList> pages = PdfPageLines(cups_->spooledDocument(job));
        QStringList spooled;
        for (const QStringList& page : pages)
            spooled << page;
        QCOMPARE(compareListing(spooled, expected), QString());
        QCOMPARE(spooled.filter(QStringLiteral("Tovalin version")).size(), 1);
        if (count == 5000) {
            QVERIFY2(pages.size() > 50, qPrintable(QString::number(pages.size())));
            QVERIFY(pages[1].first().startsWith(QStringLiteral("Matricule : ")));
        }

        // What the queue printed, through its filters: they may scale the page
        // to the paper, so poppler gets the width of a run of blanks only
        // roughly and they are compared as one; on a turned page it drops the
        // empty line too.
        for (QString& line : expected)
            line = line.simplified();
        if (queue == QStringLiteral("Plans"))
            expected.removeAll(QString());
        const QString printed = PdfText(cups_->outputOf(queue));
        QCOMPARE(compareListing(linesOf(printed), expected), QString());
        QCOMPARE(printed.count(QStringLiteral("Tovalin version")), 1);
        // Two decimals, as the grid shows them.
        QCOMPARE(expected.last().section(QStringLiteral("Z : "), 1).size(), 4);
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
        if (how == u"SIGSTOP") {
            // The program paints and answers while it waits, then gives up
            // with the message; the scheduler's late answer prints nothing.
            CupsFixture f(points(3));
            f.trigger("print");
            f.choose(QStringLiteral("Bureau"));
            f.boxes.answerMessage(MsgAnswer::Ok);
            QVERIFY(cups_->pause(true));
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
            QVERIFY2(waited.elapsed() >= 8000, qPrintable(QString::number(waited.elapsed())));
            QVERIFY2(longest < 100,
                     qPrintable(QStringLiteral("%1 ms without events").arg(longest)));
            f.control<QPushButton>("Command1")->click();
            QTRY_VERIFY(f.dialog() == nullptr);
            QVERIFY(cups_->waitForJob(f.printer.lastJob()));
            return;
        }
        const QString queue = QStringLiteral("Arret_") + how;
        QVERIFY(cups_->addQueue(queue));
        QVERIFY(cups_->command(how, {queue}));
        CupsFixture f(points(3));
        f.boxes.answerMessage(MsgAnswer::Ok);
        const int job = f.print(queue);
        QCOMPARE(job, 0);
        QCOMPARE(shownBoxes(f.boxes), QStringList{errorBox});
        QVERIFY(f.dialog() != nullptr);
        f.choose(QStringLiteral("Bureau"));
        f.control<QPushButton>("Command1")->click();
        QTRY_VERIFY(f.dialog() == nullptr);
        QVERIFY(cups_->waitForJob(f.printer.lastJob()));
        QVERIFY(cups_->command(QStringLiteral("lpadmin"), {QStringLiteral("-x"), queue}));
    }

    // A device that fails: the scheduler stops the queue when the job fails
    // on it (the job had already been handed over), and printing there again
    // gives the message; the program goes on.
    void failingDevice() {
        const QString queue = QStringLiteral("Traceur");
        QVERIFY(cups_->addFailingQueue(queue));
        CupsFixture f(points(3));
        QVERIFY(f.print(queue) > 0);
        QVERIFY2(cups_->waitForStopped(queue), "the scheduler did not stop the queue");
        f.boxes.answerMessage(MsgAnswer::Ok);
        QCOMPARE(f.print(queue), 0);
        QCOMPARE(shownBoxes(f.boxes), QStringList{errorBox});
        QVERIFY(f.dialog() != nullptr && f.dialog()->isEnabled());
        f.control<QPushButton>("Command2")->click();
        QVERIFY(f.window.menuBar()->isEnabled());
        QCOMPARE(f.state.Grid.rows(), 4);
        QVERIFY(cups_->command(QStringLiteral("cancel"), {QStringLiteral("-a"), queue}));
        QVERIFY(cups_->command(QStringLiteral("lpadmin"), {QStringLiteral("-x"), queue}));
    }
};

TOVALIN_TEST(tst_CupsPrinting)
#include "tst_CupsPrinting.moc"
