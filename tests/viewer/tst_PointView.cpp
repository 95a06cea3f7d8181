#include "RuntimeErrors.h"
#include "TestRunner.h"
#include "TestSupport.h"
#include "WindowFixture.h"

#include "platform/NumberText.h"
#include "platform/PointGridModel.h"
#include "viewer/PointView.h"
#include "viewer/ViewPicture.h"
#include "viewer/ViewerCommands.h"
#include "viewer/Zone.h"
#include "viewer/frmVisualisation.h"

#include <QMenu>
#include <QTimer>
#include <cmath>
#include <random>

using namespace testing;
using namespace platform;

namespace {

PointView loaded(const QStringList& rows) {
    PointGridModel grid;
    for (const QString& row : rows)
        grid.addItem(row); // after the header row, as the main window's list holds them
    PointView view;
    NoProgress none;
    LoadView(view, grid, none);
    return view;
}

QString box(const ViewBox& b) {
    return QStringList{DefaultTextFloat(b.right), DefaultTextFloat(b.top), DefaultTextFloat(b.left),
                       DefaultTextFloat(b.bottom)}
        .join(u' ');
}

bool inkNear(const QImage& image, QPoint at, int radius = 2) {
    for (int y = at.y() - radius; y <= at.y() + radius; ++y)
        for (int x = at.x() - radius; x <= at.x() + radius; ++x)
            if (image.rect().contains(x, y) && image.pixel(x, y) != qRgb(255, 255, 255))
                return true;
    return false;
}

// Rows P1 to Pn at X = i and Y = i % 977 + 1, row bad's X no number; and
// the entries the rows ahead of it fill.
std::pair<QStringList, QString> numbered(int n, int bad = 0) {
    QStringList rows;
    QStringList filled;
    for (int i = 1; i <= n; ++i) {
        const QString x = i == bad ? QStringLiteral("1x") : QString::number(i);
        rows << QStringLiteral("P%1\t%2\t%3\t0").arg(i).arg(x).arg(i % 977 + 1);
        if (bad == 0 || i < bad)
            filled << QStringLiteral("%1:P%1").arg(i);
    }
    return {rows, filled.join(u' ')};
}

// A view of count points spread over 0..1000 x 0..1000, with identifiers
// made by label(i), as a loading leaves it.
PointView spread(int count, const std::function<QString(int)>& label) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> coordinate(0, 1000);
    QStringList rows;
    for (int i = 1; i <= count; ++i)
        rows << label(i) + u'\t' + DefaultTextFloat(coordinate(random)) + u'\t' +
                    DefaultTextFloat(coordinate(random)) + QStringLiteral("\t0");
    return loaded(rows);
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

// The view over the main window's list, opened from its menu.
struct ViewWindow : WindowFixture {
    explicit ViewWindow(const std::vector<PointRecord>& points) : WindowFixture(points) {
        InstallViewerCommands(window);
        window.show();
        trigger("view");
    }
    frmVisualisation* view() const { return window.findChild<frmVisualisation*>(); }
    QAction* item(const char* name) const {
        return view()->findChild<QAction*>(QString::fromLatin1(name));
    }
    // The check marks of the zoom and pan items, context menu's included.
    QString marks() const {
        QString out;
        for (const char* name : {"MnuZoomp", "MnuZoomm", "Mnu_Commande_Zoomp", "Mnu_Commande_Zoomm",
                                 "Mnu_Commande_Deplacement", "MnuDeplacement"})
            out += item(name)->isChecked() ? u'x' : u'.';
        return out;
    }
};

// An opening after a count and an earlier opening, and what loading gives.
struct Opening {
    float count;
    QStringList earlier; // the rows of an earlier opening
    QStringList rows;
    QString extent; // right top left bottom, of -Y
    QString filled; // "index:label" of each entry filled
    int error = 0;
};

// Points, a click on them as a fraction of the surface's width and height,
// and the world position it falls on in the whole set's window.
struct Scene {
    std::vector<PointRecord> points;
    QPointF at;
    QPointF world;
    bool refusedFirst; // a "Zoom +" click the surface refuses comes first
};

struct WindowClick {
    Scene scene;
    const char* mode; // "": none chosen yet
    QString marks;    // the check marks it sets
    int clicks;
    float widthFactor; // of the new window to the one drawn
};

} // namespace
Q_DECLARE_METATYPE(Opening)
Q_DECLARE_METATYPE(WindowClick)
Q_DECLARE_METATYPE(std::vector<PointRecord>)

