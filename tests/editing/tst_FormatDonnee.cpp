#include "TestRunner.h"
#include "TestSupport.h"

#include "app/GestionDonnee.h"
#include "editing/CoordinateFormat.h"
#include "editing/FormatDonnee.h"
#include "platform/Progress.h"
#include "platform/SettingsStore.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHash>
#include <QPushButton>

using namespace testing;
using namespace platform;

namespace {

class MemorySettings : public SettingsStore {
public:
    QString value(const QString& section, const QString& key,
                  const QString& defaultValue) const override {
        return values.value(section + u'/' + key, defaultValue);
    }
    void setValue(const QString& section, const QString& key, const QString& value) override {
        values[section + u'/' + key] = value;
    }
    QHash<QString, QString> values;
};

class RecordingProgress : public Progress {
public:
    QStringList captions;
    void setCaption(const QString& caption) override { captions << caption; }
    void tick() override {}
};

// French grouping is the narrow no-break space.
QString fr(const char* text) {
    return QString::fromUtf8(text).replace(u' ', QChar(0x202F));
}

const PointRecord pointA{1234.5678, -0.5, 1000000.25, QStringLiteral("A")};
const PointRecord pointB{2.0, 3.14159, -1234.4444, QStringLiteral("B")};
const PointRecord pointC{0.0004, 7.0, 8.0, QStringLiteral("C")};

struct Fixture {
    GestionDonnee state;
    MemorySettings settings;
    std::unique_ptr<FormatDonnee> dialog;

    explicit Fixture(std::vector<PointRecord> points = {pointA, pointB, pointC}) {
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
    template <typename T> T* control(const char* name) {
        T* found = dialog->findChild<T*>(QString::fromLatin1(name));
        if (found == nullptr)
            qFatal("control %s missing", name);
        return found;
    }
    // Picks an entry with the keyboard, as a user would.
    void choose(const QString& pattern) {
        auto* combo = control<QComboBox>("Combo1");
        const int target = combo->findText(pattern);
        QVERIFY(target >= 0);
        combo->setFocus();
        QTest::keyClick(combo, Qt::Key_Home);
        for (int i = 0; i < target; ++i)
            QTest::keyClick(combo, Qt::Key_Down);
        QCOMPARE(combo->currentText(), pattern);
    }
    QStringList row(int row) const {
        QStringList out;
        for (int col = 0; col < 4; ++col)
            out << state.Grid.textMatrix(row, col);
        return out;
    }
    QStringList column(int col) const {
        QStringList out;
        for (int row = 1; row < state.Grid.rows(); ++row)
            out << state.Grid.textMatrix(row, col);
        return out;
    }
    QString saved(const char* key) const {
        return settings.values.value(QStringLiteral("App/") + QLatin1String(key),
                                     QStringLiteral("(absent)"));
    }
    bool storeUntouched() const {
        const std::vector<PointRecord> original{pointA, pointB, pointC};
        for (std::size_t i = 0; i < original.size(); ++i) {
            const PointRecord& p = state.Points[i];
            // Exactly: the display must never round the doubles.
            if (!(p.X == original[i].X && p.Y == original[i].Y && p.Z == original[i].Z &&
                  p.Matricule == original[i].Matricule))
                return false;
        }
        return true;
    }
};

} // namespace

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
    QTest::addColumn<bool>("french");
    QTest::addColumn<QString>("pattern"); // "" keeps the entry shown
    QTest::addColumn<bool>("separator");
    QTest::addColumn<QStringList>("firstRow");
    QTest::addColumn<QStringList>("xColumn");

