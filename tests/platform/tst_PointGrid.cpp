#include "TestRunner.h"

#include "platform/PointGridModel.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <optional>

using namespace platform;

namespace {

// The plainest model of the grid control: a list of rows of cell texts and
// the current cell.
struct ReferenceGrid {
    int cols;
    int fixedRows;
    QList<QStringList> rows{{}};
    int row = 0;
    int col = 0;

    bool inside(int r, int c) const { return r >= 0 && r < rows.size() && c >= 0 && c < cols; }
    QString text(int r, int c) const { return inside(r, c) ? rows[r].value(c) : QString(); }
    void setText(int r, int c, const QString& text) {
        if (!inside(r, c))
            return;
        while (rows[r].size() <= c)
            rows[r] << QString();
        rows[r][c] = text;
    }
    void addItem(const QString& tabSeparated) {
        rows << (tabSeparated.isEmpty() ? QStringList() : tabSeparated.split(u'\t').mid(0, cols));
    }
    void removeItem(int r) {
        if (r >= fixedRows && r < rows.size())
            rows.removeAt(r);
        row = std::clamp(row, 0, std::max(int(rows.size()) - 1, 0));
    }
    void setRows(int count) {
        rows.resize(std::max(count, fixedRows));
        row = std::clamp(row, 0, std::max(int(rows.size()) - 1, 0));
    }
    void replacePointRows(const QStringList& texts) {
        rows.resize(1);
        for (const QString& text : texts)
            addItem(text);
        row = std::min(row, int(rows.size()) - 1);
    }
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
    // With one fixed row, row 0 is the view's header; each change sends the
    // signal a view needs.
    void asAModel() {
        PointGridModel grid;
        QAbstractItemModelTester tester(&grid,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        grid.setFixedRows(1);
        QSignalSpy inserted(&grid, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&grid, &QAbstractItemModel::rowsRemoved);
        QSignalSpy changed(&grid, &QAbstractItemModel::dataChanged);
        QSignalSpy header(&grid, &QAbstractItemModel::headerDataChanged);
        QSignalSpy reset(&grid, &QAbstractItemModel::modelReset);
        grid.setTextMatrix(0, 1, QStringLiteral("X"));
        QCOMPARE(header.count(), 1);
        QCOMPARE(header.at(0).at(0).value<Qt::Orientation>(), Qt::Horizontal);
        QCOMPARE(header.at(0).at(1).toInt(), 1);
        grid.addItem(QStringLiteral("a\t1"));
        grid.setRows(4);
        QCOMPARE(inserted.count(), 2);
        grid.setTextMatrix(2, 3, QStringLiteral("x"));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.at(0).at(0).toModelIndex(), grid.index(1, 3));
        // Writes outside the table are ignored without a signal.
        grid.setTextMatrix(4, 0, QStringLiteral("x"));
        grid.setTextMatrix(1, 4, QStringLiteral("x"));
        QCOMPARE(changed.count() + header.count(), 2);
        QCOMPARE(grid.columnCount(), 4);
        QCOMPARE(grid.data(grid.index(0, 0)).toString(), QStringLiteral("a"));
        QCOMPARE(grid.headerData(1, Qt::Horizontal).toString(), QStringLiteral("X"));
        QCOMPARE(grid.headerData(0, Qt::Vertical).toString(), QString());
        grid.removeItem(3);
        grid.setRows(1);
        QCOMPARE(removed.count(), 2);
        // A bulk rebuild is one reset, the header row kept, with no point too.
        grid.replacePointRows({});
        QCOMPARE(grid.rows(), 1);
        grid.replacePointRows({QStringLiteral("p1\t1"), QStringLiteral("p2")});
        QCOMPARE(reset.count(), 2);
        QCOMPARE(inserted.count(), 2);
        QCOMPARE(grid.rowCount(), 2);
        QCOMPARE(grid.textMatrix(0, 1), QStringLiteral("X"));
        // Without a fixed row, row 0 scrolls with the points.
        grid.setFixedRows(0);
        QCOMPARE(grid.rowCount(), 3);
        QCOMPARE(grid.data(grid.index(0, 1)).toString(), QStringLiteral("X"));
        QCOMPARE(grid.headerData(1, Qt::Horizontal).toString(), QString());
    }

    // The grid's compact rows against the plain rows over long random runs of its
    // operations: any text must come back as it went in, whatever was written,
    // replaced or removed around it, and however often the rows were packed again;
    // the current cell stays in the table. The tester checks every signal against
    // the model's answers.
    void agreesWithPlainRows_data() {
        QTest::addColumn<quint32>("seed");
        QTest::addColumn<int>("fixedRows");
        QTest::newRow("1") << 1u << 1;
        QTest::newRow("3, no fixed row") << 3u << 0;
    }

    void agreesWithPlainRows() {
        QFETCH(quint32, seed);
        QFETCH(int, fixedRows);
        QRandomGenerator random(seed);
        PointGridModel grid;
        // The tester's checks are slow; the rows without a fixed row are where
        // the signals' ranges differ from the grid's rows.
        std::optional<QAbstractItemModelTester> tester;
        if (fixedRows == 0)
            tester.emplace(&grid, QAbstractItemModelTester::FailureReportingMode::QtTest);
        grid.setFixedRows(fixedRows);
        ReferenceGrid reference{grid.cols(), fixedRows};
        for (int step = 0; step < 30000; ++step) {
            const int rows = grid.rows();
            const int row = int(random.bounded(rows + 2)) - 1;
            const int col = int(random.bounded(grid.cols() + 2)) - 1;
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
                reference.removeItem(row);
                break;
            case 3:
                if (random.bounded(20) == 0) {
                    const int count = int(random.bounded(rows + 3));
                    grid.setRows(count);
                    reference.setRows(count);
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
            case 5:
                // Outside the table the current cell stays.
                grid.setRow(row);
                grid.setCol(col);
                reference.row = reference.inside(row, 0) ? row : reference.row;
                reference.col = col >= 0 && col < reference.cols ? col : reference.col;
                break;
            default: {
                const QString text = randomText(random);
                grid.setTextMatrix(row, col, text);
                reference.setText(row, col, text);
            }
            }
            QCOMPARE(grid.rows(), int(reference.rows.size()));
            QCOMPARE(grid.row(), reference.row);
            if (step % 500 == 0 || step == 29999) {
                QCOMPARE(grid.col(), reference.col);
                for (int r = -1; r <= grid.rows(); ++r) {
                    QByteArray joined;
                    for (int c = -1; c <= grid.cols(); ++c) {
                        QVERIFY2(
                            grid.textMatrix(r, c) == reference.text(r, c),
                            qPrintable(
                                QStringLiteral("step %1, cell %2,%3").arg(step).arg(r).arg(c)));
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
};

TOVALIN_TEST(TestPointGrid)
#include "tst_PointGrid.moc"