class TestPointView : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(frenchFormat()); }
    void loading_data();
    void loading();
    void sizes_data();
    void sizes();
    void drawing();
    void fastIsPlain_data();
    void fastIsPlain();
    void interruptedPass_data();
    void interruptedPass();
    void openings_data();
    void openings();
    void resizing_data();
    void resizing();
    void windowClicks_data();
    void windowClicks();
};

// The copy, -Y throughout. Each row fills the entry at count + 1 and adds 1
// to the count, both 32-bit floats; the count and the extent are kept from
// the earlier openings, so a new opening's entries go after as many empty
// ones, the extent only widens, and past 2^24 the rows fill one entry in turn.
// The rows are read in parts side by side: the entries stay in order, and an
// error keeps what the rows before it gave and nothing after.
void TestPointView::loading_data() {
    Rows<Opening> row;
    const QStringList abcd{"A\t0\t0\t0", "B\t10\t10\t0", "C\t20\t5\t0", "D\t30\t1\t0"};
    row("first opening",
        {0, {}, {"A\t10\t20\t0", "B\t-5,5\t40\t1", "C\t7\t-3\t2"}, "10 3 -5,5 -40", "1:A 2:B 3:C"});
    // A lone surrogate is no UTF-8: the grid keeps such a row in UTF-16.
    const QString wide = QString(QChar(0xD800)) + u'x';
    row("accented and wide identifiers",
        {0, {}, {"Pé\t1\t2\t0", wide + "\t3\t4\t0"}, "3 -2 1 -4", "1:Pé 2:" + wide});
    const QStringList cde{"C\t100\t100\t0", "D\t110\t120\t0", "E\t105\t130\t0"};
    row("second opening", {0, {"A\t0\t0\t0", "B\t10\t10\t0"}, cde, "110 0 0 -130", "3:C 4:D 5:E"});
    row("reaching 2^24", {16777214, {}, abcd, "30 0 0 -10", "16777215:A 16777216:D"});
    row("at 2^24", {16777216, {}, abcd, "30 0 0 -10", "16777216:D"});
    const auto [many, manyFilled] = numbered(70000);
    row("many parts", {0, {}, many, "70000 -1 1 -977", manyFilled});
    const auto [late, lateFilled] = numbered(70000, 50001);
    row("error late in a part",
        {0, {}, late, "50000 -1 1 -977", lateFilled, int(RuntimeError::TypeMismatch)});
    const auto [early, earlyFilled] = numbered(8192, 3);
    row("error in the first rows",
        {0, {}, early, "2 -2 1 -3", earlyFilled, int(RuntimeError::TypeMismatch)});
    row("beyond 32 bits", {0, {}, {"A\t1E+39\t2\t0"}, "0 0 0 0", "", int(RuntimeError::Overflow)});
}

void TestPointView::loading() {
    QFETCH(Opening, c);
    PointGridModel grid;
    for (const QString& text : c.rows)
        grid.addItem(text);
    PointView view = loaded(c.earlier);
    view.viewPointCount += c.count; // as openings long ago left it
    // What the commands of an earlier opening left.
    view.navigationMode = viewmode::pan();
    view.zoomFactor = 1.4f;
    view.pointSize = 7;
    view.labelSize = 9;
    NoProgress none;
    QCOMPARE(errorOf([&] { LoadView(view, grid, none); }), c.error);
    QStringList filled;
    for (std::size_t i = view.firstEntry; i < view.firstEntry + view.points.size(); ++i) {
        if (!view.entry(i).Label.isEmpty())
            filled << QString::number(i) + u':' + view.entry(i).Label;
        QCOMPARE(view.entry(i).ColourCode, int16_t(1));
    }
    QCOMPARE(filled.join(u' '), c.filled);
    QCOMPARE(view.viewPointCount, filled.value(filled.size() - 1).section(u':', 0, 0).toFloat());
    // Only the filled entries take memory; entry 0 stays empty.
    QVERIFY(view.points.size() <= std::size_t(c.rows.size()));
    QVERIFY(view.entry(0).Label.isEmpty());
    QCOMPARE(box(view.fullExtent), c.extent);
    if (c.error != 0)
        return;
    QCOMPARE(box(view.visibleWindow), c.extent);
    // The mode stays; the zoom factor and the sizes start again.
    QCOMPARE(view.navigationMode, viewmode::pan());
    QVERIFY(view.zoomFactor == 1.0f && view.pointSize == 2 && view.labelSize == 6);
}