    QTest::newRow("French, no decimals")
        << true << "0" << false << QStringList{"A", "1235", "-1", "1000000"}
        << QStringList{"1235", "2", "0"};
    QTest::newRow("French, six decimals, grouped")
        << true << "0.000000" << true
        << QStringList{"A", fr("1 234,567800"), "-0,500000", fr("1 000 000,250000")}
        << QStringList{fr("1 234,567800"), "2,000000", "0,000400"};
    QTest::newRow("French, grouping only")
        << true << "" << true << QStringList{"A", fr("1 234,568"), "-0,500", fr("1 000 000,250")}
        << QStringList{fr("1 234,568"), "2,000", "0,000"};
    QTest::newRow("English, one decimal, grouped")
        << false << "0.0" << true << QStringList{"A", "1,234.6", "-0.5", "1,000,000.3"}
        << QStringList{"1,234.6", "2.0", "0.0"};
    QTest::newRow("English, two decimals")
        << false << "0.00" << false << QStringList{"A", "1234.57", "-0.50", "1000000.25"}
        << QStringList{"1234.57", "2.00", "0.00"};
}

void TestFormatDonnee::okRewritesTheList() {
    QFETCH(bool, french);
    QFETCH(QString, pattern);
    QFETCH(bool, separator);
    QFETCH(QStringList, firstRow);
    QFETCH(QStringList, xColumn);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    Fixture f;
    FormatDonnee& dialog = f.open();
    if (!pattern.isEmpty())
        f.choose(pattern);
    if (separator)
        f.control<QCheckBox>("Check1")->click();
    f.control<QPushButton>("Command1")->click();

    QCOMPARE(f.row(1), firstRow);
    QCOMPARE(f.column(1), xColumn);
    QCOMPARE(f.state.Grid.rows(), 4);
    QVERIFY(f.storeUntouched());
    QCOMPARE(f.state.DataModified, true);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(f.saved("NbDec"), pattern.isEmpty() ? QStringLiteral("(absent)") : pattern);
    QCOMPARE(f.saved("SepSys"), separator ? QStringLiteral("1") : QStringLiteral("(absent)"));

    // Back to the default: the decimals come back from the store.
    f.open();
    f.choose(QStringLiteral("0.000"));
    if (separator)
        f.control<QCheckBox>("Check1")->click();
    f.control<QPushButton>("Command1")->click();
    QCOMPARE(f.state.Grid.textMatrix(1, 1),
             french ? QStringLiteral("1234,568") : QStringLiteral("1234.568"));
}

void TestFormatDonnee::choicesAreSavedAtOnce() {
    RegionalFormatScope scope(frenchFormat());
    Fixture f;
    const QStringList before = f.row(1);
    FormatDonnee& dialog = f.open();
    QVERIFY(!dialog.formatChanged());

    f.choose(QStringLiteral("0.0"));
    QCOMPARE(f.saved("NbDec"), QStringLiteral("0.0"));
    QCOMPARE(f.state.Settings.NbDec, QStringLiteral("0.0"));
    QVERIFY(dialog.formatChanged());

    auto* check = f.control<QCheckBox>("Check1");
    const QStringList expected{"1", "0", "1"};
    for (const QString& flag : expected) {
        check->click();
        QCOMPARE(f.saved("SepSys"), flag);
        QCOMPARE(f.state.Settings.SepSys, flag == QLatin1String("1") ? 1 : 0);
    }

    // The close box keeps the choices but not the list's texts.
    dialog.close();
    QCOMPARE(f.row(1), before);
    QCOMPARE(f.state.DataModified, false);
    QCOMPARE(f.saved("NbDec"), QStringLiteral("0.0"));
    QCOMPARE(f.saved("SepSys"), QStringLiteral("1"));

    // Opened again it shows them, and the flag counts as a change.
    f.open();
    QCOMPARE(f.control<QComboBox>("Combo1")->currentText(), QStringLiteral("0.0"));
    QVERIFY(f.control<QCheckBox>("Check1")->isChecked());
    f.control<QPushButton>("Command1")->click();
    QCOMPARE(f.row(1), (QStringList{"A", fr("1 234,6"), "-0,5", fr("1 000 000,3")}));
}

