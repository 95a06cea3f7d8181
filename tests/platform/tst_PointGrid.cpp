#include "TestRunner.h"

#include "platform/PointGridModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace platform;

namespace {

QStringList cellsOf(const PointGridModel& grid, int row) {
    QStringList cells;
    for (int c = 0; c < grid.cols(); ++c)
        cells << grid.textMatrix(row, c);
    return cells;
}

QList<QStringList> allCells(const PointGridModel& grid) {
    QList<QStringList> rows;
    for (int r = 0; r < grid.rows(); ++r)
        rows << cellsOf(grid, r);
    return rows;
}

// A grid with a header and the given point rows.
void fill(PointGridModel& grid, const QStringList& rows) {
    grid.setTextMatrix(0, 0, QStringLiteral("Matricule"));
    grid.setTextMatrix(0, 1, QStringLiteral("X"));
    for (const QString& row : rows)
        grid.addItem(row);
}

} // namespace

class TestPointGrid : public QObject {
    Q_OBJECT

private slots:
    void rowCount();
    void outOfRange_data();
    void outOfRange();
    void addItem_data();
    void addItem();
    void anyCellText_data();
    void anyCellText();
    void removeItem();
    void currentCell();
    void replacePointRows();
    void modelRowsFollowFixedRows_data();
    void modelRowsFollowFixedRows();
    void modelSignals();
    void modelStaysConsistent();
};

void TestPointGrid::rowCount() {
    PointGridModel grid;
    QCOMPARE(grid.rows(), 1);
    QCOMPARE(cellsOf(grid, 0), (QStringList{"", "", "", ""}));
    grid.setTextMatrix(0, 2, QStringLiteral("Y"));
    grid.setRows(5);
    QCOMPARE(grid.rows(), 5);
    QCOMPARE(cellsOf(grid, 4), (QStringList{"", "", "", ""}));
    grid.setTextMatrix(4, 3, QStringLiteral("z"));
    grid.setTextMatrix(2, 0, QStringLiteral("p"));
    grid.setRows(3);
    QCOMPARE(grid.rows(), 3);
    QCOMPARE(grid.textMatrix(2, 0), QStringLiteral("p"));
    // Growing again gives empty rows, not the old texts.
    grid.setRows(5);
    QCOMPARE(grid.textMatrix(4, 3), QString());
    grid.setRows(1);
    QCOMPARE(grid.rows(), 1);
    QCOMPARE(grid.textMatrix(0, 2), QStringLiteral("Y"));
    grid.setFixedRows(1);
    grid.setRows(0);
    QCOMPARE(grid.rows(), 1); // the fixed row stays
}

void TestPointGrid::outOfRange_data() {
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("col");
    QTest::newRow("row below") << -1 << 0;
    QTest::newRow("row past the end") << 3 << 0;
    QTest::newRow("col below") << 1 << -1;
    QTest::newRow("col past the end") << 1 << 4;
}

void TestPointGrid::outOfRange() {
    QFETCH(int, row);
    QFETCH(int, col);
    PointGridModel grid;
    fill(grid, {QStringLiteral("1\t2\t3\t4"), QStringLiteral("5\t6\t7\t8")});
    const auto before = allCells(grid);
    QSignalSpy changed(&grid, &QAbstractItemModel::dataChanged);
    QCOMPARE(grid.textMatrix(row, col), QString());
    grid.setTextMatrix(row, col, QStringLiteral("x"));
    QCOMPARE(allCells(grid), before);
    QCOMPARE(grid.rows(), 3);
    QCOMPARE(changed.count(), 0);
}

void TestPointGrid::addItem_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("cells");
    QTest::newRow("all cells") << "a\tb\tc\td" << QStringList{"a", "b", "c", "d"};
    QTest::newRow("missing cells") << "a\tb" << QStringList{"a", "b", "", ""};
    QTest::newRow("extra cells") << "a\tb\tc\td\te\tf" << QStringList{"a", "b", "c", "d"};
    QTest::newRow("empty text") << "" << QStringList{"", "", "", ""};
    QTest::newRow("empty cells between") << "\t\tc\t" << QStringList{"", "", "c", ""};
    QTest::newRow("blanks kept") << " a \t b" << QStringList{" a ", " b", "", ""};
}

