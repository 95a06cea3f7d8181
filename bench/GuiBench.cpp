// Times the program itself on a large point file, without a screen: the main
// window is built as start-up builds it, with scripted boxes, and its open
// path is given the file, as the command line does.
//
//   tovalin-gui-bench FILE PROGRAM_FOLDER
//
// Prints one line of tab-separated figures: the open (until the list has been
// painted), the list rebuilt, the coordinate format rewritten cell by cell,
// the longest stretch without processing events during the read and during
// the whole open, the peak memory, the rows shown. Times in milliseconds,
// memory in kilobytes.

#include "app/Form1.h"
#include "editing/CoordinateFormat.h"
#include "platform/GuiProgress.h"
#include "platform/NumberText.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"
#include "state/GestionDonnee.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTableView>
#include <QTimer>
#include <cstdio>
#include <sys/resource.h>

namespace {

// Counts the paintings of a widget.
class PaintCounter : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            ++paints;
        return QObject::eventFilter(watched, event);
    }
};

// The longest time between two turns of the event loop: a timer that wants
// to run every millisecond runs only when events are processed.
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
        since_.start();
        timer_.start();
    }
    void note() {
        const qint64 gap = clock_.restart();
        if (gap > longest_)
            longest_ = gap;
        // TOVALIN_BENCH_GAPS=1 tells where the long ones end, to find them.
        if (gap > 30 && qEnvironmentVariableIsSet("TOVALIN_BENCH_GAPS"))
            std::fprintf(stderr, "gap %lld ms ending at %lld ms\n", static_cast<long long>(gap),
                         static_cast<long long>(since_.elapsed()));
    }
    qint64 stop() {
        note();
        timer_.stop();
        return longest_;
    }

private:
    QTimer timer_;
    QElapsedTimer clock_;
    QElapsedTimer since_;
    qint64 longest_ = 0;
};

// Processes events until the view has painted again. The view is asked to
// paint, so that a change already painted while the work processed events
// still ends the wait.
void untilPainted(QWidget* view, PaintCounter& counter) {
    const int before = counter.paints;
    view->update();
    QElapsedTimer waited;
    waited.start();
    while (counter.paints == before && waited.elapsed() < 10000)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
}

long peakKilobytes() {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tovalin"));
    QApplication::setOrganizationName(QStringLiteral("Tovalin"));
    if (argc != 3) {
        std::fprintf(stderr, "usage: tovalin-gui-bench FILE PROGRAM_FOLDER\n");
        return 2;
    }
    const QString file = QString::fromLocal8Bit(argv[1]);
    platform::installRegionalFormat();

    platform::ScriptedDialogs boxes;
    boxes.setThrowOnUnexpected(false);
    platform::ScriptedFileDialog files;
    platform::IniSettingsStore settings;
    GestionDonnee state;
    Form1 window(state, Services{boxes, boxes, files, settings});
    window.LoadMainWindow(QString::fromLocal8Bit(argv[2]));
    window.show();
    PaintCounter painted;
    window.grid()->viewport()->installEventFilter(&painted);
    untilPainted(window.grid()->viewport(), painted);

    // The read measured on its own: the open's events are processed by the
    // read itself, the gap meter's timer among them.
    GapMeter gaps;
    QElapsedTimer clock;
    gaps.start();
    clock.start();
    window.OpenFiles({file});
    const qint64 openedMs = clock.elapsed();
    const qint64 readGap = gaps.stop();
    gaps.start();
    untilPainted(window.grid()->viewport(), painted);
    const qint64 shownMs = clock.elapsed();
    const qint64 paintGap = gaps.stop();

    clock.restart();
    state.RefreshPointList();
    untilPainted(window.grid()->viewport(), painted);
    const qint64 refreshMs = clock.elapsed();

    // The format dialog's rewrite, as its "Ok" runs it.
    clock.restart();
    {
        platform::GuiProgress progress(
            [&window](const QString& text) { window.setCountLabel(text); });
        RewritePointRows(state, progress);
        progress.flush();
    }
    untilPainted(window.grid()->viewport(), painted);
    const qint64 formatMs = clock.elapsed();

    std::printf("open_ms\t%lld\nshown_ms\t%lld\nrefresh_ms\t%lld\nformat_ms\t%lld\n"
                "read_gap_ms\t%lld\nopen_gap_ms\t%lld\npeak_kb\t%ld\nrows\t%d\n",
                static_cast<long long>(openedMs), static_cast<long long>(shownMs),
                static_cast<long long>(refreshMs), static_cast<long long>(formatMs),
                static_cast<long long>(readGap),
                static_cast<long long>(std::max(readGap, paintGap)), peakKilobytes(),
                state.Grid.rowCount());
    return 0;
}