void TestFormatDonnee::loading_data() {
    QTest::addColumn<QString>("savedPattern"); // "" for absent
    QTest::addColumn<int>("flag");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<bool>("rewritten");
    QTest::newRow("no click changes nothing") << "0.00" << 0 << "0.00" << false << false;
    QTest::newRow("defaults") << "" << 0 << "0.000" << false << false;
    // A flag of 1 set on the box counts as a click: "Ok" rewrites at once.
    QTest::newRow("separator on rewrites") << "0.0000" << 1 << "0.0000" << true << true;
    QTest::newRow("pattern not in the list") << "#.##" << 0 << "" << false << false;
}

void TestFormatDonnee::loading() {
    QFETCH(QString, savedPattern);
    QFETCH(int, flag);
    QFETCH(QString, shown);
    QFETCH(bool, checked);
    QFETCH(bool, rewritten);
    RegionalFormatScope scope(englishFormat());
    Fixture f;
    if (!savedPattern.isEmpty())
        f.settings.values[QStringLiteral("App/NbDec")] = savedPattern;
    f.state.Settings.SepSys = int16_t(flag);
    f.state.Grid.setTextMatrix(1, 1, QStringLiteral("stale"));

    FormatDonnee& dialog = f.open();
    QCOMPARE(f.control<QComboBox>("Combo1")->currentText(), shown);
    QCOMPARE(f.control<QComboBox>("Combo1")->count(), 7);
    QCOMPARE(f.control<QCheckBox>("Check1")->isChecked(), checked);
    QCOMPARE(f.saved("SepSys"), checked ? QStringLiteral("1") : QStringLiteral("(absent)"));
    // Loading never saves the pattern.
    QCOMPARE(f.saved("NbDec"), savedPattern.isEmpty() ? QStringLiteral("(absent)") : savedPattern);

    f.control<QPushButton>("Command1")->click();
    QVERIFY(!dialog.isVisible());
    QCOMPARE(f.state.DataModified, rewritten);
    // The in-memory pattern (still "0.000") formats the rewrite.
    QCOMPARE(f.state.Grid.textMatrix(1, 1),
             rewritten ? QStringLiteral("1,234.568") : QStringLiteral("stale"));
}

void TestFormatDonnee::rowsFollowTheStoreIndex() {
    RegionalFormatScope scope(englishFormat());
    const PointRecord pointD{9.5, 9.5, 9.5, QStringLiteral("D")};
    Fixture f({pointA, pointB, pointC, pointD});
    f.state.Grid.removeItem(2); // B's row
    QCOMPARE(f.column(0), (QStringList{"A", "C", "D"}));

    f.open();
    f.choose(QStringLiteral("0"));
    f.control<QPushButton>("Command1")->click();
    // Rows are addressed by store index: B is back in its old row, C and D
    // move up one, and D, past the end of the list, is not written.
    QCOMPARE(f.column(0), (QStringList{"A", "B", "C"}));
    QCOMPARE(f.column(1), (QStringList{"1235", "2", "0"}));
    QCOMPARE(f.state.Grid.rows(), 4);
    QCOMPARE(f.state.Points[3].Matricule, QStringLiteral("D"));

    RecordingProgress progress;
    RewritePointRows(f.state, progress);
    QCOMPARE(progress.captions.size(), 4);
    QCOMPARE(progress.captions.first(), QStringLiteral("Formatage en cours... 1/4 points"));
    QCOMPARE(progress.captions.last(), QStringLiteral("Formatage en cours... 4/4 points"));
}

void TestFormatDonnee::emptyStoreOnlyCloses() {
    Fixture f(std::vector<PointRecord>{});
    FormatDonnee& dialog = f.open();
    f.control<QCheckBox>("Check1")->click();
    QVERIFY(dialog.formatChanged());
    f.control<QPushButton>("Command1")->click();
    QVERIFY(!dialog.isVisible());
    // DataModified is set once per point rewritten: none here.
    QCOMPARE(f.state.DataModified, false);
    QCOMPARE(f.state.Grid.rows(), 1);
}

TOVALIN_TEST(TestFormatDonnee)
#include "tst_FormatDonnee.moc"
