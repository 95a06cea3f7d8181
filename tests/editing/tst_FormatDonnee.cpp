#include "TestRunner.h"
#include "WindowFixture.h"

#include "editing/CoordinateFormat.h"
#include "editing/FormatDonnee.h"

#include <QSignalSpy>

using namespace testing;
using namespace platform;

namespace {

// Cells separated by " & "; "_" stands for the French grouping, the narrow
// no-break space.
QStringList cells(const char* text) {
    return items(QString::fromUtf8(text).replace(u'_', QChar(0x202F)));
}

const std::vector<PointRecord> sample{
    {1234.5678, -0.5, 1000000.25, "A"}, {2.0, 3.14159, -1234.4444, "B"}, {0.0004, 7.0, 8.0, "C"}};

struct Fixture : WindowFixture {
    std::unique_ptr<FormatDonnee> dialog;

    explicit Fixture(const std::vector<PointRecord>& points = sample) : WindowFixture(points) {}
    // Loads the dialog as the menu does, with what the settings hold now.
    FormatDonnee& open() {
        dialog = std::make_unique<FormatDonnee>(state, settings, boxes);
        dialog->show();
        return *dialog;
    }
    QComboBox* combo() const { return child<QComboBox>(dialog.get(), "Combo1"); }
    // The text the list shows: its entry, or a pattern that is none of them.
    QString shown() const {
        return combo()->currentIndex() >= 0 ? combo()->currentText() : combo()->placeholderText();
    }
    QCheckBox* check() const { return child<QCheckBox>(dialog.get(), "Check1"); }
    void ok() { child<QPushButton>(dialog.get(), "Command1")->click(); }
    // Picks an entry with the keyboard, as a user would.
    void choose(const QString& pattern) {
        combo()->setFocus();
        QTest::keyClick(combo(), Qt::Key_Home);
        for (int i = combo()->findText(pattern); i > 0; --i)
            QTest::keyClick(combo(), Qt::Key_Down);
        QCOMPARE(combo()->currentText(), pattern);
    }
    QString saved(const char* key) const {
        return settings.values.value(QStringLiteral("App/") + QLatin1String(key), "-");
    }
};

struct Shown {
    bool french;
    QString saved;        // the pattern in the settings store, "-" none
    int flag;             // SepSys in memory
    QString shown;        // the pattern shown on opening
    QString pattern;      // chosen by the user, "" none
    bool click;           // on the separator box
    bool closeBox;        // closed with the close box, not "Ok"
    const char* firstRow; // "" the list is not rewritten
};

} // namespace
Q_DECLARE_METATYPE(Shown)

class TestFormatDonnee : public QObject {
    Q_OBJECT
private slots:
    void okRewritesTheList_data();
    void okRewritesTheList();
    void rewriteAgreesCellByCell_data();
    void rewriteAgreesCellByCell();
};

void TestFormatDonnee::okRewritesTheList_data() {
    Rows<Shown> row;
    row("fr, no decimals", {true, "-", 0, "0.000", "0", false, false, "A & 1235 & -1 & 1000000"});
    row("fr, six decimals, grouped", {true, "-", 0, "0.000", "0.000000", true, false,
                                      "A & 1_234,567800 & -0,500000 & 1_000_000,250000"});
    row("fr, grouping only",
        {true, "-", 0, "0.000", "", true, false, "A & 1_234,568 & -0,500 & 1_000_000,250"});
    row("en, one decimal, grouped",
        {false, "0.00", 0, "0.00", "0.0", true, false, "A & 1,234.6 & -0.5 & 1,000,000.3"});
    row("no choice changes nothing", {false, "0.00", 0, "0.00", "", false, false, ""});
    row("pattern not in the list", {false, "#.##", 0, "#.##", "", false, false, ""});
    // Each choice is saved at once: the close box keeps them, but not the
    // list's texts.
    row("close box", {true, "-", 0, "0.000", "0.0", true, true, ""});
    // A flag of 1 set on the box counts as a click: "Ok" rewrites at once,
    // with the pattern in memory, not the one shown.
    row("separator on rewrites",
        {false, "0.0000", 1, "0.0000", "", false, false, "A & 1,234.568 & -0.500 & 1,000,000.250"});
    row("separator off",
        {false, "0.0000", 1, "0.0000", "", true, false, "A & 1234.568 & -0.500 & 1000000.250"});
    // Only a settings file written by hand holds another flag: the box is
    // clear, only 1 groups, and a click sets 1.
    row("flag 2, no change", {false, "0.0000", 2, "0.0000", "", false, false, ""});
    row("flag 2, pattern chosen",
        {false, "0.0000", 2, "0.0000", "0.0", false, false, "A & 1234.6 & -0.5 & 1000000.3"});
    row("flag 2, clicked",
        {false, "0.0000", 2, "0.0000", "", true, false, "A & 1,234.568 & -0.500 & 1,000,000.250"});
}

