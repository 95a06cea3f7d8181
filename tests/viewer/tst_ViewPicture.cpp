#include "TestRunner.h"
#include "TestSupport.h"
#include "WindowFixture.h"

#include "RuntimeErrors.h"

#include "platform/NumberText.h"
#include "platform/PointGridModel.h"
#include "platform/Progress.h"
#include "viewer/ViewPicture.h"
#include "viewer/ViewerCommands.h"
#include "viewer/Zone.h"
#include "viewer/frmVisualisation.h"

#include <QTimer>
#include <random>

using namespace testing;

namespace {

// A view of count points spread over 0..1000 x 0..1000, with identifiers
// made by label(i), as a loading leaves it.
PointView spread(int count, const std::function<QString(int)>& label, unsigned seed = 7) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> coordinate(0, 1000);
    PointView view;
    view.points.resize(std::size_t(count) + 1);
    for (int i = 1; i <= count; ++i) {
        ViewPoint& entry = view.points[std::size_t(i)];
        entry.X = coordinate(random);
        entry.Y = coordinate(random);
        entry.Label = label(i);
        entry.ColourCode = 1;
    }
    view.viewPointCount = float(count);
    view.fullExtent = ViewBox{1000, 0, 0, -1000};
    view.visibleWindow = view.fullExtent;
    return view;
}

QImage white(QSize size) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    return image;
}

// Pixels whose channels differ by more than tolerance, and the largest
// difference of any channel.
std::pair<int, int> difference(const QImage& a, const QImage& b, int tolerance) {
    int pixels = 0;
    int largest = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            const int d = std::max({std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                                    std::abs(qBlue(p) - qBlue(q))});
            largest = std::max(largest, d);
            if (d > tolerance)
                ++pixels;
        }
    }
    return {pixels, largest};
}

} // namespace

class TestViewPicture : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(frenchFormat()); }
    void loadingInParts_data();
    void loadingInParts();
    void fastIsPlain_data();
    void fastIsPlain();
    void restartedPass();
    void closedDuringPass_data();
    void closedDuringPass();
};

// The copy read in parts on several cores holds what reading the rows one
// after the other gives: entries in order, the extent, and on an error the
// rows before it and nothing after.
void TestViewPicture::loadingInParts_data() {
    QTest::addColumn<int>("badRow"); // 0: none
    QTest::addColumn<QString>("extent");
    QTest::newRow("many parts") << 0 << "70000 -1 1 -977";
    QTest::newRow("error late in a part") << 50001 << "50000 -1 1 -977";
    QTest::newRow("error in the first rows") << 3 << "2 -2 1 -3";
}

void TestViewPicture::loadingInParts() {
    QFETCH(int, badRow);
    QFETCH(QString, extent);
    platform::PointGridModel grid;
    for (int row = 1; row <= 70000; ++row)
        grid.addItem(QStringLiteral("P%1\t%2\t%3\t0")
                         .arg(row)
                         .arg(row == badRow ? QStringLiteral("1x") : QString::number(row))
                         .arg(row % 977 + 1));
    PointView view;
    platform::NoProgress none;
    const int error = errorOf([&] { LoadView(view, grid, none); });
    QCOMPARE(error, badRow ? int(platform::RuntimeError::TypeMismatch) : 0);
    const int loaded = badRow ? badRow - 1 : 70000;
    QCOMPARE(view.viewPointCount, float(loaded));
    QCOMPARE(int(view.points.size()), loaded);
    const ViewBox& e = view.fullExtent;
    QCOMPARE(QStringLiteral("%1 %2 %3 %4").arg(e.right).arg(e.top).arg(e.left).arg(e.bottom),
             extent);
    for (const int i : {1, 2, 4096, 4097, 32768, 32769, 49999, 50000, 69999, 70000}) {
        const ViewPoint& entry = view.entry(std::size_t(i));
        if (i <= loaded)
            QCOMPARE(QStringLiteral("%1 %2 %3").arg(entry.Label).arg(entry.X).arg(entry.Y),
                     QStringLiteral("P%1 %1 %2").arg(i).arg(i % 977 + 1));
    }
}

// The copied glyphs and dots give the painter's own picture: same pixels,
// with at most a step of rounding where two blends meet.
void TestViewPicture::fastIsPlain_data() {
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("labelSize");
    QTest::addColumn<QString>("labels"); // digits, mixed, negative
    QTest::addColumn<float>("zoom");     // the shown width against the whole
    QTest::addColumn<QSize>("surface");
    QTest::newRow("sparse, sizes 2 and 6") << 300 << 2 << 6 << "digits" << 1.0f << QSize(640, 480);
    QTest::newRow("one pixel dots") << 300 << 1 << 6 << "digits" << 1.0f << QSize(500, 400);
    QTest::newRow("large dots, large labels")
        << 200 << 10 << 10 << "digits" << 1.0f << QSize(640, 480);
    QTest::newRow("odd pen, small labels") << 400 << 3 << 1 << "digits" << 1.0f << QSize(333, 257);
    QTest::newRow("dense overlap") << 20000 << 2 << 6 << "digits" << 1.0f << QSize(400, 300);
    QTest::newRow("cut at the edges") << 2000 << 4 << 8 << "digits" << 0.3f << QSize(640, 480);
    QTest::newRow("identifiers with letters")
        << 300 << 2 << 6 << "mixed" << 1.0f << QSize(640, 480);
    QTest::newRow("signs and decimals") << 300 << 5 << 7 << "signed" << 1.0f << QSize(640, 480);
}

