#include "TestRunner.h"

#include "platform/PointGridModel.h"

#include <QRandomGenerator>
#include <QTest>

using namespace platform;

// The grid's compact rows against the plainest model of the grid control, a
// list of rows of cell texts, over long random runs of its operations: any
// text must come back as it went in, whatever was written, replaced or
// removed around it, and however often the rows were packed again.

namespace {

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
    default:
        return QString::number(random.bounded(1000000)) + u',' +
               QString::number(random.bounded(1000));
    }
}

} // namespace

class TestPointGridRandom : public QObject {
    Q_OBJECT
private slots:
    void agreesWithPlainRows_data();
    void agreesWithPlainRows();
};

void TestPointGridRandom::agreesWithPlainRows_data() {
    QTest::addColumn<quint32>("seed");
    for (quint32 seed : {1u, 2u, 3u})
        QTest::newRow(qPrintable(QString::number(seed))) << seed;
}

void TestPointGridRandom::agreesWithPlainRows() {
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

TOVALIN_TEST(TestPointGridRandom)
#include "tst_PointGridRandom.moc"
