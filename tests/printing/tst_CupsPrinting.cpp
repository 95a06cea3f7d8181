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

TOVALIN_TEST(tst_CupsPrinting)
#include "tst_CupsPrinting.moc"
