#include "TestRunner.h"

#include "platform/PointGridModel.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace platform;

namespace {

// A grid with a header and the given point rows.
void fill(PointGridModel& grid, const QStringList& rows) {
    grid.setTextMatrix(0, 0, QStringLiteral("Matricule"));
    grid.setTextMatrix(0, 1, QStringLiteral("X"));
    for (const QString& row : rows)
        grid.addItem(row);
}

// The plainest model of the grid control, a list of rows of cell texts.
class ReferenceGrid {
public:
    explicit ReferenceGrid(int cols) : cols_(cols), rows_(1) {}

    int rows() const { return int(rows_.size()); }
    QString text(int row, int col) const {
        if (row < 0 || row >= rows() || col < 0 || col >= cols_)
            return QString();
        return col < rows_[row].size() ? rows_[row][col] : QString();
    }
    void setText(int row, int col, const QString& text) {
        if (row < 0 || row >= rows() || col < 0 || col >= cols_)
            return;
        QStringList& cells = rows_[row];
        while (cells.size() <= col)
            cells << QString();
        cells[col] = text;
    }
    void addItem(const QString& tabSeparated) {
        QStringList cells;
        if (!tabSeparated.isEmpty())
            cells = tabSeparated.split(u'\t').mid(0, cols_);
        rows_ << cells;
    }
    void removeItem(int row, int fixedRows) {
        if (row >= fixedRows && row < rows())
            rows_.removeAt(row);
    }
    void setRows(int count, int fixedRows) {
        count = std::max(count, fixedRows);
        rows_.resize(count);
    }
    void replacePointRows(const QStringList& texts) {
        const QStringList header = rows_.value(0);
        rows_.clear();
        rows_ << header;
        for (const QString& text : texts)
            addItem(text);
    }

private:
    int cols_;
    QList<QStringList> rows_;
};

QString randomText(QRandomGenerator& random) {
    switch (random.bounded(10)) {
    case 0:
        return QString();
    case 1:
        return QString(int(random.bounded(20000)), QChar(u'a' + random.bounded(26)));
    case 2:
        return QStringLiteral("\u00e9\u20ac\u202f\U0001F600");
    case 3:
        return QString(QChar(0xDC00)) + QStringLiteral("lone");
    case 4:
        return QStringLiteral(" a\tb "); // blanks are kept
    case 5: {
        // A nul inside; now and then a long text of the highest unit, three
        // bytes each in UTF-8, some past 65,535 units.
        if (random.bounded(20) != 0)
            return QStringView(u"a\u0000b", 3).toString();
        const int lengths[] = {0xFFFE, 0xFFFF, 70000, 0x20000};
        return QString(lengths[random.bounded(4)], QChar(0xFFFF));
    }
    default:
        return QString::number(random.bounded(1000000)) + u',' +
               QString::number(random.bounded(1000));
    }
}

} // namespace

class TestPointGrid : public QObject {
    Q_OBJECT

private slots:
    void agreesWithPlainRows_data();
    void agreesWithPlainRows();
    void currentCell();
    void modelRowsFollowFixedRows_data();
    void modelRowsFollowFixedRows();
    void modelSignals();
};

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

// The grid's compact rows against the plain rows over long random runs of its
// operations: any text must come back as it went in, whatever was written,
// replaced or removed around it, and however often the rows were packed again.
void TestPointGrid::agreesWithPlainRows_data() {
    QTest::addColumn<quint32>("seed");
    for (quint32 seed : {1u, 2u, 3u})
        QTest::newRow(qPrintable(QString::number(seed))) << seed;
}

void TestPointGrid::agreesWithPlainRows() {
    QFETCH(quint32, seed);
    QRandomGenerator random(seed);
    PointGridModel grid;
    ReferenceGrid reference(grid.cols());
    grid.setFixedRows(1);
    for (int step = 0; step < 30000; ++step) {
        const int rows = grid.rows();
        const int row = int(random.bounded(rows + 2)) - 1;
        switch (random.bounded(12)) {
        case 0:
        case 1: {
            const QString text =
                QStringList{randomText(random), randomText(random), randomText(random)}
                    .join(u'\t')
                    .left(int(random.bounded(40000)));
            grid.addItem(text);
            reference.addItem(text);
            break;
        }
        case 2:
            grid.removeItem(row);
            reference.removeItem(row, grid.fixedRows());
            break;
        case 3:
            if (random.bounded(20) == 0) {
                const int count = int(random.bounded(rows + 3));
                grid.setRows(count);
                reference.setRows(count, grid.fixedRows());
            }
            if (random.bounded(400) == 0) {
                // Long texts replaced over and over in a few rows: what was
                // replaced soon outweighs what is left, and the rows are
                // packed again.
                for (int i = 0; i < 600; ++i) {
                    const int target = int(random.bounded(std::min(grid.rows(), 4)));
                    const QString text(int(random.bounded(30000)), QChar(u'A' + i % 26));
                    grid.setTextMatrix(target, i % 4, text);
                    reference.setText(target, i % 4, text);
                }
            }
            break;
        case 4:
            if (random.bounded(50) == 0) {
                QStringList texts;
                for (int i = int(random.bounded(200)); i > 0; --i)
                    texts << randomText(random) + u'\t' + randomText(random);
                grid.replacePointRows(std::vector<QString>(texts.begin(), texts.end()));
                reference.replacePointRows(texts);
            }
            break;
        default: {
            const int col = int(random.bounded(grid.cols() + 2)) - 1;
            const QString text = randomText(random);
            grid.setTextMatrix(row, col, text);
            reference.setText(row, col, text);
        }
        }
        QCOMPARE(grid.rows(), reference.rows());
        if (step % 500 == 0 || step == 29999) {
            for (int r = -1; r <= grid.rows(); ++r) {
                QByteArray joined;
                for (int c = -1; c <= grid.cols(); ++c) {
                    if (grid.textMatrix(r, c) != reference.text(r, c))
                        QFAIL(qPrintable(QStringLiteral("step %1, cell %2,%3: %4 instead of %5")
                                             .arg(step)
                                             .arg(r)
                                             .arg(c)
                                             .arg(grid.textMatrix(r, c).left(40),
                                                  reference.text(r, c).left(40))));
                    if (c >= 0 && c < 4)
                        joined += (c > 0 ? "\t" : "") + reference.text(r, c).toUtf8();
                }
                std::string utf8;
                grid.appendRowUtf8(r, 4, '\t', utf8);
                QCOMPARE(QByteArray::fromStdString(utf8), joined);
            }
        }
    }
}

TOVALIN_TEST(TestPointGrid)
#include "tst_PointGrid.moc"
