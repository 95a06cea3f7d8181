#include "TestRunner.h"
#include "WindowFixture.h"

#include "editing/Form5.h"
#include "editing/FormatDonnee.h"
#include "editing/Numbering.h"
#include "editing/NumberingCommands.h"
#include "platform/NumberText.h"

using namespace testing;
using namespace platform;

namespace {

// Three points A, B, C in the store and the list, and the dialog over them.
struct Fixture {
    GestionDonnee state;
    ScriptedDialogs boxes;
    Form5 dialog{state, boxes};

    explicit Fixture(const QStringList& names = {"A", "B", "C"}) {
        boxes.setThrowOnUnexpected(false);
        double x = 1.25;
        for (const QString& name : names)
            state.AddPoint(PointRecord{x++, 2.5, 3.0, name});
        state.RefreshPointList();
    }
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
    float counter = -1; // after the run; -1 not checked
};

} // namespace
Q_DECLARE_METATYPE(Run)

class TestNumbering : public QObject {
    Q_OBJECT
private slots:
    void numbering_data();
    void numbering();
    void frame3FollowsTheMode();
    void emptyStoreStillRebuildsTheList();
    void captionsDuringARun();
    void menusOpenOneDialogEach();
};

void TestNumbering::numbering_data() {
    Rows<Run> row;
    row("numeric, replace", {true, "Re", "-", false, "1", "1 & 2 & 3"});
    row("numeric, before", {true, "Av", "-", false, "1", "1A & 2B & 3C"});
    row("numeric, after", {false, "Ap", "-", false, "1", "A1 & B2 & C3"});
    row("negative start", {false, "Re", "-", false, "-2", "-2 & -1 & 0"});
    row("fraction, French", {true, "Re", "-", false, "0,5", "0,5 & 1,5 & 2,5"});
    row("fraction, English", {false, "Re", "-", false, "0.5", "0.5 & 1.5 & 2.5"});
    // The comma groups digits in English: "1,5" is fifteen.
    row("English comma groups", {false, "Re", "-", false, "1,5", "15 & 16 & 17"});
    row("blanks around the start", {true, "Re", "-", false, " 7 ", "7 & 8 & 9"});
    row("text with number", {true, "Re", "abc*de", true, "1", "abc1de & abc2de & abc3de"});
    row("text without number", {true, "Re", "abc*de", false, "1", "abcde & abcde & abcde"});
    // Not ticked, the start field is not read at all.
    row("unticked ignores a bad start",
        {true, "Ap", "abc*de", false, "x", "Aabcde & Babcde & Cabcde"});
    row("later asterisks stay", {true, "Re", "a*b*c", true, "8", "a8b*c & a9b*c & a10b*c"});
    row("text before", {false, "Av", "P*-", true, "0.5", "P0.5-A & P1.5-B & P2.5-C"});
    row("text after", {true, "Ap", "-*", true, "1", "A-1 & B-2 & C-3"});
    // Without an asterisk the text itself gives nothing: only the number is
    // left, or nothing at all, which empties the identifiers when replacing.
    row("no asterisk, ticked", {true, "Re", "abc", true, "1", "1 & 2 & 3"});
    row("no asterisk, replace", {true, "Re", "abc", false, "1", " &  & "}); // three empty
    row("no asterisk, add", {true, "Av", "abc", false, "1", "A & B & C"});

    // The counter is a 32-bit float, shown as such by both numberings; past
    // 16777216 adding one no longer changes it.
    const char* const stuck = "1,677722E+07 & 1,677722E+07 & 1,677722E+07";
    for (const char* text : {"-", "*"}) {
        const QString how = QString::fromLatin1(text[0] == '-' ? "numeric, " : "text, ");
        row(qPrintable(how + "seven digits, then exponent"),
            {true, "Re", text, true, "9999998", "9999998 & 9999999 & 1E+07", {}, 10000001.0f});
        row(qPrintable(how + "past 2^24 the counter stops"),
            {true, "Re", text, true, "16777216", stuck, {}, 16777216.0f});
        row(qPrintable(how + "start rounded to a float"),
            {true, "Re", text, true, "0,1", "0,1 & 1,1 & 2,1", {}, 0.1f + 1.0f + 1.0f + 1.0f});
    }

    const QString badNumber = QStringLiteral("Vous devez entrer un nombre correct");
    const QString noText = QStringLiteral("Vous devez entrer un texte à insérer");
    row("empty start", {true, "Re", "-", false, "", "A & B & C", badNumber});
    row("letters", {true, "Re", "-", false, "12a", "A & B & C", badNumber});
    row("point in French", {true, "Re", "-", false, "1.5", "A & B & C", badNumber});
    row("bad start, ticked", {true, "Re", "x*", true, "deux", "A & B & C", badNumber});
    row("empty text", {true, "Re", "", false, "1", "A & B & C", noText});
    row("empty text comes first", {true, "Re", "", true, "deux", "A & B & C", noText});
}

