#include "RuntimeErrors.h"
#include "TestRunner.h"
#include "TestSupport.h"
#include "WindowFixture.h"

#include "platform/PointGridModel.h"
#include "viewer/PointView.h"
#include "viewer/ViewerCommands.h"
#include "viewer/Zone.h"
#include "viewer/frmVisualisation.h"

#include <QMenu>

using namespace testing;
using namespace platform;

namespace {

// A grid as the main window holds it: header row, then "Matricule\tX\tY\tZ".
void fill(PointGridModel& grid, const QStringList& rows) {
    grid.setRows(1);
    for (const QString& row : rows)
        grid.addItem(row);
}

PointView loaded(const QStringList& rows) {
    PointGridModel grid;
    fill(grid, rows);
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

} // namespace

class TestPointView : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(frenchFormat()); }
    void loading_data();
    void loading();
    void reopening();
    void countPastTheFloat_data();
    void countPastTheFloat();
    void clicks_data();
    void clicks();
    void sizes_data();
    void sizes();
    void drawing();
    void emptyDrawings_data();
    void emptyDrawings();
    void window();
    void clicksAfterARefusedWindow_data();
    void clicksAfterARefusedWindow();
};

// The copy, its count and extents; -Y throughout; index 0 left empty.
void TestPointView::loading_data() {
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QString>("extent"); // right top left bottom
    QTest::addColumn<int>("error");      // 0: none
    QTest::newRow("three points") << QStringList{"A\t10\t20\t0", "B\t-5,5\t40\t1", "C\t7\t-3\t2"}
                                  << "10 3 -5,5 -40" << 0;
    QTest::newRow("one point") << QStringList{"A\t1\t2\t0"} << "1 -2 1 -2" << 0;
    QTest::newRow("a text that is no number")
        << QStringList{"A\t1\t2\t0", "B\tx\t2\t0"} << "" << int(RuntimeError::TypeMismatch);
    QTest::newRow("beyond 32 bits")
        << QStringList{"A\t1E+39\t2\t0"} << "" << int(RuntimeError::Overflow);
}

void TestPointView::loading() {
    QFETCH(QStringList, rows);
    QFETCH(QString, extent);
    QFETCH(int, error);
    if (error != 0) {
        QCOMPARE(errorOf([&] { loaded(rows); }), error);
        return;
    }
    const PointView view = loaded(rows);
    QCOMPARE(view.viewPointCount, float(rows.size()));
    QCOMPARE(box(view.fullExtent), extent);
    QCOMPARE(box(view.visibleWindow), extent);
    QCOMPARE(view.entry(0).ColourCode, int16_t(0));
    QCOMPARE(view.entry(1).Label, QStringLiteral("A"));
    QCOMPARE(view.entry(1).ColourCode, int16_t(1));
    // The drawing visits 0 to count - 1: never the empty entry 0 drawn, never
    // the last point loaded.
    QCOMPARE(DrawnEntryCount(view), rows.size());
    QCOMPARE(view.entry(std::size_t(rows.size())).Label,
             QString(QChar(char16_t(u'A' + rows.size() - 1))));
}

// A second opening on another set: the count and the extent are kept, the
// new entries come after as many empty ones, the mode stays.
void TestPointView::reopening() {
    PointGridModel grid;
    fill(grid, {"A\t0\t0\t0", "B\t10\t10\t0"});
    PointView view;
    NoProgress none;
    LoadView(view, grid, none);
    view.navigationMode = viewmode::pan();
    view.pointSize = 7;
    view.zoomFactor = 1.4f;
    fill(grid, {"C\t100\t100\t0", "D\t110\t120\t0", "E\t105\t130\t0"});
    LoadView(view, grid, none);
    QCOMPARE(view.viewPointCount, 5.0f);
    QCOMPARE(box(view.fullExtent), QStringLiteral("110 0 0 -130"));
    QCOMPARE(box(view.visibleWindow), box(view.fullExtent));
    QCOMPARE(view.entry(3).Label, QStringLiteral("C"));
    QVERIFY(view.entry(1).Label.isEmpty() && view.entry(2).Label.isEmpty());
    // The empty entries of the first opening are not kept.
    QCOMPARE(view.points.size(), std::size_t(3));
    QCOMPARE(view.navigationMode, viewmode::pan());
    QCOMPARE(view.pointSize, int16_t(2));
    QCOMPARE(view.labelSize, int16_t(6));
    QCOMPARE(view.zoomFactor, 1.0f);
    // Drawn: entries 0 to 4, so C and D of the new set and not E.
    QCOMPARE(DrawnEntryCount(view), 5);
}

