#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "editing/CoordinateFormat.h"
#include "editing/FormatDonnee.h"

#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>

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

struct Fixture {
    GestionDonnee state;
    MemorySettings settings;
    std::unique_ptr<FormatDonnee> dialog;

    explicit Fixture(const std::vector<PointRecord>& points = sample) {
        for (const PointRecord& point : points)
            state.AddPoint(point);
        state.RefreshPointList();
    }
    // Loads the dialog as the menu does, with what the settings hold now.
    FormatDonnee& open() {
        dialog = std::make_unique<FormatDonnee>(state, settings);
        dialog->show();
        return *dialog;
    }
    QComboBox* combo() const { return dialog->findChild<QComboBox*>(QStringLiteral("Combo1")); }
    QCheckBox* check() const { return dialog->findChild<QCheckBox*>(QStringLiteral("Check1")); }
    void ok() { dialog->findChild<QPushButton*>(QStringLiteral("Command1"))->click(); }
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
    QString pattern; // "" keeps the entry shown
    bool separator;
    const char* firstRow;
    const char* xColumn;
};

} // namespace
Q_DECLARE_METATYPE(Shown)

class TestFormatDonnee : public QObject {
    Q_OBJECT
private slots:
    void okRewritesTheList_data();
    void okRewritesTheList();
    void choicesAreSavedAtOnce();
    void loading_data();
    void loading();
    void rowsFollowTheStoreIndex();
    void emptyStoreOnlyCloses();
};

void TestFormatDonnee::okRewritesTheList_data() {
    Rows<Shown> row;
    row("French, no decimals", {true, "0", false, "A & 1235 & -1 & 1000000", "1235 & 2 & 0"});
    row("French, six decimals, grouped",
        {true, "0.000000", true, "A & 1_234,567800 & -0,500000 & 1_000_000,250000",
         "1_234,567800 & 2,000000 & 0,000400"});
    row("French, grouping only",
        {true, "", true, "A & 1_234,568 & -0,500 & 1_000_000,250", "1_234,568 & 2,000 & 0,000"});
    row("English, one decimal, grouped",
        {false, "0.0", true, "A & 1,234.6 & -0.5 & 1,000,000.3", "1,234.6 & 2.0 & 0.0"});
    row("English, two decimals",
        {false, "0.00", false, "A & 1234.57 & -0.50 & 1000000.25", "1234.57 & 2.00 & 0.00"});
}

