#include "TestRunner.h"
#include "WindowFixture.h"

#include "editing/Form5.h"
#include "editing/Numbering.h"

using namespace testing;
using namespace platform;

namespace {

// Three points A, B, C in the store and the list, and the dialog over them.
struct Fixture : WindowFixture {
    Form5 dialog{state, boxes};

    Fixture() : WindowFixture({{1.25, 2.5, 3, "A"}, {1.25, 2.5, 3, "B"}, {1.25, 2.5, 3, "C"}}) {}
    template <typename T> T* control(const char* name) { return child<T>(&dialog, name); }
    void click(const char* name) { control<QAbstractButton>(name)->click(); }
};

struct Run {
    bool french;
    QString mode; // Re (replace), Av (add before), Ap (add after)
    QString text; // "-": the numeric numbering
    bool withNumber;
    QString start;
    QString expected;
    QString refusal = {};
};

} // namespace
Q_DECLARE_METATYPE(Run)

class TestNumbering : public QObject {
    Q_OBJECT
private slots:
    void numbering_data();
    void numbering();
};

void TestNumbering::numbering_data() {
    Rows<Run> row;
    row("numeric, replace", {true, "Re", "-", false, "1", "1 & 2 & 3"});
    row("numeric, before", {true, "Av", "-", false, "1", "1A & 2B & 3C"});
    row("numeric, after", {false, "Ap", "-", false, "1", "A1 & B2 & C3"});
    row("fraction, French", {true, "Re", "-", false, "0,5", "0,5 & 1,5 & 2,5"});
    // The comma groups digits in English: "1,5" is fifteen.
    row("English comma groups", {false, "Re", "-", false, "1,5", "15 & 16 & 17"});
    row("text with number", {true, "Re", "abc*de", true, "1", "abc1de & abc2de & abc3de"});
    // Not ticked, the start field is not read at all.
    row("text, unticked", {true, "Ap", "abc*de", false, "x", "Aabcde & Babcde & Cabcde"});
    row("text before, later asterisks stay",
        {false, "Av", "P*-*", true, "9", "P9-*A & P10-*B & P11-*C"});
    // Without an asterisk the text itself gives nothing: only the number is
    // left, or nothing at all.
    row("no asterisk, ticked", {true, "Re", "abc", true, "1", "1 & 2 & 3"});
    row("no asterisk, replace", {true, "Re", "abc", false, "1", " &  & "}); // three empty

    // The counter is a 32-bit float, shown as such by both numberings; past
    // 16777216 adding one no longer changes it.
    const char* stuck = "1,677722E+07 & 1,677722E+07 & 1,677722E+07";
    row("numeric, exponent", {true, "Re", "-", true, "9999998", "9999998 & 9999999 & 1E+07"});
    row("numeric, past 2^24", {true, "Re", "-", true, "16777216", stuck});
    row("text, past 2^24", {true, "Re", "*", true, "16777216", stuck});

    const QString badNumber = QStringLiteral("Vous devez entrer un nombre correct");
    const QString noText = QStringLiteral("Vous devez entrer un texte à insérer");
    row("empty start", {true, "Re", "-", false, "", "A & B & C", badNumber});
    row("point in French", {true, "Re", "-", false, "1.5", "A & B & C", badNumber});
    row("bad start, ticked", {true, "Re", "x*", true, "deux", "A & B & C", badNumber});
    row("empty text", {true, "Re", "", false, "1", "A & B & C", noText});
    row("empty text comes first", {true, "Re", "", true, "deux", "A & B & C", noText});
    // A number, but beyond the counter's range: the run-time error report.
    row("start beyond the float",
        {true, "Re", "-", false, "1E+39", "A & B & C",
         QStringLiteral("Erreur d'exécution '6' :\n\nDépassement de capacité")});
}

void TestNumbering::numbering() {
    QFETCH(Run, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    Fixture f;
    // The store is numbered, not the list: the list is rebuilt after a run.
    f.state.Grid.removeItem(1);
    // The side is a choice of its own, in a frame enabled only for adding:
    // "Avant" chosen there does nothing when replacing.
    auto* frame = f.control<QGroupBox>("Frame3");
    QVERIFY(!frame->isEnabled());
    f.click("OptAj");
    f.click(c.mode == u"Ap" ? "OptAjAp" : "OptAjAv");
    if (c.mode == u"Re")
        f.click("OptRe");
    QCOMPARE(frame->isEnabled(), c.mode != u"Re");
    const bool numeric = c.text == u"-";
    if (numeric) {
        f.control<QLineEdit>("Text1")->setText(c.start);
    } else {
        f.control<QLineEdit>("Text4")->setText(c.text);
        f.control<QCheckBox>("Check1")->setChecked(c.withNumber);
        f.control<QLineEdit>("Text3")->setText(c.start);
    }
    const char* button = numeric ? "Command1" : "Command2";
    f.click(button);

    QVERIFY(f.dialog.isEnabled());
    QCOMPARE(frame->isEnabled(), c.mode != u"Re"); // as the mode had it
    QCOMPARE(storedNames(f.state), items(c.expected));
    if (!c.refusal.isEmpty()) {
        QCOMPARE(shownBoxes(f.boxes), QStringList{"Tovalin: " + c.refusal + " [critical ok]"});
        QCOMPARE(gridColumn(f.state, 0), items("B & C"));
        QCOMPARE(f.state.DataModified, false);
        return;
    }
    QCOMPARE(shownBoxes(f.boxes), QStringList());
    QCOMPARE(gridColumn(f.state, 0), items(c.expected));
    QVERIFY(f.state.Points[0].X == 1.25);
    QCOMPARE(f.state.DataModified, true);
    QCOMPARE(f.dialog.windowTitle(), QStringLiteral("Immatriculation")); // back after the run
    // A second run starts again from the start field, not where the first ended.
    f.click(button);
    if (c.mode == u"Re")
        QCOMPARE(storedNames(f.state), items(c.expected));
    // The caption counts the points in order, then shows the list being rebuilt.
    RecordingProgress progress;
    float counter = 0;
    QVERIFY(NumberPoints(f.state, f.boxes, QStringLiteral("1"), NumberingMode::Replace, counter,
                         progress));
    QCOMPARE(progress.history, items("Immatriculation 1/3 & Immatriculation 2/3 & "
                                     "Immatriculation 3/3 & Affichage en cours... & "
                                     "Immatriculation"));
}

TOVALIN_TEST(TestNumbering)
#include "tst_Numbering.moc"