// Openings whose count passes 2^24, where a 32-bit count stops growing: no
// error, the rows fill the entries the float arithmetic gives, the view opens
// again, and only the filled entries take memory.
void TestPointView::countPastTheFloat_data() {
    QTest::addColumn<float>("count");    // kept from the earlier openings
    QTest::addColumn<QString>("filled"); // index:label after loading A B C D
    QTest::addColumn<float>("after");
    QTest::newRow("below") << 1000.0f << "1001:A 1002:B 1003:C 1004:D" << 1004.0f;
    QTest::newRow("reaching 2^24") << 16777214.0f << "16777215:A 16777216:D" << 16777216.0f;
    QTest::newRow("at 2^24") << 16777216.0f << "16777216:D" << 16777216.0f;
}

void TestPointView::countPastTheFloat() {
    QFETCH(float, count);
    QFETCH(QString, filled);
    QFETCH(float, after);
    PointGridModel grid;
    fill(grid, {"A\t0\t0\t0", "B\t10\t10\t0", "C\t20\t5\t0", "D\t30\t1\t0"});
    PointView view;
    view.viewPointCount = count;
    NoProgress none;
    for (int opening = 0; opening < 2; ++opening) {
        QCOMPARE(errorOf([&] { LoadView(view, grid, none); }), 0);
        QStringList found;
        for (std::size_t i = view.firstEntry; i < view.firstEntry + view.points.size(); ++i)
            if (!view.entry(i).Label.isEmpty())
                found << QString::number(i) + u':' + view.entry(i).Label;
        if (opening == 0) {
            QCOMPARE(found.join(u' '), filled);
            QCOMPARE(view.viewPointCount, after);
        }
        QVERIFY(view.points.size() <= 4);
        QVERIFY(view.entry(0).Label.isEmpty() &&
                view.entry(std::size_t(count) - 1).Label.isEmpty());
    }
}

// The window after clicks at (70, -10) in each mode, from a window 0..100
// wide and 0..-50 high (right 100, top 0, left 0, bottom -50): the numbers
// are those of 32-bit arithmetic in the order right, left, top, bottom.
void TestPointView::clicks_data() {
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("clicks");
    QTest::addColumn<QString>("expected"); // right top left bottom
    QTest::addColumn<float>("factor");
    QTest::newRow("no mode: same size, centred") << "" << 1 << "120 15 20 -35" << 1.0f;
    QTest::newRow("pan") << viewmode::pan() << 1 << "120 15 20 -35" << 1.0f;
    QTest::newRow("zoom in") << viewmode::zoomIn() << 1 << "105,7143 7,857143 34,28571 -27,85714"
                             << 1.4f;
    // 1/1.4 of the width after each click, not 1/1.4^n of the first.
    QTest::newRow("zoom in thrice")
        << viewmode::zoomIn() << 3 << "88,22157 -0,8892117 51,77842 -19,11079" << 1.4f;
    QTest::newRow("zoom out") << viewmode::zoomOut() << 1 << "153,3333 31,66666 -13,33333 -51,66666"
                              << 0.6f;
}

void TestPointView::clicks() {
    QFETCH(QString, mode);
    QFETCH(int, clicks);
    QFETCH(QString, expected);
    QFETCH(float, factor);
    PointView view;
    view.visibleWindow = ViewBox{100, 0, 0, -50};
    view.navigationMode = mode;
    for (int i = 0; i < clicks; ++i)
        ClickAt(view, 70, -10, view.visibleWindow);
    QCOMPARE(box(view.visibleWindow), expected);
    QCOMPARE(view.zoomFactor, factor);
    if (mode == viewmode::zoomIn() && clicks == 3) {
        const float width = view.visibleWindow.right - view.visibleWindow.left;
        QVERIFY(qAbs(width - 100 / (1.4f * 1.4f * 1.4f)) < 1e-3f);
    }
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
    QTest::newRow("letters") << QStringList{"abc"} << false << 5;
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
        QCOMPARE(int(boxes.boxes().size()), replies.size());
        const RecordedBox& asked = boxes.boxes().front();
        QCOMPARE(asked.defaultReply, QStringLiteral("2"));
        QCOMPARE(asked.prompt, labels
                                   ? QStringLiteral("Entrez la taille des matricules (de 1 à 10)")
                                   : QStringLiteral("Entrez la taille des points (de 1 à 10)"));
        QCOMPARE(asked.title, labels ? QStringLiteral("Nouvelle taille des matricules")
                                     : QStringLiteral("Nouvelle taille des points"));
    }
}