// The size questions: asked again outside 1 to 10, half to even, and a reply
// that is no number leaves the size as it was.
void TestPointView::sizes_data() {
    QTest::addColumn<QStringList>("replies");
    QTest::addColumn<bool>("changed");
    QTest::addColumn<int>("size");
    QTest::newRow("10 accepted") << QStringList{"10"} << true << 10;
    QTest::newRow("0 then 11 then 3") << QStringList{"0", "11", "3"} << true << 3;
    QTest::newRow("3,5 gives 4") << QStringList{"3,5"} << true << 4;
    QTest::newRow("2,5 gives 2") << QStringList{"2,5"} << true << 2;
    QTest::newRow("cancel") << QStringList{""} << false << 5;
    QTest::newRow("beyond 16 bits") << QStringList{"40000"} << false << 5;
    QTest::newRow("0 then cancel keeps 0") << QStringList{"0", ""} << false << 0;
}

void TestPointView::sizes() {
    QFETCH(QStringList, replies);
    QFETCH(bool, changed);
    QFETCH(int, size);
    for (const bool labels : {false, true}) {
        PointView view;
        view.pointSize = 5;
        view.labelSize = 5;
        ScriptedDialogs boxes;
        for (const QString& reply : replies)
            boxes.answerInput(reply);
        QCOMPARE(labels ? AskLabelSize(view, boxes) : AskPointSize(view, boxes), changed);
        QCOMPARE(labels ? view.labelSize : view.pointSize, int16_t(size));
        QCOMPARE(labels ? view.pointSize : view.labelSize, int16_t(5));
        const QString what = labels ? QStringLiteral("matricules") : QStringLiteral("points");
        const QString asked = QStringLiteral("Nouvelle taille des %1: Entrez la taille des %1 (de "
                                             "1 à 10) [2]")
                                  .arg(what);
        for (const RecordedBox& box : boxes.boxes())
            QCOMPARE(box.title + ": " + box.prompt + " [" + box.defaultReply + ']', asked);
        QCOMPARE(int(boxes.boxes().size()), replies.size());
    }
}

// The picture: each drawn point's dot in palette blue where it maps (X to the
// right, Y downwards, the window stretched), its label's top-left corner at
// X + size and floor(-Y) + size in world units, the last point missing, and
// the filter "des points" clearing it.
void TestPointView::drawing() {
    // Corners of a 0..100 x 0..50 rectangle, a point inside, then the last.
    PointView view = loaded(
        {"SW\t0\t0\t0", "NE\t100\t50\t0", "NW\t0\t50\t0", "7\t50,7\t25,2\t0", "LAST\t100\t0\t0"});
    Zone zone;
    zone.resize(1001, 501); // about 10 pixels a world unit
    QVERIFY(zone.DrawView(view, 3, true, true));
    QCOMPARE(zone.passes(), 1);
    const QImage& picture = zone.picture();
    QCOMPARE(picture.pixel(507, 252), QColor(0x000080).rgb()); // 7 at (50.7, 25.2)
    QVERIFY(inkNear(picture, {0, 0}));        // SW: smallest Y at the top, smallest X left
    QVERIFY(inkNear(picture, {1000, 500}));   // NE: largest Y at the bottom
    QVERIFY(inkNear(picture, {0, 500}));      // NW
    QVERIFY(!inkNear(picture, {1000, 0}, 4)); // LAST is never drawn
    // 7's label from (50.7 + 3, floor(-25.2) + 3) = (53.7, -23): pixel
    // (537.5, 230.5), its first ink within a few pixels right and below.
    QRect ink;
    for (int y = 200; y < 300; ++y)
        for (int x = 500; x < 600; ++x)
            if (const QRgb p = picture.pixel(x, y); qRed(p) < 160 && qBlue(p) - qRed(p) < 40)
                ink |= QRect(x, y, 1, 1);
    QVERIFY2(ink.left() >= 537 && ink.left() <= 540 && ink.top() >= 229 && ink.top() <= 233,
             qPrintable(QStringLiteral("label ink from (%1, %2)").arg(ink.left()).arg(ink.top())));
    // Asked for again with nothing changed, the picture is kept; any change
    // draws it anew: the filters, the pen and label sizes, the surface, a new copy.
    QVERIFY(zone.DrawView(view, 3, true, true));
    QVERIFY(zone.DrawView(view, 3, false, true));
    QCOMPARE(zone.passes(), 2);
    QVERIFY(!inkNear(zone.picture(), {500, 250}, 500));
    QVERIFY(zone.DrawView(view, 3, true, false)); // no stations in a loaded list
    QVERIFY(inkNear(zone.picture(), {507, 252}));
    QVERIFY(zone.DrawView(view, 2, true, false));
    view.labelSize = 8;
    QVERIFY(zone.DrawView(view, 2, true, false));
    ++view.generation;
    QVERIFY(zone.DrawView(view, 2, true, false));
    zone.resize(1000, 501);
    QVERIFY(zone.DrawView(view, 2, true, false));
    QCOMPARE(zone.passes(), 7);
}