void TestNumbering::numbering() {
    QFETCH(Run, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    Fixture f;
    // The store is numbered, not the list: the list is rebuilt after a run.
    f.state.Grid.removeItem(1);
    if (c.mode != u"Re") {
        f.click("OptAj");
        f.click(c.mode == u"Av" ? "OptAjAv" : "OptAjAp");
    }
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
    QCOMPARE(f.dialog.windowTitle(), QStringLiteral("Immatriculation"));
    // Exactly: QCOMPARE on floats would forgive the lost units.
    if (c.counter >= 0)
        QVERIFY2(f.dialog.numberingCounter() == c.counter,
                 qPrintable(DefaultText(f.dialog.numberingCounter())));
    // A second run starts again from the start field, not where the first ended.
    f.click(button);
    if (c.mode == u"Re")
        QCOMPARE(storedNames(f.state), items(c.expected));
}

void TestNumbering::frame3FollowsTheMode() {
    Fixture f;
    auto* replace = f.control<QRadioButton>("OptRe");
    auto* add = f.control<QRadioButton>("OptAj");
    // The mode, the side and whether the side's frame is enabled.
    const auto look = [&] {
        return QStringList{QString(replace->isChecked() ? "Re" : "") +
                               (add->isChecked() ? "Aj" : ""),
                           f.control<QRadioButton>("OptAjAv")->isChecked() ? "Av" : "Ap",
                           f.control<QGroupBox>("Frame3")->isEnabled() ? "on" : "off"}
            .join(u' ');
    };
    f.dialog.show();
    QCOMPARE(look(), "Re Ap off");
    QTest::mouseClick(add, Qt::LeftButton, {}, QPoint(5, add->height() / 2));
    QCOMPARE(look(), "Aj Ap on");
    f.click("OptAjAv"); // the side is a choice of its own
    QCOMPARE(look(), "Aj Av on");
    QTest::mouseClick(replace, Qt::LeftButton, {}, QPoint(5, replace->height() / 2));
    QCOMPARE(look(), "Re Av off");
    // "Avant" is still chosen in the disabled frame, and does nothing; a run
    // leaves the frame as the mode had it.
    f.click("Command1");
    QCOMPARE(storedNames(f.state), items("1 & 2 & 3"));
    QCOMPARE(look(), "Re Av off");
    add->click();
    f.click("Command1");
    QCOMPARE(storedNames(f.state), items("11 & 22 & 33"));
    QCOMPARE(look(), "Aj Av on");
}

void TestNumbering::emptyStoreStillRebuildsTheList() {
    Fixture f(QStringList{});
    f.state.Grid.addItem(u"stale\t1\t2\t3");
    f.click("Command1");
    QCOMPARE(f.state.Grid.rows(), 1);
    QCOMPARE(f.state.DataModified, true);
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
}

void TestNumbering::captionsDuringARun() {
    GestionDonnee state;
    for (const char* name : {"A", "B", "C"})
        state.AddPoint(PointRecord{0, 0, 0, QString::fromLatin1(name)});
    ScriptedDialogs boxes;
    RecordingProgress progress;
    float counter = 0;
    QVERIFY(NumberPointsWithText(state, boxes, QStringLiteral("n*"), true, QStringLiteral("5"),
                                 NumberingMode::Replace, counter, progress));
    QCOMPARE(progress.history,
             (QStringList{"Immatriculation 1/3", "Immatriculation 2/3", "Immatriculation 3/3",
                          "Affichage en cours...", "Immatriculation"}));
    QVERIFY(counter == 8.0f);
    // Unticked, the counter still counts though nothing shows it.
    QVERIFY(NumberPointsWithText(state, boxes, QStringLiteral("n*"), false, QString(),
                                 NumberingMode::Replace, counter, progress));
    QVERIFY(counter == 11.0f);
}

void TestNumbering::menusOpenOneDialogEach() {
    RegionalFormatScope scope(frenchFormat());
    WindowFixture f({{1234.5, 2, 3, "A"}});
    InstallNumberingAndFormatCommands(f.window);
    for (const char* item :
         {"MnuImmatriculation", "MnuImmatriculation", "Mnu_Format", "Mnu_Format"})
        f.trigger(item);
    const auto open = [&f] {
        return QList<qsizetype>{f.window.findChildren<Form5*>().size(),
                                f.window.findChildren<FormatDonnee*>().size()};
    };
    QCOMPARE(open(), (QList<qsizetype>{1, 1}));
    Form5* numbering = f.window.findChild<Form5*>();
    FormatDonnee* format = f.window.findChild<FormatDonnee*>();
    QVERIFY(numbering->isVisible() && format->isVisible());
    QVERIFY(!numbering->isModal() && !format->isModal());
    QCOMPARE(format->windowTitle(), QStringLiteral("Format des données"));

    // Numeric, but too large for the counter: the main window reports the
    // error and nothing changes.
    child<QLineEdit>(numbering, "Text1")->setText(QStringLiteral("1E+39"));
    child<QPushButton>(numbering, "Command1")->click();
    QCOMPARE(f.boxes.boxes().size(), 1u);
    QVERIFY(f.boxes.boxes()[0].prompt.startsWith(QStringLiteral("Erreur d'exécution '6'")));
    QCOMPARE(f.state.Points[0].Matricule, QStringLiteral("A"));
    QVERIFY(f.window.menuBar()->isEnabled());

    child<QCheckBox>(format, "Check1")->click();
    child<QPushButton>(format, "Command1")->click();
    QCOMPARE(f.state.Grid.textMatrix(1, 1), QStringLiteral("1\u202F234,500"));
    QCOMPARE(f.settings.values.value(QStringLiteral("App/SepSys")), QStringLiteral("1"));

    // Closed, they are gone; the menus open fresh ones.
    numbering->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(open(), (QList<qsizetype>{0, 0}));
    f.trigger("MnuImmatriculation");
    f.trigger("Mnu_Format");
    QCOMPARE(child<QLineEdit>(f.window.findChild<Form5*>(), "Text1")->text(), QStringLiteral("1"));
    QVERIFY(child<QCheckBox>(f.window.findChild<FormatDonnee*>(), "Check1")->isChecked());
}

TOVALIN_TEST(TestNumbering)
#include "tst_Numbering.moc"