namespace {

bool inkNear(const QImage& image, QPoint at, int radius = 2) {
    for (int y = at.y() - radius; y <= at.y() + radius; ++y)
        for (int x = at.x() - radius; x <= at.x() + radius; ++x)
            if (image.rect().contains(x, y) && image.pixel(x, y) != qRgb(255, 255, 255))
                return true;
    return false;
}

bool blank(const QImage& image) {
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != qRgb(255, 255, 255))
                return false;
    return true;
}

} // namespace

// The picture: each drawn point's dot in palette blue where it maps (X to the
// right, Y downwards, the window stretched), the last point missing, and the
// filter "des points" clearing it.
void TestPointView::drawing() {
    // Corners of a 0..100 x 0..50 rectangle, then its centre, then the last.
    PointView view = loaded(
        {"SW\t0\t0\t0", "NE\t100\t50\t0", "NW\t0\t50\t0", "C\t50\t25\t0", "LAST\t100\t0\t0"});
    Zone zone;
    zone.resize(201, 101);
    QVERIFY(zone.DrawView(view, 3, true, true));
    const QImage& picture = zone.picture();
    // C at (50, 25) maps to (100.5, 50.5) of a 201 x 101 surface.
    QCOMPARE(picture.pixel(100, 50), QColor(0x000080).rgb());
    QVERIFY(inkNear(picture, {0, 0}));       // SW: smallest Y at the top, smallest X left
    QVERIFY(inkNear(picture, {200, 100}));   // NE: largest Y at the bottom
    QVERIFY(inkNear(picture, {0, 100}));     // NW
    QVERIFY(!inkNear(picture, {200, 0}, 4)); // LAST is never drawn
    // C's label starts 3 world units right of it and at floor(-25) + 3.
    bool black = false;
    for (int y = 44; y < 62; ++y)
        for (int x = 106; x < 130; ++x)
            black = black || qGray(picture.pixel(x, y)) < 100;
    QVERIFY(black);
    QVERIFY(zone.DrawView(view, 3, false, true));
    QVERIFY(blank(zone.picture()));
    QVERIFY(zone.DrawView(view, 3, true, false)); // no stations in a loaded list
    QVERIFY(inkNear(zone.picture(), {100, 50}));
}

// A single point or points on one line: the surface cannot take the window,
// and the pass ends without a picture and without a message.
void TestPointView::emptyDrawings_data() {
    QTest::addColumn<QStringList>("rows");
    QTest::newRow("one point") << QStringList{"A\t5\t5\t0"};
    QTest::newRow("one vertical line") << QStringList{"A\t5\t5\t0", "B\t5\t9\t0", "C\t5\t1\t0"};
    QTest::newRow("one horizontal line") << QStringList{"A\t1\t5\t0", "B\t9\t5\t0"};
}

void TestPointView::emptyDrawings() {
    QFETCH(QStringList, rows);
    const PointView view = loaded(rows);
    Zone zone;
    zone.resize(50, 50);
    QVERIFY(!zone.DrawView(view, 2, true, true));
    QVERIFY(zone.picture().isNull());
}

