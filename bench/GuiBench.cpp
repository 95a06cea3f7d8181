// Times the program itself on a large point file, without a screen: the main
// window is built as start-up builds it, with scripted boxes, and its open
// path is given the file, as the command line does.
//
//   tovalin-gui-bench FILE PROGRAM_FOLDER
//
// Prints tab-separated figures, one a line: the point view opened (the copy
// and its first whole picture), the plain drawing loop over the same points,
// a Zoom + click, Recentrer, the view's longest stretch without processing
// events, what its copy adds to the resident size; then the open (until the
// list has been painted), the list rebuilt, the coordinate format rewritten
// cell by cell, the longest stretch without processing events during the
// read and during the whole open, the peak memory, the rows shown. Times in
// milliseconds, memory in kilobytes.

#include "BenchSupport.h"

#include "app/Form1.h"
#include "editing/CoordinateFormat.h"
#include "platform/GuiProgress.h"
#include "platform/NumberText.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"
#include "state/GestionDonnee.h"
#include "viewer/PointView.h"
#include "viewer/ViewPicture.h"
#include "viewer/ViewerCommands.h"
#include "viewer/Zone.h"
#include "viewer/frmVisualisation.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QMouseEvent>
#include <QTableView>
#include <QTimer>
#include <cstdio>
#include <sys/resource.h>

using bench::GapMeter;
using bench::peakKilobytes;
using bench::residentKilobytes;

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

// Processes events until the view's surface holds a whole picture drawn
// after the given number of passes.
bool untilDrawn(Zone* zone, int passes) {
    QElapsedTimer waited;
    waited.start();
    while (!(zone->complete() && zone->passes() > passes) && waited.elapsed() < 60000)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    return zone->complete() && zone->passes() > passes;
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
    // The peak of opening the file, before the rewrite and the view add theirs.
    const long openPeakKb = peakKilobytes();

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

    // The point view: opened from the menu (the copy from the grid and the
    // first whole picture), one Zoom + click in the middle, Recentrer.
    InstallViewerCommands(window);
    QAction* viewItem = window.menuItem(QStringLiteral("view"));
    gaps.start();
    clock.restart();
    viewItem->trigger();
    auto* view = window.findChild<frmVisualisation*>();
    if (view == nullptr || !untilDrawn(view->zone(), 0)) {
        std::fprintf(stderr, "the view did not draw\n");
        return 1;
    }
    const qint64 viewOpenMs = clock.elapsed();
    qint64 viewGap = gaps.stop();
    Zone* zone = view->zone();
    const QSize surface = zone->size();

    view->findChild<QAction*>(QStringLiteral("MnuZoomp"))->trigger();
    int passes = zone->passes();
    gaps.start();
    clock.restart();
    const QPointF middle(surface.width() / 2.0, surface.height() / 2.0);
    QMouseEvent press(QEvent::MouseButtonPress, middle, zone->mapToGlobal(middle), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(zone, &press);
    untilDrawn(zone, passes);
    const qint64 zoomMs = clock.elapsed();
    viewGap = std::max(viewGap, gaps.stop());

    passes = zone->passes();
    gaps.start();
    clock.restart();
    view->findChild<QAction*>(QStringLiteral("MnuRecentrer"))->trigger();
    untilDrawn(zone, passes);
    const qint64 recentreMs = clock.elapsed();
    viewGap = std::max(viewGap, gaps.stop());
    view->close();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    // The copy alone, made again beside everything else: what it adds to
    // the resident size. Then the plain drawing loop (one drawPoint and one
    // drawText per point) over the same points onto a surface of the same
    // size, for comparison.
    const long before = residentKilobytes();
    PointView copy;
    {
        platform::NoProgress none;
        LoadView(copy, state.Grid, none);
    }
    const long copyKb = residentKilobytes() - before;
    QImage plain(surface, QImage::Format_RGB32);
    plain.fill(Qt::white);
    clock.restart();
    DrawPlain(plain, copy,
              DrawRequest{copy.visibleWindow, copy.pointSize, copy.labelSize, true, true});
    const qint64 plainMs = clock.elapsed();

    std::printf("view_open_ms\t%lld\nview_plain_ms\t%lld\nview_zoom_ms\t%lld\n"
                "view_recentre_ms\t%lld\nview_gap_ms\t%lld\nview_copy_kb\t%ld\n",
                static_cast<long long>(viewOpenMs), static_cast<long long>(plainMs),
                static_cast<long long>(zoomMs), static_cast<long long>(recentreMs),
                static_cast<long long>(viewGap), copyKb);
    std::printf("open_ms\t%lld\nshown_ms\t%lld\nrefresh_ms\t%lld\nformat_ms\t%lld\n"
                "read_gap_ms\t%lld\nopen_gap_ms\t%lld\npeak_kb\t%ld\nrows\t%d\n",
                static_cast<long long>(openedMs), static_cast<long long>(shownMs),
                static_cast<long long>(refreshMs), static_cast<long long>(formatMs),
                static_cast<long long>(readGap),
                static_cast<long long>(std::max(readGap, paintGap)), openPeakKb,
                state.Grid.rowCount());
    return 0;
}
