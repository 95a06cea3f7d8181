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
    void anyCellText_data();
    void anyCellText();
    void currentCell();
    void modelRowsFollowFixedRows_data();
    void modelRowsFollowFixedRows();
    void modelSignals();
};

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

void TestPointGrid::modelRowsFollowFixedRows_data() {
    QTest::addColumn<int>("fixedRows");
    QTest::addColumn<QStringList>("firstColumn");
    QTest::addColumn<QStringList>("header");
    QTest::addColumn<QStringList>("afterRemovingRow0");
    QTest::newRow("one fixed row")
        << 1 << QStringList{"a", "b"} << QStringList{"Matricule", "X", "", ""}
        << QStringList{"Matricule", "a", "b"};
    QTest::newRow("no fixed row") << 0 << QStringList{"Matricule", "a", "b"}
                                  << QStringList{"", "", "", ""} << QStringList{"a", "b"};
}

void TestPointGrid::modelRowsFollowFixedRows() {
    QFETCH(int, fixedRows);
    QFETCH(QStringList, firstColumn);
    QFETCH(QStringList, header);
    QFETCH(QStringList, afterRemovingRow0);
    PointGridModel grid;
    // The tester checks every signal against the model's answers.
    QAbstractItemModelTester tester(&grid, QAbstractItemModelTester::FailureReportingMode::QtTest);
    fill(grid, {QStringLiteral("a\t1"), QStringLiteral("b\t2")});
    grid.setFixedRows(fixedRows);
    QCOMPARE(grid.fixedRows(), fixedRows);
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
    // The fixed header row is not an item of the list.
    grid.removeItem(0);
    column.clear();
    for (int r = 0; r < grid.rows(); ++r)
        column << grid.textMatrix(r, 0);
    QCOMPARE(column, afterRemovingRow0);
}

// Each change sends the signal a view needs; the tester checks their ranges
// against the model's answers.
void TestPointGrid::modelSignals() {
    PointGridModel grid;
    QAbstractItemModelTester tester(&grid, QAbstractItemModelTester::FailureReportingMode::QtTest);
    grid.setFixedRows(1);
    QSignalSpy inserted(&grid, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&grid, &QAbstractItemModel::rowsRemoved);
    QSignalSpy changed(&grid, &QAbstractItemModel::dataChanged);
    QSignalSpy header(&grid, &QAbstractItemModel::headerDataChanged);
    QSignalSpy reset(&grid, &QAbstractItemModel::modelReset);

    grid.addItem(QStringLiteral("a"));
    grid.setRows(4);
    QCOMPARE(inserted.count(), 2);
    grid.setTextMatrix(2, 3, QStringLiteral("x"));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.at(0).at(0).toModelIndex(), grid.index(1, 3));
    // The fixed row is the view's header.
    grid.setTextMatrix(0, 1, QStringLiteral("X"));
    QCOMPARE(header.count(), 1);
    QCOMPARE(header.at(0).at(0).value<Qt::Orientation>(), Qt::Horizontal);
    QCOMPARE(header.at(0).at(1).toInt(), 1);
    // Writes outside the table are ignored without a signal.
    grid.setTextMatrix(4, 0, QStringLiteral("x"));
    grid.setTextMatrix(1, 4, QStringLiteral("x"));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(header.count(), 1);

    grid.removeItem(3);
    grid.setRows(1);
    QCOMPARE(removed.count(), 2);
    QCOMPARE(grid.rowCount(), 0);
    // A bulk rebuild is one reset, the header row kept.
    grid.replacePointRows({QStringLiteral("p1\t1"), QStringLiteral("p2")});
    QCOMPARE(reset.count(), 1);
    QCOMPARE(inserted.count(), 2);
    QCOMPARE(grid.rowCount(), 2);
    QCOMPARE(grid.textMatrix(0, 1), QStringLiteral("X"));
    grid.replacePointRows({});
    QCOMPARE(reset.count(), 2);
    QCOMPARE(grid.rows(), 1);
    QCOMPARE(grid.textMatrix(0, 1), QStringLiteral("X"));
}

TOVALIN_TEST(TestPointGrid)
#include "tst_PointGrid.moc"