// Through the main window: the message for an empty list, the menus and
// their check marks after each mode, the context menu's captions.
void TestPointView::window() {
    WindowFixture f;
    InstallViewerCommands(f.window);
    f.trigger("view");
    QCOMPARE(int(f.boxes.boxes().size()), 1);
    QCOMPARE(f.boxes.boxes().front().prompt, QStringLiteral("Nombre de points insuffusant"));
    QCOMPARE(f.boxes.boxes().front().icon, MsgIcon::Critical);
    QVERIFY(f.window.findChild<frmVisualisation*>() == nullptr);

    f.boxes.clear();
    f.state.AddPoint({0, 0, 0, QStringLiteral("1")});
    f.state.AddPoint({10, 10, 0, QStringLiteral("2")});
    f.state.AddPoint({20, 5, 0, QStringLiteral("3")});
    f.state.RefreshPointList();
    f.trigger("view");
    auto* view = f.window.findChild<frmVisualisation*>();
    QVERIFY(view != nullptr);
    QCOMPARE(view->windowTitle(), QStringLiteral("Visualisation des points"));
    const auto item = [&](const char* name) {
        return view->findChild<QAction*>(QString::fromLatin1(name));
    };
    const QStringList checkable{"MnuZoomp", "MnuZoomm", "Mnu_Commande_Zoomp", "Mnu_Commande_Zoomm",
                                "Mnu_Commande_Deplacement"};
    const auto marks = [&] {
        QString out;
        for (const QString& name : checkable)
            out += item(name.toLatin1().constData())->isChecked() ? u'x' : u'.';
        return out + (item("MnuDeplacement")->isChecked() ? u'x' : u'.');
    };
    QCOMPARE(marks(), QStringLiteral("......"));
    item("MnuZoomp")->trigger();
    QCOMPARE(marks(), QStringLiteral("x.x..."));
    item("Mnu_Commande_Zoomm")->trigger();
    QCOMPARE(marks(), QStringLiteral(".x.x.."));
    item("MnuDeplacement")->trigger();
    QCOMPARE(marks(), QStringLiteral("....x."));
    item("Mnu_Commande_Deplacement")->trigger();
    QCOMPARE(marks(), QStringLiteral("....x."));
    QVERIFY(item("MnuAffichageSt")->isChecked() && item("MnuAffichagePt")->isChecked());

    auto* context = view->findChild<QMenu*>(QStringLiteral("Mnu_Commande"));
    QStringList captions;
    for (QAction* action : context->actions())
        captions << (action->isSeparator() ? QStringLiteral("-") : action->text());
    QCOMPARE(captions, (QStringList{"Zoom +", "Zoom -", "-", "Déplacerment", "Centrer"}));
    QCOMPARE(item("MnuPointTaille")->text(), QStringLiteral("Taille des points"));
    QCOMPARE(item("MnuPointMatricule")->text(), QStringLiteral("Taille des matricules"));
    QCOMPARE(item("MnuRecentrer")->text(), QStringLiteral("Recentrer"));
    QCOMPARE(f.boxes.boxes().size(), std::size_t(0));

    // Closing drops the controls; the mode stays for the next opening, while
    // the menus come back without marks.
    view->close();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    f.trigger("view");
    view = f.window.findChild<frmVisualisation*>();
    QVERIFY(view != nullptr);
    QCOMPARE(marks(), QStringLiteral("......"));
}

// Points over half a metre at a northing where a 32-bit float steps by 0.5:
// a "Zoom +" click gives a window of no height, which the surface refuses;
// the next clicks still work, from the window drawn last.
void TestPointView::clicksAfterARefusedWindow_data() {
    QTest::addColumn<QString>("mode");
    QTest::addColumn<float>("widthFactor"); // of the new window to the one drawn
    QTest::newRow("Zoom -") << "MnuZoomm" << 1 / 0.6f;
    QTest::newRow("Déplacement") << "MnuDeplacement" << 1.0f;
}

void TestPointView::clicksAfterARefusedWindow() {
    QFETCH(QString, mode);
    QFETCH(float, widthFactor);
    WindowFixture f(
        {{1000, 6862100, 0, "A"}, {1000.5, 6862100.5, 0, "B"}, {1000.2, 6862100, 0, "C"}});
    InstallViewerCommands(f.window);
    f.trigger("view");
    auto* view = f.window.findChild<frmVisualisation*>();
    const auto item = [&](const QString& name) { return view->findChild<QAction*>(name); };
    Zone* zone = view->zone();
    item(QStringLiteral("MnuRecentrer"))->trigger();
    const ViewBox drawn = zone->drawnWindow();
    QVERIFY(drawn.top != drawn.bottom);
    item(QStringLiteral("MnuZoomp"))->trigger();
    QTest::mouseClick(zone, Qt::LeftButton, {}, zone->rect().center());
    QVERIFY(zone->drawnWindow() == drawn); // refused, silently
    QVERIFY(f.boxes.boxes().empty());
    item(mode)->trigger();
    const int passes = zone->passes();
    // Low on the surface, where -Y falls on an odd step of the float: half a
    // step either way does not round back onto it.
    QTest::mouseClick(zone, Qt::LeftButton, {}, QPoint(zone->width() / 2, zone->height() * 9 / 10));
    const ViewBox now = zone->drawnWindow();
    QVERIFY(zone->passes() > passes);
    QVERIFY(now.top != now.bottom);
    QVERIFY(qAbs((now.right - now.left) / (drawn.right - drawn.left) - widthFactor) < 1e-3f);
}

TOVALIN_TEST(TestPointView)
#include "tst_PointView.moc"