void TestFormatDonnee::okRewritesTheList() {
    QFETCH(Shown, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    Fixture f;
    FormatDonnee& dialog = f.open();
    if (!c.pattern.isEmpty())
        f.choose(c.pattern);
    if (c.separator)
        f.check()->click();
    f.ok();

    QCOMPARE(gridRow(f.state, 1), cells(c.firstRow));
    QCOMPARE(gridColumn(f.state, 1), cells(c.xColumn));
    for (std::size_t i = 0; i < sample.size(); ++i) // the store is never rounded
        QCOMPARE(pointText(f.state.Points[i]), pointText(sample[i]));
    QCOMPARE(f.state.DataModified, true);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(f.saved("NbDec"), c.pattern.isEmpty() ? "-" : c.pattern);
    QCOMPARE(f.saved("SepSys"), c.separator ? "1" : "-");
}

void TestFormatDonnee::choicesAreSavedAtOnce() {
    RegionalFormatScope scope(frenchFormat());
    Fixture f;
    const QStringList before = gridRow(f.state, 1);
    FormatDonnee& dialog = f.open();
    QVERIFY(!dialog.formatChanged());
    f.choose(QStringLiteral("0.0"));
    QCOMPARE(f.saved("NbDec") + f.state.Settings.NbDec, QStringLiteral("0.00.0"));
    QVERIFY(dialog.formatChanged());
    for (int flag : {1, 0, 1}) {
        f.check()->click();
        QCOMPARE(f.saved("SepSys"), QString::number(flag));
        QCOMPARE(f.state.Settings.SepSys, flag);
    }

    // The close box keeps the choices but not the list's texts.
    dialog.close();
    QCOMPARE(gridRow(f.state, 1), before);
    QCOMPARE(f.state.DataModified, false);

    // Opened again it shows them, and the flag counts as a change.
    f.open();
    QCOMPARE(f.combo()->currentText(), QStringLiteral("0.0"));
    QVERIFY(f.check()->isChecked());
    f.ok();
    QCOMPARE(gridRow(f.state, 1), cells("A & 1_234,6 & -0,5 & 1_000_000,3"));
}

void TestFormatDonnee::loading_data() {
    QTest::addColumn<QString>("savedPattern"); // "-" for absent
    QTest::addColumn<int>("flag");
    QTest::addColumn<QString>("shown");
    QTest::newRow("no click changes nothing") << "0.00" << 0 << "0.00";
    QTest::newRow("defaults") << "-" << 0 << "0.000";
    // A flag of 1 set on the box counts as a click: "Ok" rewrites at once.
    QTest::newRow("separator on rewrites") << "0.0000" << 1 << "0.0000";
    QTest::newRow("pattern not in the list") << "#.##" << 0 << "";
}

void TestFormatDonnee::loading() {
    QFETCH(QString, savedPattern);
    QFETCH(int, flag);
    QFETCH(QString, shown);
    RegionalFormatScope scope(englishFormat());
    Fixture f;
    if (savedPattern != u"-")
        f.settings.values[QStringLiteral("App/NbDec")] = savedPattern;
    f.state.Settings.SepSys = int16_t(flag);
    f.state.Grid.setTextMatrix(1, 1, QStringLiteral("stale"));

    FormatDonnee& dialog = f.open();
    QCOMPARE(f.combo()->currentText(), shown);
    QCOMPARE(f.combo()->count(), 7);
    QCOMPARE(f.check()->isChecked(), flag == 1);
    QCOMPARE(f.saved("SepSys"), flag == 1 ? "1" : "-");
    QCOMPARE(f.saved("NbDec"), savedPattern); // loading never saves the pattern

    f.ok();
    QVERIFY(!dialog.isVisible());
    QCOMPARE(f.state.DataModified, flag == 1);
    // The in-memory pattern (still "0.000") formats the rewrite.
    QCOMPARE(f.state.Grid.textMatrix(1, 1), flag == 1 ? "1,234.568" : "stale");
}

void TestFormatDonnee::rowsFollowTheStoreIndex() {
    RegionalFormatScope scope(englishFormat());
    std::vector<PointRecord> points = sample;
    points.push_back({9.5, 9.5, 9.5, "D"});
    Fixture f(points);
    f.state.Grid.removeItem(2); // B's row
    f.open();
    f.choose(QStringLiteral("0"));
    f.ok();
    // Rows are addressed by store index: B is back in its old row, C moves
    // up one, and D, past the end of the list, is not written.
    QCOMPARE(gridColumn(f.state, 0), items("A & B & C"));
    QCOMPARE(gridColumn(f.state, 1), items("1235 & 2 & 0"));

    RecordingProgress progress;
    RewritePointRows(f.state, progress);
    QCOMPARE(progress.captions, 4);
    QCOMPARE(progress.history.first(), QStringLiteral("Formatage en cours... 1/4 points"));
    QCOMPARE(progress.last, QStringLiteral("Formatage en cours... 4/4 points"));
}

void TestFormatDonnee::emptyStoreOnlyCloses() {
    Fixture f(std::vector<PointRecord>{});
    FormatDonnee& dialog = f.open();
    f.check()->click();
    QVERIFY(dialog.formatChanged());
    f.ok();
    QVERIFY(!dialog.isVisible());
    // DataModified is set once per point rewritten: none here.
    QCOMPARE(f.state.DataModified, false);
    QCOMPARE(f.state.Grid.rows(), 1);
}

TOVALIN_TEST(TestFormatDonnee)
#include "tst_FormatDonnee.moc"
