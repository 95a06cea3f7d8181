// Times printing the point list, without a screen: the main window is built
// as start-up builds it, the file opened, the print dialog opened on the
// queue, and "Imprimer" clicked; the time runs until the document has been
// handed to CUPS. Then the same lines go through a plain QPainter loop (one
// drawText per line into QPdfWriter) and the file it makes is handed to the
// same queue, for comparison in the same run.
//
//   tovalin-print-bench FILE PROGRAM_FOLDER QUEUE
//
// The scheduler is the one CUPS_SERVER names. Prints tab-separated figures:
// times in milliseconds, memory in kilobytes.

#include "app/Form1.h"
#include "platform/CupsPrinter.h"
#include "platform/NumberText.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"
#include "printing/Form6.h"
#include "printing/Listing.h"
#include "printing/PrintingCommands.h"
#include "state/GestionDonnee.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinterInfo>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <cups/cups.h>
#include <sys/resource.h>

namespace {

// The longest time between two turns of the event loop, from a timer that
// wants to run every millisecond.
class GapMeter {
public:
    GapMeter() {
        timer_.setInterval(1);
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, [this] { note(); });
    }
    void start() {
        longest_ = 0;
        clock_.start();
        timer_.start();
    }
    void note() {
        const qint64 gap = clock_.restart();
        if (gap > longest_)
            longest_ = gap;
    }
    qint64 stop() {
        note();
        timer_.stop();
        return longest_;
    }

private:
    QTimer timer_;
    QElapsedTimer clock_;
    qint64 longest_ = 0;
};

long peakKilobytes() {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

long residentKilobytes() {
    QFile status(QStringLiteral("/proc/self/statm"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = status.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toLong() * 4 : 0;
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tovalin"));
    QApplication::setOrganizationName(QStringLiteral("Tovalin"));
    if (argc != 4) {
        std::fprintf(stderr, "usage: tovalin-print-bench FILE PROGRAM_FOLDER QUEUE\n");
        return 2;
    }
    const QString queue = QString::fromLocal8Bit(argv[3]);
    platform::installRegionalFormat();

    platform::ScriptedDialogs boxes;
    boxes.setThrowOnUnexpected(false);
    platform::ScriptedFileDialog files;
    platform::IniSettingsStore settings;
    platform::CupsPrinter printer;
    GestionDonnee state;
    Form1 window(state, Services{boxes, boxes, files, settings});
    InstallPrintingCommands(window, printer);
    window.LoadMainWindow(QString::fromLocal8Bit(argv[2]));
    window.show();
    window.OpenFiles({QString::fromLocal8Bit(argv[1])});
    QApplication::processEvents();

    window.menuItem(QStringLiteral("print"))->trigger();
    auto* dialog = window.findChild<Form6*>(QStringLiteral("Form6"));
    auto* combo = dialog ? dialog->findChild<QComboBox*>(QStringLiteral("Combo1")) : nullptr;
    const int index = combo ? combo->findText(queue) : -1;
    if (index < 0) {
        std::fprintf(stderr, "no print dialog, or no queue %s in it\n", argv[3]);
        return 1;
    }
    combo->setCurrentIndex(index);
    emit combo->activated(index);
    const long residentBefore = residentKilobytes();

    GapMeter gaps;
    QElapsedTimer clock;
    gaps.start();
    clock.start();
    dialog->findChild<QPushButton*>(QStringLiteral("Command1"))->click();
    const qint64 printMs = clock.elapsed();
    const qint64 printGap = gaps.stop();
    const long peak = peakKilobytes();
    if (!boxes.boxes().empty() || printer.lastJob() == 0) {
        std::fprintf(stderr, "the listing was not printed\n");
        return 1;
    }

    // The plain loop: one drawText per line on the queue's paper in the
    // painter's default font, a new page when the next line would not fit,
    // the file then handed to the queue.
    QTemporaryDir scratch;
    const QString pdf = scratch.filePath(QStringLiteral("plain.pdf"));
    clock.restart();
    {
        QPdfWriter writer(pdf);
        writer.setPageSize(QPrinterInfo::printerInfo(queue).defaultPageSize());
        QPainter painter(&writer);
        const QStringList header = ListingHeader(
            platform::programVersion(), QDateTime::currentDateTime(), state.CurrentFileName);
        const int lineHeight = painter.fontMetrics().height();
        const int ascent = painter.fontMetrics().ascent();
        const int pageHeight = painter.viewport().height();
        int y = 0;
        auto line = [&](const QString& text) {
            if (y + lineHeight > pageHeight) {
                writer.newPage();
                y = 0;
            }
            painter.drawText(0, y + ascent, text);
            y += lineHeight;
        };
        for (const QString& text : header)
            line(text);
        for (int row = 1; row < state.Grid.rows(); ++row)
            line(ListingLine(state.Grid, row));
    }
    const int plainJob =
        cupsPrintFile(queue.toUtf8().constData(), pdf.toUtf8().constData(), "Tovalin", 0, nullptr);
    const qint64 plainMs = clock.elapsed();
    if (plainJob <= 0) {
        std::fprintf(stderr, "the plain loop's file was not taken: %s\n", cupsLastErrorString());
        return 1;
    }

    std::printf("print_ms\t%lld\nprint_gap_ms\t%lld\npeak_kb\t%ld\nresident_before_kb\t%ld\n"
                "plain_ms\t%lld\nrows\t%d\n",
                static_cast<long long>(printMs), static_cast<long long>(printGap), peak,
                residentBefore, static_cast<long long>(plainMs), state.Grid.rows() - 1);
    return 0;
}