void TestViewPicture::fastIsPlain() {
    QFETCH(int, count);
    QFETCH(int, size);
    QFETCH(int, labelSize);
    QFETCH(QString, labels);
    QFETCH(float, zoom);
    QFETCH(QSize, surface);
    PointView view = spread(count, [&](int i) {
        if (labels == u"mixed")
            return (i % 3 == 0 ? QStringLiteral("AV") : QStringLiteral("St")) +
                   platform::DefaultText(i);
        if (labels == u"signed")
            return platform::DefaultText((i % 2 ? -1.0 : 1.0) * i / 8.0);
        return platform::DefaultText(1000000 + i * 37);
    });
    view.labelSize = int16_t(labelSize);
    // A window round the middle: entries beyond it on every side.
    view.visibleWindow =
        ViewBox{500 + 500 * zoom, -500 + 500 * zoom, 500 - 500 * zoom, -500 - 500 * zoom};
    const DrawRequest request{view.visibleWindow, size, labelSize, true, true};

    QImage plain = white(surface);
    DrawPlain(plain, view, request);
    QImage fast = white(surface);
    const LabelGlyphs glyphs(LabelFont(labelSize));
    const ViewPicture picture(view, request, fast, glyphs);
    // In parts, as a pass draws between its batches of events.
    for (std::size_t begin = 0; begin < picture.entries(); begin += 997)
        picture.drawEntries(begin, begin + 997);

    // Something was drawn, and the same thing. The painter strokes a dot as
    // a very short line, whose rounding gives the rim of a 2-pixel dot a
    // slightly lighter shade (up to 18 steps of 255) in some columns: the
    // only difference allowed, a few rim pixels a dot. A glyph or a dot out
    // of place differs by far more.
    const int inked = difference(plain, white(surface), 0).first;
    QVERIFY(inked > count / 4);
    const auto [rims, largest] = difference(plain, fast, 1);
    QVERIFY2(largest <= 24, qPrintable(QStringLiteral("largest difference %1").arg(largest)));
    QVERIFY2(rims <= 6 * count,
             qPrintable(QStringLiteral("%1 of %2 pixels differ").arg(rims).arg(inked)));
}

// A redraw asked for while a pass processes its events does not run inside
// it: the pass starts afresh with the new window and ends with its picture.
void TestViewPicture::restartedPass() {
    PointView view = spread(300000, [](int i) { return platform::DefaultText(i); });
    Zone zone;
    zone.resize(400, 300);
    int asked = 0;
    bool busyWhenAsked = false;
    bool returnedAtOnce = false;
    // Fires at the pass's first batch of events.
    QTimer::singleShot(0, &zone, [&] {
        ++asked;
        busyWhenAsked = zone.busy();
        view.visibleWindow = ViewBox{600, -400, 400, -600};
        const int before = zone.passes();
        QVERIFY(zone.DrawView(view, 4, true, true));
        returnedAtOnce = zone.busy() && zone.passes() == before;
    });
    QVERIFY(zone.DrawView(view, 2, true, true));
    QCOMPARE(asked, 1);
    QVERIFY(busyWhenAsked);
    QVERIFY(returnedAtOnce);
    QVERIFY(!zone.busy());
    QVERIFY(zone.complete());
    // One whole pass: the first never ended, the second did.
    QCOMPARE(zone.passes(), 1);
    QImage expected = white(zone.picture().size());
    const DrawRequest request{view.visibleWindow, 4, 6, true, true};
    const LabelGlyphs glyphs(LabelFont(6));
    ViewPicture(view, request, expected, glyphs).drawEntries(0, 300000);
    QVERIFY(zone.picture() == expected);
    QVERIFY(zone.longestGapMs() < 1000);
}

// Closing the view, or the main window with it, while a pass processes its
// events: the pass stops, and the window goes once it has returned.
void TestViewPicture::closedDuringPass_data() {
    QTest::addColumn<bool>("program");
    QTest::newRow("the view closed") << false;
    QTest::newRow("the program closed") << true;
}

void TestViewPicture::closedDuringPass() {
    QFETCH(bool, program);
    std::vector<PointRecord> points;
    std::mt19937 random(3);
    std::uniform_real_distribution<double> coordinate(0, 1000);
    for (int i = 0; i < 300000; ++i)
        points.push_back({coordinate(random), coordinate(random), 0, platform::DefaultText(i)});
    WindowFixture f(points);
    InstallViewerCommands(f.window);
    f.window.show();
    f.trigger("view");
    QPointer<frmVisualisation> view = f.window.findChild<frmVisualisation*>();
    QVERIFY(view);
    QPointer<Zone> zone = view->zone();
    QApplication::processEvents(); // whatever activation draws
    const int before = zone->passes();
    bool closedWhileBusy = false;
    QTimer::singleShot(0, &f.window, [&] {
        closedWhileBusy = zone->busy();
        if (program)
            f.window.close();
        else
            view->close();
    });
    // A new window of points is a new picture, drawn over many batches.
    view->zone()->resize(500, 400);
    view->DrawView(3);
    QVERIFY(closedWhileBusy);
    // Stopped before its end, and still there until the events go round.
    QVERIFY(view && zone);
    QVERIFY(!zone->busy());
    QCOMPARE(zone->passes(), before);
    QVERIFY(!view->isVisible());
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!view);
    if (!program) {
        // And the view opens again.
        f.trigger("view");
        QVERIFY(f.window.findChild<frmVisualisation*>() != nullptr);
    }
}

TOVALIN_TEST(TestViewPicture)
#include "tst_ViewPicture.moc"