void TestPointGrid::addItem() {
    QFETCH(QString, text);
    QFETCH(QStringList, cells);
    PointGridModel grid;
    grid.setFixedRows(1);
    grid.addItem(QStringLiteral("first"));
    grid.addItem(text);
    QCOMPARE(grid.rows(), 3);
    QCOMPARE(cellsOf(grid, 2), cells);
    QCOMPARE(grid.textMatrix(1, 0), QStringLiteral("first"));
}

void TestPointGrid::anyCellText_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("tab") << QStringLiteral("a\tb");
    QTest::newRow("nul") << QStringView(u"a\u0000b", 3).toString();
    QTest::newRow("highest unit") << QStringView(u"\xffff\xffff", 2).toString();
    QTest::newRow("lone surrogate") << QStringView(u"\xd800", 1).toString();
    QTest::newRow("length 65534") << QString(0xFFFE, QLatin1Char('x'));
    QTest::newRow("length 65535") << QString(0xFFFF, QLatin1Char('y'));
    QTest::newRow("length 70000") << QString(70000, QLatin1Char('z'));
    QTest::newRow("length 131072") << QString(0x20000, QChar(0xFFFF));
}

void TestPointGrid::anyCellText() {
    QFETCH(QString, text);
    PointGridModel grid;
    grid.setRows(2);
    grid.setTextMatrix(1, 3, QStringLiteral("last"));
    grid.setTextMatrix(1, 1, text);
    grid.setTextMatrix(1, 0, QStringLiteral("first"));
    QCOMPARE(cellsOf(grid, 1), (QStringList{"first", text, "", "last"}));
    // Replaced by a short text, the neighbours are still intact.
    grid.setTextMatrix(1, 1, QStringLiteral("s"));
    QCOMPARE(cellsOf(grid, 1), (QStringList{"first", "s", "", "last"}));
    grid.setTextMatrix(1, 2, text);
    QCOMPARE(cellsOf(grid, 1), (QStringList{"first", "s", text, "last"}));
}