// The copied glyphs and dots give the painter's own picture: same pixels,
// with at most a step of rounding where two blends meet.
void TestPointView::fastIsPlain_data() {
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

void TestPointView::fastIsPlain() {
    QFETCH(int, count);
    QFETCH(int, size);
    QFETCH(int, labelSize);
    QFETCH(QString, labels);
    QFETCH(float, zoom);
    QFETCH(QSize, surface);
    PointView view = spread(count, [&](int i) {
        if (labels == u"mixed")
            return (i % 3 == 0 ? QStringLiteral("AV") : QStringLiteral("St")) + DefaultText(i);
        if (labels == u"signed")
            return DefaultText((i % 2 ? -1.0 : 1.0) * i / 8.0);
        return DefaultText(1000000 + i * 37);
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

// A pass interrupted while it processes its events: a click asks for another
// window, which does not run inside the pass: the pass starts afresh and ends
// with the new picture. Closing the view, or the main window with it, stops
// the pass, and the window goes once the pass has returned.
void TestPointView::interruptedPass_data() {
    QTest::addColumn<QString>("by");
    QTest::newRow("a click") << "click";
    QTest::newRow("the view closed") << "view";
    QTest::newRow("the program closed") << "program";
}

void TestPointView::interruptedPass() {
    QFETCH(QString, by);
    std::vector<PointRecord> points;
    for (int i = 0; i < 300000; ++i)
        points.push_back({i % 997 * 1.0, i % 1009 * 1.0, 0, DefaultText(i)});
    ViewWindow f(points);
    QPointer<frmVisualisation> view = f.view();
    QPointer<Zone> zone = view->zone();
    QApplication::processEvents(); // whatever activation draws
    const int before = zone->passes();
    const ViewBox first = zone->drawnWindow();
    bool busy = false;
    bool returnedAtOnce = false;
    // Fires at the pass's first batch of events.
    QTimer::singleShot(0, &f.window, [&] {
        busy = zone->busy();
        if (by == u"click") {
            QTest::mouseClick(zone, Qt::LeftButton, {}, QPoint(100, 100));
            returnedAtOnce = zone->busy() && zone->passes() == before;
        } else if (by == u"program") {
            f.window.close();
        } else {
            view->close();
        }
    });
    // A new surface is a new picture, drawn over many batches.
    zone->resize(500, 400);
    view->DrawView(3);
    QVERIFY(busy);
    QVERIFY(view && zone && !zone->busy());
    if (by == u"click") {
        // One whole pass, of the window the click asked for: the first never ended.
        QVERIFY(returnedAtOnce && zone->complete());
        QCOMPARE(zone->passes(), before + 1);
        QVERIFY(!(zone->drawnWindow() == first));
        PointView copy;
        NoProgress none;
        LoadView(copy, f.state.Grid, none);
        QImage expected = white(zone->picture().size());
        const LabelGlyphs glyphs(LabelFont(6));
        const ViewPicture picture(copy, {zone->drawnWindow(), 2, 6, true, true}, expected, glyphs);
        picture.drawEntries(0, picture.entries());
        QVERIFY(zone->picture() == expected);
        QVERIFY(zone->longestGapMs() < 1000);
        return;
    }
    // Stopped before its end, and still there until the events go round.
    QCOMPARE(zone->passes(), before);
    QVERIFY(!view->isVisible());
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!view);
    if (by == u"view") {
        // And the view opens again.
        f.trigger("view");
        QVERIFY(f.view() != nullptr);
    }
}

// Opening from the main window: an empty list is refused with the message;
// one point, or points on one vertical line, open the view, which draws nothing and
// says nothing: the surface refuses a window of no width or height.
void TestPointView::openings_data() {
    QTest::addColumn<std::vector<PointRecord>>("points");
    QTest::newRow("no point") << std::vector<PointRecord>{};
    QTest::newRow("one point") << std::vector<PointRecord>{{5, 5, 0, "A"}};
    QTest::newRow("one vertical line")
        << std::vector<PointRecord>{{5, 5, 0, "A"}, {5, 9, 0, "B"}, {5, 1, 0, "C"}};
}

void TestPointView::openings() {
    QFETCH(std::vector<PointRecord>, points);
    ViewWindow f(points);
    const QStringList refusal{"Tovalin: Nombre de points insuffusant [critical ok]"};
    QCOMPARE(shownBoxes(f.boxes), points.empty() ? refusal : QStringList());
    QCOMPARE(f.view() != nullptr, !points.empty());
    if (points.empty())
        return;
    QVERIFY(f.view()->isVisible());
    QCOMPARE(f.view()->windowTitle(), QStringLiteral("Visualisation des points"));
    QStringList captions;
    for (const char* menu : {"MnuZoom", "MnuPoint", "MnuAffichage", "Mnu_Commande"}) {
        for (QAction* action : f.view()->findChild<QMenu*>(QString::fromLatin1(menu))->actions())
            captions << (action->isSeparator() ? QStringLiteral("-") : action->text());
    }
    QCOMPARE(captions, items("Zoom + & Zoom - & Déplacement & Recentrer & Taille des points & "
                             "Taille des matricules & des stations & des points & Zoom + & "
                             "Zoom - & - & Déplacerment & Centrer"));
    QVERIFY(f.item("MnuAffichageSt")->isChecked() && f.item("MnuAffichagePt")->isChecked());
    QVERIFY(!f.view()->DrawView(2));
    QVERIFY(f.view()->zone()->picture().isNull());
    QVERIFY(f.boxes.boxes().empty());
}

// The surface fills the window but 690 twips of its height and 120 of its
// width (46 and 8 pixels) while the window is larger than that; a smaller
// window leaves the surface at its last size.
void TestPointView::resizing_data() {
    QTest::addColumn<QSize>("window");
    QTest::addColumn<QSize>("zone");
    QTest::newRow("large") << QSize(500, 400) << QSize(492, 354);
    QTest::newRow("just larger") << QSize(9, 47) << QSize(1, 1);
    QTest::newRow("as low as the allowance") << QSize(300, 46) << QSize(492, 354);
    QTest::newRow("as narrow as the allowance") << QSize(8, 300) << QSize(492, 354);
}

void TestPointView::resizing() {
    QFETCH(QSize, window);
    QFETCH(QSize, zone);
    PointView points;
    ScriptedDialogs boxes;
    frmVisualisation view(points, boxes, boxes);
    view.show();
    // The sizes are the window's outer ones, its frame included.
    const QSize frame = view.frameGeometry().size() - view.size();
    view.resize(QSize(500, 400) - frame);
    view.resize(window - frame);
    QCOMPARE(view.frameGeometry().size(), window);
    QCOMPARE(view.zone()->size(), zone);
}

// Clicks on the surface: the pixel read in the window drawn last (x across
// its width, y down its height), the new window centred there and sized as
// the mode says; Recentrer then shows the whole set at once. Points half a
// metre apart at a northing where a 32-bit float steps by 0.5: a "Zoom +"
// click gives a window of no height, which the surface refuses silently,
// and the next clicks work from the window drawn last.
void TestPointView::windowClicks_data() {
    Rows<WindowClick> row;
    const Scene plan{
        {{0, 0, 0, "A"}, {100, 50, 0, "B"}, {40, 20, 0, "C"}}, {0.25, 0.75}, {25, -37.5}, false};
    row("no mode: same size", {plan, "", "......", 1, 1});
    row("pan", {plan, "MnuDeplacement", "....x.", 1, 1});
    row("zoom out", {plan, "MnuZoomm", ".x.x..", 1, 1 / 0.6f});
    // 1/1.4 of the width after each click, not 1/1.4^n of the first.
    row("zoom in thrice", {plan, "Mnu_Commande_Zoomp", "x.x...", 3, 1 / (1.4f * 1.4f * 1.4f)});
    // Low on the surface, where -Y falls on an odd step of the float: half a
    // step either way does not round back onto it.
    const Scene close{
        {{1000, 6862100, 0, "A"}, {1000.5, 6862100.5, 0, "B"}, {1000.2, 6862100, 0, "C"}},
        {0.5, 0.9},
        {1000.25, -6862100.45},
        true};
    row("zoom out after a refused window", {close, "Mnu_Commande_Zoomm", ".x.x..", 1, 1 / 0.6f});
    row("pan after a refused window", {close, "Mnu_Commande_Deplacement", "....x.", 1, 1});
}

void TestPointView::windowClicks() {
    QFETCH(WindowClick, c);
    ViewWindow f(c.scene.points);
    Zone* zone = f.view()->zone();
    const auto click = [&](QPointF at) {
        QTest::mouseClick(zone, Qt::LeftButton, {},
                          QPoint(int(zone->width() * at.x()), int(zone->height() * at.y())));
    };
    f.item("MnuRecentrer")->trigger();
    const ViewBox drawn = zone->drawnWindow();
    QVERIFY(drawn.top != drawn.bottom);
    if (c.scene.refusedFirst) {
        f.item("MnuZoomp")->trigger();
        click({0.5, 0.5});
        QVERIFY(zone->drawnWindow() == drawn);
    }
    if (*c.mode)
        f.item(c.mode)->trigger();
    QCOMPARE(f.marks(), c.marks);
    int passes = zone->passes();
    click(c.scene.at);
    const ViewBox first = zone->drawnWindow();
    for (int i = 1; i < c.clicks; ++i)
        click(c.scene.at);
    const ViewBox now = zone->drawnWindow();
    QVERIFY(zone->passes() >= passes + c.clicks);
    QVERIFY(now.top != now.bottom);
    QVERIFY(qAbs((now.right - now.left) / (drawn.right - drawn.left) - c.widthFactor) < 1e-3f);
    // Centred on the click, within a pixel (or the float's step, where coarser).
    const auto near = [](float value, double expected, float pixel) {
        const float step = std::nextafter(std::abs(value), INFINITY) - std::abs(value);
        return std::abs(value - expected) <= std::max(std::abs(pixel), step);
    };
    QVERIFY(near((first.left + first.right) / 2, c.scene.world.x(),
                 (drawn.right - drawn.left) / zone->width()));
    QVERIFY(near((first.top + first.bottom) / 2, c.scene.world.y(),
                 (drawn.bottom - drawn.top) / zone->height()));
    passes = zone->passes();
    // From the menu the mode was chosen in.
    f.item(QByteArray(c.mode).startsWith("Mnu_Commande") ? "Mnu_Commande_Centrer" : "MnuRecentrer")
        ->trigger();
    QVERIFY(zone->passes() > passes);
    QVERIFY(zone->drawnWindow() == drawn);
    QVERIFY(f.boxes.boxes().empty());
    // Closing drops the controls: the next opening's menus come back without marks.
    f.view()->close();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    f.trigger("view");
    QCOMPARE(f.marks(), QStringLiteral("......"));
}

TOVALIN_TEST(TestPointView)
#include "tst_PointView.moc"