void TestFormatDonnee::okRewritesTheList() {
    QFETCH(Shown, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    Fixture f;
    if (c.saved != u"-")
        f.settings.values[QStringLiteral("App/NbDec")] = c.saved;
    f.state.Settings.SepSys = int16_t(c.flag);
    f.state.Grid.setTextMatrix(1, 1, QStringLiteral("stale"));
    const QStringList before = gridRow(f.state, 1);

    FormatDonnee& dialog = f.open();
    QCOMPARE(f.shown(), c.shown);
    QStringList entries;
    for (int i = 0; i < f.combo()->count(); ++i)
        entries << f.combo()->itemText(i);
    QCOMPARE(entries, items("0 & 0.0 & 0.00 & 0.000 & 0.0000 & 0.00000 & 0.000000"));
    QCOMPARE(f.check()->isChecked(), c.flag == 1);
    if (!c.pattern.isEmpty())
        f.choose(c.pattern);
    if (c.click)
        f.check()->click();
    if (c.closeBox)
        dialog.close();
    else
        f.ok();

    QVERIFY(!dialog.isVisible());
    QCOMPARE(shownBoxes(f.boxes), QStringList());
    const bool rewritten = *c.firstRow != 0;
    QCOMPARE(gridRow(f.state, 1), rewritten ? cells(c.firstRow) : before);
    for (std::size_t i = 0; i < sample.size(); ++i) // never rounded
        QCOMPARE(pointText(f.state.Points[i]), pointText(sample[i]));
    QCOMPARE(f.state.DataModified, rewritten);
    // Saved and in memory as soon as chosen; loading saves the flag only.
    QCOMPARE(f.saved("NbDec"), c.pattern.isEmpty() ? c.saved : c.pattern);
    QCOMPARE(f.state.Settings.NbDec, c.pattern.isEmpty() ? "0.000" : c.pattern);
    const int flag = c.click ? int(c.flag != 1) : c.flag;
    QCOMPARE(f.saved("SepSys"), c.flag == 1 || c.click ? QString::number(flag) : "-");
    QCOMPARE(f.state.Settings.SepSys, flag);
}

struct Rewrite {
    bool french;
    const char* pattern;
    int16_t flag;
    int points;  // the list is rewritten side by side in chunks of 65,536 rows
    int removed; // rows removed from the list before, spread over it
};
Q_DECLARE_METATYPE(Rewrite)

void TestFormatDonnee::rewriteAgreesCellByCell_data() {
    Rows<Rewrite> row;
    row("fr, grouped, rows removed", {true, "0.00", 1, 150000, 40});
    row("en, pattern of a settings file", {false, " 0.0# m", 0, 70000, 0});
    row("one point", {true, "0.000", 0, 1, 0});
    // An empty store: nothing to rewrite, nothing changed.
    row("no point", {true, "0.000", 0, 0, 0});
}

// The rewrite against its definition: the four cells of grid row i + 1 set
// one by one from store entry i, a caption for every entry.
void TestFormatDonnee::rewriteAgreesCellByCell() {
    QFETCH(Rewrite, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    std::vector<PointRecord> points;
    for (int i = 0; i < c.points; ++i) {
        const double v = (i % 7 - 3) * 123456.789123 + i * 0.0105;
        // Now and then a tab inside the identifier: a cell set on its own keeps it.
        points.push_back({v, -v / 3, v * 1e-3, i % 1000 == 7 ? "T\tab" : QString::number(i)});
    }
    Fixture rewritten(points), byCell(points);
    for (Fixture* f : {&rewritten, &byCell}) {
        f->state.Settings.NbDec = QString::fromUtf8(c.pattern);
        f->state.Settings.SepSys = c.flag;
        for (int r = 0; r < c.removed; ++r)
            f->state.Grid.removeItem(1 + int(std::int64_t(r) * (c.points - c.removed) / c.removed));
        f->state.Grid.setRow(std::min(2, f->state.Grid.rows() - 1));
    }
    QSignalSpy resets(&rewritten.state.Grid, &QAbstractItemModel::modelReset);
    RecordingProgress progress;
    RewritePointRows(rewritten.state, progress);

    GestionDonnee& s = byCell.state;
    for (int i = 0; i < c.points; ++i) {
        const PointRecord& p = s.Points[std::size_t(i)];
        s.Grid.setTextMatrix(i + 1, 0, p.Matricule);
        s.Grid.setTextMatrix(i + 1, 1, s.FormatCoordinate(p.X));
        s.Grid.setTextMatrix(i + 1, 2, s.FormatCoordinate(p.Y));
        s.Grid.setTextMatrix(i + 1, 3, s.FormatCoordinate(p.Z));
    }
    QCOMPARE(rewritten.state.Grid.rows(), s.Grid.rows());
    for (int r = 0; r < s.Grid.rows(); ++r)
        QCOMPARE(gridRow(rewritten.state, r), gridRow(byCell.state, r));
    // Every point counts, and the caption ends on the last; no point, no caption.
    QCOMPARE(rewritten.state.DataModified, c.points > 0);
    QCOMPARE(progress.last,
             c.points ? QStringLiteral("Formatage en cours... %1/%1 points").arg(c.points) : "");
    QVERIFY(progress.captions <= c.points + 1);
    // Rows keep their places: the view keeps its current row.
    QCOMPARE(resets.count(), 0);
    QCOMPARE(rewritten.state.Grid.row(), byCell.state.Grid.row());
}

TOVALIN_TEST(TestFormatDonnee)
#include "tst_FormatDonnee.moc"