void TestPointGrid::removeItem() {
    PointGridModel grid;
    grid.setFixedRows(1);
    fill(grid, {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")});
    grid.removeItem(2);
    QCOMPARE(grid.rows(), 3);
    QCOMPARE(grid.textMatrix(1, 0), QStringLiteral("a"));
    QCOMPARE(grid.textMatrix(2, 0), QStringLiteral("c"));
    grid.removeItem(3);
    grid.removeItem(-1);
    grid.removeItem(0); // the fixed header row is not an item
    QCOMPARE(grid.rows(), 3);
    QCOMPARE(grid.textMatrix(0, 0), QStringLiteral("Matricule"));

    grid.setFixedRows(0);
    grid.removeItem(0);
    QCOMPARE(grid.rows(), 2);
    QCOMPARE(grid.textMatrix(0, 0), QStringLiteral("a"));
}

void TestPointGrid::currentCell() {
    PointGridModel grid;
    grid.setRows(4);
    grid.setRow(3);
    grid.setCol(2);
    QCOMPARE(grid.row(), 3);
    QCOMPARE(grid.col(), 2);
    grid.setRow(4);
    grid.setCol(4);
    QCOMPARE(grid.row(), 3);
    QCOMPARE(grid.col(), 2);
    grid.setRows(2);
    QCOMPARE(grid.row(), 1);
}

void TestPointGrid::replacePointRows() {
    PointGridModel grid;
    grid.setFixedRows(1);
    fill(grid, {QStringLiteral("old1"), QStringLiteral("old2"), QStringLiteral("old3")});
    QSignalSpy reset(&grid, &QAbstractItemModel::modelReset);
    QSignalSpy inserted(&grid, &QAbstractItemModel::rowsInserted);
    grid.replacePointRows({QStringLiteral("p1\t1\t2\t3"), QStringLiteral("p2\t4")});
    QCOMPARE(reset.count(), 1);
    QCOMPARE(inserted.count(), 0);
    QCOMPARE(grid.rows(), 3);
    QCOMPARE(grid.rowCount(), 2);
    QCOMPARE(cellsOf(grid, 0), (QStringList{"Matricule", "X", "", ""}));
    QCOMPARE(cellsOf(grid, 1), (QStringList{"p1", "1", "2", "3"}));
    QCOMPARE(cellsOf(grid, 2), (QStringList{"p2", "4", "", ""}));
    grid.replacePointRows({});
    QCOMPARE(grid.rows(), 1);
}

void TestPointGrid::modelRowsFollowFixedRows_data() {
    QTest::addColumn<int>("fixedRows");
    QTest::addColumn<QStringList>("firstColumn");
    QTest::addColumn<QStringList>("header");
    QTest::newRow("one fixed row")
        << 1 << QStringList{"a", "b"} << QStringList{"Matricule", "X", "", ""};
    QTest::newRow("no fixed row") << 0 << QStringList{"Matricule", "a", "b"}
                                  << QStringList{"", "", "", ""};
}

void TestPointGrid::modelRowsFollowFixedRows() {
    QFETCH(int, fixedRows);
    QFETCH(QStringList, firstColumn);
    QFETCH(QStringList, header);
    PointGridModel grid;
    fill(grid, {QStringLiteral("a\t1"), QStringLiteral("b\t2")});
    grid.setFixedRows(fixedRows);
    QCOMPARE(grid.fixedRows(), fixedRows);
    QCOMPARE(grid.rowCount(), firstColumn.size());
    QCOMPARE(grid.columnCount(), 4);
    QStringList column;
    for (int r = 0; r < grid.rowCount(); ++r)
        column << grid.data(grid.index(r, 0)).toString();
    QCOMPARE(column, firstColumn);
    QStringList headers;
    for (int c = 0; c < grid.columnCount(); ++c)
        headers << grid.headerData(c, Qt::Horizontal).toString();
    QCOMPARE(headers, header);
    QCOMPARE(grid.headerData(0, Qt::Vertical).toString(), QString());
}

void TestPointGrid::modelSignals() {
    PointGridModel grid;
    grid.setFixedRows(1);
    QSignalSpy inserted(&grid, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&grid, &QAbstractItemModel::rowsRemoved);
    QSignalSpy changed(&grid, &QAbstractItemModel::dataChanged);
    QSignalSpy header(&grid, &QAbstractItemModel::headerDataChanged);

    grid.addItem(QStringLiteral("a"));
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(inserted.at(0).at(1).toInt(), 0);
    QCOMPARE(inserted.at(0).at(2).toInt(), 0);
    grid.setRows(4);
    QCOMPARE(inserted.count(), 2);
    QCOMPARE(inserted.at(1).at(1).toInt(), 1);
    QCOMPARE(inserted.at(1).at(2).toInt(), 2);

    grid.setTextMatrix(2, 3, QStringLiteral("x"));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.at(0).at(0).toModelIndex(), grid.index(1, 3));
    grid.setTextMatrix(0, 1, QStringLiteral("X"));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(header.count(), 1);
    QCOMPARE(header.at(0).at(0).value<Qt::Orientation>(), Qt::Horizontal);
    QCOMPARE(header.at(0).at(1).toInt(), 1);

    grid.removeItem(3);
    QCOMPARE(removed.count(), 1);
    QCOMPARE(removed.at(0).at(1).toInt(), 2);
    grid.setRows(1);
    QCOMPARE(removed.count(), 2);
    QCOMPARE(removed.at(1).at(1).toInt(), 0);
    QCOMPARE(removed.at(1).at(2).toInt(), 1);
    QCOMPARE(grid.rowCount(), 0);
}

void TestPointGrid::modelStaysConsistent() {
    // The tester checks every signal against the model's answers.
    PointGridModel grid;
    QAbstractItemModelTester tester(&grid, QAbstractItemModelTester::FailureReportingMode::QtTest);
    fill(grid, {QStringLiteral("a\t1\t2\t3"), QStringLiteral("b")});
    grid.setFixedRows(1);
    grid.setRows(6);
    grid.setTextMatrix(5, 0, QStringLiteral("e"));
    grid.removeItem(1);
    grid.setFixedRows(0);
    grid.removeItem(0);
    grid.replacePointRows({QStringLiteral("r")});
    grid.setRows(1);
    QCOMPARE(grid.rowCount(), 1);
}

TOVALIN_TEST(TestPointGrid)
#include "tst_PointGrid.moc"
